#include "fbx/evaluate/fbxglobals.h"

namespace
{

bool IsUniform(const FbxVector3& s)
{
    return s.x == s.y && s.y == s.z;
}

bool IsIdentity(const FbxQuaternion& q)
{
    return q.x == 0.0 && q.y == 0.0 && q.z == 0.0;
}

/// A scale of zero hides what it inherited; one stands in for it.
double Reciprocal(double f)
{
    return f != 0.0 ? 1.0 / f : 1.0;
}

} // namespace

SFbxMatrix3 FbxMatrixOf(const SFbxGlobal& global)
{
    return global.bMatrix ? global.matrix : FbxScaled(FbxMatrixOf(global.q), global.s);
}

void FbxStartGlobal(const SFbxLocal& local, SFbxGlobal& global)
{
    global.t = local.t;
    global.q = local.q;
    global.s = local.s;
    global.inherited = {1, 1, 1};
    global.bMatrix = false;
    global.bUniform = IsUniform(local.s);
}

void FbxComposeGlobal(const SFbxGlobal& parent, const SFbxLocal& parentLocal, uint8_t nInherit, const SFbxLocal& local,
                      SFbxGlobal& global)
{
    global.bMatrix = false;
    if (!parent.bMatrix)
    {
        global.t = parent.t + parent.q.Rotate(parent.s * local.t);
        // The parent's scale acts before the rotation of a plain child: along the child's axes only when it is the
        // same in all directions or there is no rotation.
        if (nInherit != 1 || parent.bUniform || IsIdentity(local.q))
        {
            global.q = parent.q * local.q;
            global.inherited = nInherit == 2 ? parent.inherited : parent.s;
            global.s = global.inherited * local.s;
            global.bUniform = IsUniform(global.s);
            return;
        }
        global.matrix = FbxScaled(FbxMatrixOf(parent.q), parent.s) * FbxScaled(FbxMatrixOf(local.q), local.s);
        global.bMatrix = true;
        global.bUniform = false;
        return;
    }

    global.bMatrix = true;
    global.bUniform = false;
    global.t = parent.t + parent.matrix * local.t;
    const SFbxMatrix3 own = FbxScaled(FbxMatrixOf(local.q), local.s);
    if (nInherit == 1)
    {
        global.matrix = parent.matrix * own;
        return;
    }
    FbxQuaternion rotation;
    FbxVector3 scale;
    FbxDecompose(parent.matrix, rotation, scale);
    const SFbxMatrix3 parentRotation = FbxMatrixOf(rotation);
    SFbxMatrix3 parentScale = FbxTransposed(parentRotation) * parent.matrix;
    if (nInherit == 2)
        parentScale = FbxScaled(
            parentScale, {Reciprocal(parentLocal.s.x), Reciprocal(parentLocal.s.y), Reciprocal(parentLocal.s.z)});
    global.matrix = parentRotation * FbxMatrixOf(local.q) * FbxScaled(parentScale, local.s);
}

bool FbxRelativeTo(const SFbxGlobal& parent, const SFbxGlobal& global, SFbxLocal& local, SFbxMatrix3& matrix)
{
    if (!parent.bMatrix && !global.bMatrix && (parent.bUniform || IsIdentity(local.q)))
    {
        local.s = {global.s.x / parent.s.x, global.s.y / parent.s.y, global.s.z / parent.s.z};
        return true;
    }
    if (!parent.bMatrix && !global.bMatrix)
    {
        // Both are rotation and scale, and the rotations differ by the local one.
        matrix = FbxScaled(FbxMatrixOf(local.q), global.s);
        const double inverse[3] = {1.0 / parent.s.x, 1.0 / parent.s.y, 1.0 / parent.s.z};
        for (int n = 0; n < 9; ++n)
            matrix.m[n] *= inverse[n / 3];
        return false;
    }
    matrix = FbxInverse(FbxMatrixOf(parent)) * FbxMatrixOf(global);
    return false;
}
