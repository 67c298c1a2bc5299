#pragma once

/// The polynomials of the quantised rotations (quaternioncomp.h), from integers to ratios and back. Internal to this
/// library; constants only, so that code for any instruction set may include it.
namespace QuaternionDecode
{

/// t(n) = n (f1 + f3 n^2 + f5 n^4), the ratio of an integer n.
struct SWarp
{
    double f1, f3, f5;
};

/// u (1 + (1 - u^2) (a + b u^2)) with u = n / fEdge: 1 at n = fEdge whatever a and b are.
constexpr SWarp MakeWarp(double a, double b, double fEdge)
{
    return {(1.0 + a) / fEdge, (b - a) / (fEdge * fEdge * fEdge), -b / (fEdge * fEdge * fEdge * fEdge * fEdge)};
}

/// Where the ratio is 1 and another component takes over as the largest: a little behind the last integer that a form
/// can hold, so that no code's ratio reaches 1 even in floats. A decoded rotation then has the largest component that
/// its code names, and packs to that code again.
constexpr int LIMIT_64 = 1048575;
constexpr int LIMIT_32_IJ = 1023;
constexpr int LIMIT_32_K = 511;
constexpr double EDGE_64 = LIMIT_64 + 0.12;
constexpr double EDGE_32_IJ = LIMIT_32_IJ + 0.01;
constexpr double EDGE_32_K = LIMIT_32_K + 0.01;

/// a and b make the largest distance from any rotation to its code as small as a search found.
constexpr SWarp WARP_64_I = MakeWarp(-0.1934, 0.1021, EDGE_64);
constexpr SWarp WARP_64_JK = MakeWarp(-0.2874, -0.0920, EDGE_64);
constexpr SWarp WARP_32_IJ = MakeWarp(-0.2446, 0.0967, EDGE_32_IJ);
constexpr SWarp WARP_32_K = MakeWarp(-0.2786, -0.0178, EDGE_32_K);

/// Tangent of a quarter of the turn, for the code's integer: an odd polynomial of degree 7 that is 1 at -32768's size.
constexpr double AXIS_EDGE = 32768.0;
constexpr double AXIS_A = -0.214896857, AXIS_B = -0.050147472, AXIS_C = -0.020058815;
constexpr double AXIS_1 = (1.0 + AXIS_A) / AXIS_EDGE;
constexpr double AXIS_3 = (AXIS_B - AXIS_A) / AXIS_EDGE / AXIS_EDGE / AXIS_EDGE;
constexpr double AXIS_5 = (AXIS_C - AXIS_B) / AXIS_EDGE / AXIS_EDGE / AXIS_EDGE / AXIS_EDGE / AXIS_EDGE;
constexpr double AXIS_7 = -AXIS_C / AXIS_EDGE / AXIS_EDGE / AXIS_EDGE / AXIS_EDGE / AXIS_EDGE / AXIS_EDGE / AXIS_EDGE;

/// The other way: n(t) = t (f[0] + f[1] t^2 + f[2] t^4 + ...) for |t| <= 1.
template <int TERMS>
struct SInverse
{
    double f[TERMS];
};

/// Interpolates the inverse of an odd polynomial n (p[0] + p[1] n^2 + ...), which rises from 0 to 1 at fEdge, at the
/// Chebyshev nodes of t^2. Worked out by the compiler in doubles, so every machine has the same coefficients. Each term
/// brings about half a digit to the ratios' inverses, three quarters to the axis turn's.
template <int TERMS, int N>
constexpr SInverse<TERMS> Invert(const double (&p)[N], double fEdge)
{
    double nodes[TERMS]{}, values[TERMS]{};
    for (int i = 0; i < TERMS; ++i)
    {
        // (1 + cos x) / 2 by its series, x in (0, pi)
        const double x = 3.14159265358979323846 * (i + 0.5) / TERMS;
        double fTerm = 1.0, fCosine = 1.0;
        for (int k = 2; k <= 36; k += 2)
            fCosine += (fTerm *= -x * x / (k * (k - 1)));
        nodes[i] = 0.5 * (1.0 + fCosine);
        double t = 1.0;
        for (int k = 0; k < 12; ++k)
            t = 0.5 * (t + nodes[i] / t);
        double n = t * fEdge;
        for (int k = 0; k < 8; ++k)
        {
            double fValue = 0.0, fSlope = 0.0;
            for (int m = N - 1; m >= 0; --m)
            {
                fValue = fValue * n * n + p[m];
                fSlope = fSlope * n * n + (2 * m + 1) * p[m];
            }
            n -= (n * fValue - t) / fSlope;
        }
        values[i] = n / t;
    }
    // Newton's form, then powers.
    for (int k = 1; k < TERMS; ++k)
        for (int i = TERMS - 1; i >= k; --i)
            values[i] = (values[i] - values[i - 1]) / (nodes[i] - nodes[i - k]);
    SInverse<TERMS> result{};
    for (int i = TERMS - 1; i >= 0; --i)
    {
        for (int k = TERMS - 1; k > 0; --k)
            result.f[k] = result.f[k - 1] - nodes[i] * result.f[k];
        result.f[0] = values[i] - nodes[i] * result.f[0];
    }
    return result;
}

template <int TERMS>
constexpr SInverse<TERMS> InvertWarp(const SWarp& warp, double fEdge)
{
    return Invert<TERMS>({warp.f1, warp.f3, warp.f5}, fEdge);
}

} // namespace QuaternionDecode
