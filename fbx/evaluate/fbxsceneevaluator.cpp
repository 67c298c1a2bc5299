#include "fbx/evaluate/fbxsceneevaluator.h"

#include "fbx/evaluate/fbxevaluation.h"

namespace
{

inline SFbxLocal MakeLocal(const SFbxPieces& pieces, const FbxVector3& t, const FbxVector3& r, const FbxVector3& s)
{
    SFbxLocal local;
    local.q =
        pieces.eOrder == EFbxRotationOrder::eXYZ ? FbxQuaternionOfXYZ(r) : FbxQuaternion::FromEuler(r, pieces.eOrder);
    if (pieces.bPre)
        local.q = pieces.pre * local.q;
    if (pieces.bPost)
        local.q = local.q * pieces.postInverse;
    local.t = t;
    local.s = s;
    if (pieces.bPivots)
        local.t = t + pieces.outer + local.q.Rotate(pieces.inner - s * pieces.scalingPivot);
    return local;
}

bool IsUniform(const FbxVector3& s)
{
    return s.x == s.y && s.y == s.z;
}

bool IsIdentity(const FbxQuaternion& q)
{
    return q.x == 0.0 && q.y == 0.0 && q.z == 0.0;
}

SFbxMatrix3 MatrixOf(const SFbxGlobal& global)
{
    return global.bMatrix ? global.matrix : FbxScaled(FbxMatrixOf(global.q), global.s);
}

/// A scale of zero hides what it inherited; one stands in for it.
double Reciprocal(double f)
{
    return f != 0.0 ? 1.0 / f : 1.0;
}

FbxTransform Finish(FbxVector3 t, FbxQuaternion q, FbxVector3 s)
{
    FbxNormaliseSigns(q, s);
    return {t, q, s};
}

FbxMatrix4 Matrix4Of(const SFbxMatrix3& a, const FbxVector3& t)
{
    FbxMatrix4 r;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            r.m[i][j] = a.m[j * 3 + i];
    r.m[3][0] = t.x;
    r.m[3][1] = t.y;
    r.m[3][2] = t.z;
    return r;
}

} // namespace

const SFbxLocal& FbxSceneEvaluator::Local(size_t nNode, SFbxMoment& moment)
{
    SFbxLocal& local = moment.locals[nNode];
    if (moment.localStamps[nNode] == moment.nStamp)
        return local;
    const bool bRest = &moment == &rest;
    const SFbxNodePlan& plan = plans[nNode];
    // What never moves is worked out once and then keeps its place: a stamp in the future would do, but the present
    // one is compared for equality, so it is written again at each time.
    const bool bFixed = !bRest && plan.nMoving == 0 && !plan.bSlow;
    if (bFixed && moment.localStamps[nNode] != 0)
    {
        moment.localStamps[nNode] = moment.nStamp;
        return local;
    }
    moment.localStamps[nNode] = moment.nStamp;
    if (!bRest && plan.bSlow)
    {
        SFbxPieces pieces;
        ReadPieces(*pScene->GetNode(nNode), pieces, true);
        local = MakeLocal(pieces, pieces.t, pieces.r, pieces.s);
        return local;
    }
    const SFbxPieces& pieces = bRest ? plan.restPieces : plan.pieces;
    if (bRest || plan.nMoving == 0)
    {
        local = MakeLocal(pieces, pieces.t, pieces.r, pieces.s);
        return local;
    }
    const SFbxChannelPlan* pChannels = channels.data() + plan.nFirstChannel;
    const auto value = [&](unsigned n, double fFixed)
    { return plan.nMoving >> n & 1 ? Evaluate(pChannels[n]) : fFixed; };
    FbxVector3 t = pieces.t;
    FbxVector3 r = pieces.r;
    FbxVector3 s = pieces.s;
    if (plan.nMoving & 7u)
        t = {value(0, t.x), value(1, t.y), value(2, t.z)};
    if (plan.nMoving & 7u << 3)
        r = {value(3, r.x), value(4, r.y), value(5, r.z)};
    if (plan.nMoving & 7u << 6)
        s = {value(6, s.x), value(7, s.y), value(8, s.z)};
    local = MakeLocal(pieces, t, r, s);
    return local;
}

