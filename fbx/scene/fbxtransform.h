#pragma once

/// Vectors, quaternions and matrices of the scene library: plain doubles, column-vector mathematics.
///
/// Quaternions turn a vector by q v conj(q) and compose parent times child. A matrix stores row vectors with the
/// translation in the last row, which is the order of a matrix property in a file: m[3] is the translation, and
/// m[i] is the image of axis i.
struct FbxVector3
{
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    friend bool operator==(const FbxVector3&, const FbxVector3&) = default;
};

inline FbxVector3 operator+(const FbxVector3& a, const FbxVector3& b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline FbxVector3 operator-(const FbxVector3& a, const FbxVector3& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline FbxVector3 operator-(const FbxVector3& a)
{
    return {-a.x, -a.y, -a.z};
}
inline FbxVector3 operator*(const FbxVector3& a, double f)
{
    return {a.x * f, a.y * f, a.z * f};
}
/// Component by component.
inline FbxVector3 operator*(const FbxVector3& a, const FbxVector3& b)
{
    return {a.x * b.x, a.y * b.y, a.z * b.z};
}

/// Orders of Euler angles as files number them. The first letter is the rotation that acts first.
/// The spheric order acts as XYZ.
enum class EFbxRotationOrder : int
{
    eXYZ = 0,
    eXZY = 1,
    eYZX = 2,
    eYXZ = 3,
    eZXY = 4,
    eZYX = 5,
    eSphericXYZ = 6
};

struct FbxQuaternion
{
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double w = 1.0;

    /// Conjugate over squared length: the inverse of any quaternion but zero, for which it is not a number.
    FbxQuaternion Inverse() const;
    FbxQuaternion Conjugate() const { return {-x, -y, -z, w}; }
    FbxQuaternion Normalized() const;

    /// q v conj(q), for a unit quaternion.
    FbxVector3 Rotate(const FbxVector3& v) const
    {
        // v + 2 w (u x v) + 2 u x (u x v), with u the vector part.
        const double tx = 2.0 * (y * v.z - z * v.y);
        const double ty = 2.0 * (z * v.x - x * v.z);
        const double tz = 2.0 * (x * v.y - y * v.x);
        return {v.x + w * tx + (y * tz - z * ty), v.y + w * ty + (z * tx - x * tz), v.z + w * tz + (x * ty - y * tx)};
    }

    /// Angles in degrees. Exact for multiples of 90 degrees.
    static FbxQuaternion FromEuler(const FbxVector3& degrees, EFbxRotationOrder eOrder = EFbxRotationOrder::eXYZ);
    /// Angles in degrees of the order XYZ; y within 90 degrees of zero.
    FbxVector3 ToEulerXYZ() const;

    /// Hamilton product: a after b.
    friend FbxQuaternion operator*(const FbxQuaternion& a, const FbxQuaternion& b)
    {
        return {a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y, a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
                a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w, a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
    }
    friend bool operator==(const FbxQuaternion&, const FbxQuaternion&) = default;
};

/// What is read from an affine matrix: translation, rotation, scale.
///
/// Scale is the length of the matrix's axes; a mirrored matrix has all three negative and its axes turned about.
/// The rotation of a sheared matrix follows its first axis, then its second. An axis of length zero has a scale of
/// exactly zero.
struct FbxTransform
{
    FbxVector3 t;
    FbxQuaternion q;
    FbxVector3 s{1.0, 1.0, 1.0};
};

struct FbxMatrix4
{
    double m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

    static FbxMatrix4 FromTransform(const FbxTransform& transform);

    /// Translation, rotation and scale as FbxTransform tells them.
    void Decompose(FbxTransform& transform) const;
    /// The same with what remains beside them: shear of xy, xz, yz in units of the scale, and the sign of the
    /// determinant, 1 or -1.
    void Decompose(FbxTransform& transform, FbxVector3& shear, double& fSign) const;

    friend FbxMatrix4 operator*(const FbxMatrix4& a, const FbxMatrix4& b); ///< row vectors: a acts first
};
