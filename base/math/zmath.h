#pragma once

#include "base/misc/export.h"

/// Scalar mathematics whose results are the same on every machine and with every compiler.
///
/// The C library's transcendental functions pick code by processor and version, and their last bits move with it;
/// packed bytes must not. These are polynomials over the four operations and the square root, which are exact by
/// definition. All angles are radians.
class ZMath
{
public:
    static constexpr double PI = 3.14159265358979323846;
    static constexpr float PI_F = 3.14159274101257324219f;

    /// Error below 1e-15 for |radians| up to 1e6; not a number for one that is infinite or none.
    Z_EXPORT static void SinCos(double fRadians, double& fSin, double& fCos);

    /// Angle of the vector (x, y) in (-PI, PI]; 0 for the zero vector. Error below 1e-15.
    Z_EXPORT static double ATan2(double y, double x);

    /// In [0, PI]; arguments outside [-1, 1] count as the nearer end.
    Z_EXPORT static double ACos(double x);
    Z_EXPORT static float ACos(float x);

    /// The signed shortest angle that leads from `fFrom` to `fTo`, in (-PI, PI].
    Z_EXPORT static float GetAngleTowards(float fFrom, float fTo);
};
