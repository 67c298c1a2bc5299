#include "base/math/zmath.h"

#include <cmath>

namespace
{

/// sin(r), |r| <= PI/4: the Taylor series to r^17, whose first term left out is below 1e-18 of r there.
double SinPolynomial(double r)
{
    const double z = r * r;
    const double p = -1.0 / 1307674368000.0 + z * (1.0 / 355687428096000.0);
    return r + r * z *
                   (-1.0 / 6.0 +
                    z * (1.0 / 120.0 +
                         z * (-1.0 / 5040.0 +
                              z * (1.0 / 362880.0 + z * (-1.0 / 39916800.0 + z * (1.0 / 6227020800.0 + z * p))))));
}

/// cos(r), |r| <= PI/4: the Taylor series to r^18.
double CosPolynomial(double r)
{
    const double z = r * r;
    const double p = 1.0 / 20922789888000.0 + z * (-1.0 / 6402373705728000.0);
    return 1.0 - 0.5 * z +
           z * z *
               (1.0 / 24.0 +
                z * (-1.0 / 720.0 +
                     z * (1.0 / 40320.0 +
                          z * (-1.0 / 3628800.0 + z * (1.0 / 479001600.0 + z * (-1.0 / 87178291200.0 + z * p))))));
}

/// atan(t), 0 <= t <= 1. The argument is brought below tan(PI/16) by two half-angle steps,
/// atan(t) = 2 atan(t / (1 + sqrt(1 + t^2))), then the Taylor series to t^25 serves.
double ATanUnit(double t)
{
    t = t / (1.0 + std::sqrt(1.0 + t * t));
    t = t / (1.0 + std::sqrt(1.0 + t * t));
    const double z = t * t;
    double p = 1.0 / 25.0;
    for (int n = 23; n >= 3; n -= 2)
        p = 1.0 / n - z * p;
    return 4.0 * (t - t * z * p);
}

} // namespace

void ZMath::SinCos(double fRadians, double& fSin, double& fCos)
{
    // PI/2 in three parts of which the first two have short mantissas: k times them is exact (Cody and Waite).
    constexpr double HALF_PI_1 = 1.57079632673412561417e+00;
    constexpr double HALF_PI_2 = 6.07710050630396597660e-11;
    constexpr double HALF_PI_3 = 2.02226624879595063154e-21;
    const double k = std::nearbyint(fRadians * (2.0 / PI));
    const double r = ((fRadians - k * HALF_PI_1) - k * HALF_PI_2) - k * HALF_PI_3;
    const double s = SinPolynomial(r);
    const double c = CosPolynomial(r);
    // An angle beyond any use has no quadrant that fits an integer; the difference above is garbage by then anyway.
    const auto nQuadrant = std::fabs(k) < 1e15 ? static_cast<long long>(k) & 3 : 0;
    fSin = (nQuadrant & 1) ? c : s;
    fCos = (nQuadrant & 1) ? s : c;
    if (nQuadrant & 2)
        fSin = -fSin;
    if (nQuadrant == 1 || nQuadrant == 2)
        fCos = -fCos;
}

double ZMath::ATan2(double y, double x)
{
    const double ax = std::fabs(x);
    const double ay = std::fabs(y);
    if (ax == 0.0 && ay == 0.0)
        return 0.0;
    double a = ay <= ax ? ATanUnit(ay / ax) : 0.5 * PI - ATanUnit(ax / ay);
    if (x < 0.0)
        a = PI - a;
    return y < 0.0 ? -a : a;
}

double ZMath::ACos(double x)
{
    if (x >= 1.0)
        return 0.0;
    if (x <= -1.0)
        return PI;
    return ATan2(std::sqrt((1.0 - x) * (1.0 + x)), x);
}

float ZMath::ACos(float x)
{
    return static_cast<float>(ACos(static_cast<double>(x)));
}

float ZMath::GetAngleTowards(float fFrom, float fTo)
{
    double d = static_cast<double>(fTo) - static_cast<double>(fFrom);
    d -= 2.0 * PI * std::floor(d / (2.0 * PI) + 0.5);
    return static_cast<float>(d <= -PI ? d + 2.0 * PI : d);
}