void FbxSceneEvaluator::Compose(const SFbxGlobal& parent, const SFbxLocal& parentLocal, const SFbxNodePlan& plan,
                                const SFbxLocal& local, SFbxGlobal& global) const
{
    global.bMatrix = false;
    if (!parent.bMatrix)
    {
        global.t = parent.t + parent.q.Rotate(parent.s * local.t);
        // The parent's scale acts before the rotation of a plain child: along the child's axes only when it is the
        // same in all directions or there is no rotation.
        if (plan.nInherit != 1 || parent.bUniform || IsIdentity(local.q))
        {
            global.q = parent.q * local.q;
            global.inherited = plan.nInherit == 2 ? parent.inherited : parent.s;
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
    if (plan.nInherit == 1)
    {
        global.matrix = parent.matrix * own;
        return;
    }
    FbxQuaternion rotation;
    FbxVector3 scale;
    FbxDecompose(parent.matrix, rotation, scale);
    const SFbxMatrix3 parentRotation = FbxMatrixOf(rotation);
    SFbxMatrix3 parentScale = FbxTransposed(parentRotation) * parent.matrix;
    if (plan.nInherit == 2)
        parentScale = FbxScaled(
            parentScale, {Reciprocal(parentLocal.s.x), Reciprocal(parentLocal.s.y), Reciprocal(parentLocal.s.z)});
    global.matrix = parentRotation * FbxMatrixOf(local.q) * FbxScaled(parentScale, local.s);
}

const SFbxGlobal& FbxSceneEvaluator::Global(size_t nNode, SFbxMoment& moment)
{
    if (moment.globalStamps[nNode] == moment.nStamp)
        return moment.globals[nNode];
    // Up to the first ancestor that is known, then down again; no recursion, since files decide the depth.
    chain.clear();
    int32_t n = static_cast<int32_t>(nNode);
    while (n >= 0 && moment.globalStamps[static_cast<size_t>(n)] != moment.nStamp)
    {
        chain.push_back(static_cast<uint32_t>(n));
        n = plans[static_cast<size_t>(n)].nParent;
    }
    for (size_t i = chain.size(); i > 0; --i)
    {
        const size_t nAt = chain[i - 1];
        const SFbxNodePlan& plan = plans[nAt];
        const SFbxLocal& local = Local(nAt, moment);
        SFbxGlobal& global = moment.globals[nAt];
        if (plan.nParent < 0)
        {
            global.t = local.t;
            global.q = local.q;
            global.s = local.s;
            global.inherited = {1, 1, 1};
            global.bMatrix = false;
            global.bUniform = IsUniform(local.s);
        }
        else
        {
            const size_t nParent = static_cast<size_t>(plan.nParent);
            Compose(moment.globals[nParent], moment.locals[nParent], plan, local, global);
        }
        moment.globalStamps[nAt] = moment.nStamp;
    }
    return moment.globals[nNode];
}

bool FbxSceneEvaluator::RelativeLocal(size_t nNode, SFbxMoment& moment, SFbxLocal& local, SFbxMatrix3& matrix)
{
    local = Local(nNode, moment);
    const SFbxNodePlan& plan = plans[nNode];
    if (plan.bPlainLocal || plan.nParent < 0)
        return true;
    const SFbxGlobal& global = Global(nNode, moment);
    const SFbxGlobal& parent = moment.globals[static_cast<size_t>(plan.nParent)];
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
    matrix = FbxInverse(MatrixOf(parent)) * MatrixOf(global);
    return false;
}

FbxTransform FbxSceneEvaluator::EvaluateLocalTransform(const FbxNode* pNode, FbxTime time)
{
    SFbxMoment& moment = MomentOf(time);
    const size_t nNode = static_cast<size_t>(pNode->GetIndex());
    if (plans[nNode].bPlainLocal)
    {
        const SFbxLocal& local = Local(nNode, moment);
        return Finish(local.t, local.q, local.s);
    }
    SFbxLocal local;
    SFbxMatrix3 matrix;
    if (!RelativeLocal(nNode, moment, local, matrix))
    {
        FbxDecompose(matrix, local.q, local.s);
        return {local.t, local.q, local.s};
    }
    return Finish(local.t, local.q, local.s);
}

FbxTransform FbxSceneEvaluator::EvaluateGlobalTransform(const FbxNode* pNode, FbxTime time)
{
    const SFbxGlobal& global = Global(static_cast<size_t>(pNode->GetIndex()), MomentOf(time));
    if (!global.bMatrix)
        return Finish(global.t, global.q, global.s);
    FbxTransform transform;
    transform.t = global.t;
    FbxDecompose(global.matrix, transform.q, transform.s);
    return transform;
}

FbxMatrix4 FbxSceneEvaluator::EvaluateLocalMatrix(const FbxNode* pNode, FbxTime time)
{
    SFbxLocal local;
    SFbxMatrix3 matrix;
    const size_t nNode = static_cast<size_t>(pNode->GetIndex());
    if (RelativeLocal(nNode, MomentOf(time), local, matrix))
        matrix = FbxScaled(FbxMatrixOf(local.q), local.s);
    return Matrix4Of(matrix, local.t);
}

FbxMatrix4 FbxSceneEvaluator::EvaluateGlobalMatrix(const FbxNode* pNode, FbxTime time)
{
    const SFbxGlobal& global = Global(static_cast<size_t>(pNode->GetIndex()), MomentOf(time));
    return Matrix4Of(MatrixOf(global), global.t);
}

int FbxSceneEvaluator::EvaluateProperty(const FbxProperty& property, FbxTime time, double out[4])
{
    double values[16];
    property.GetChannels(values);
    const int nChannels = property.GetChannelCount() <= 4 ? property.GetChannelCount() : 0;
    if (!time.IsInfinite() && nChannels > 0 && property.GetObject())
    {
        MomentOf(time);
        EvaluateLayers(*property.GetObject(), property.GetName(), values, nChannels);
    }
    for (int n = 0; n < 4; ++n)
        out[n] = n < nChannels ? values[n] : 0.0;
    return nChannels;
}

FbxAnimCurveNode* FbxSceneEvaluator::FindCurveNode(const FbxProperty& property)
{
    if (!property.GetObject())
        return nullptr;
    if (!bCompiled)
        Compile();
    const auto [pFirst, pLast] = ActiveLinks(*property.GetObject(), property.GetName());
    return pFirst != pLast ? pFirst->pCurveNode : nullptr;
}

std::unique_ptr<FbxAnimEvaluator> FbxMakeEvaluator(FbxScene& scene)
{
    return std::make_unique<FbxSceneEvaluator>(scene);
}
