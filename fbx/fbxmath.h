#pragma once

#include "fbx/fbxtransform.h"

/// Functions that differ between the mathematics libraries of machines, written with the four operations and the
/// square root alone, so that equal input gives equal bits everywhere. Errors are a few units in the last place.

/// Of an angle in degrees. The reduction to a quarter turn is exact, and so are the results at multiples of 90.
void FbxSinCosDegrees(double fDegrees, double& fSin, double& fCos);
double FbxAtan2(double fY, double fX); ///< radians
double FbxLog(double f);               ///< natural logarithm of a positive number
double FbxExp(double f);

constexpr double kFbxDegreesPerRadian = 57.295779513082320876798154814105;
constexpr double kFbxRadiansPerDegree = 0.017453292519943295769236907684886;

/// Angles in degrees that FromEuler turns back into this rotation, for any order.
FbxVector3 FbxToEuler(const FbxQuaternion& q, EFbxRotationOrder eOrder);
/// The way from a to b, along the shorter arc, at constant speed.
FbxQuaternion FbxSlerp(const FbxQuaternion& a, const FbxQuaternion& b, double f);

/// 3 by 3 matrices of column vectors, row-major: the image of axis i is column i.
struct SFbxMatrix3
{
    double m[9];
};
SFbxMatrix3 FbxMatrixOf(const FbxQuaternion& q);
FbxQuaternion FbxQuaternionOf(const SFbxMatrix3& rotation);
SFbxMatrix3 operator*(const SFbxMatrix3& a, const SFbxMatrix3& b);
FbxVector3 operator*(const SFbxMatrix3& a, const FbxVector3& v);
SFbxMatrix3 FbxTransposed(const SFbxMatrix3& a);
SFbxMatrix3 FbxInverse(const SFbxMatrix3& a); ///< not a number where it is singular
double FbxDeterminant(const SFbxMatrix3& a);
/// Columns times the components of s.
SFbxMatrix3 FbxScaled(const SFbxMatrix3& a, const FbxVector3& s);
/// Rotation and scale as FbxTransform tells them.
void FbxDecompose(const SFbxMatrix3& a, FbxQuaternion& q, FbxVector3& s);
/// A rotation with scales of any sign, as FbxTransform tells them.
void FbxNormaliseSigns(FbxQuaternion& q, FbxVector3& s);
