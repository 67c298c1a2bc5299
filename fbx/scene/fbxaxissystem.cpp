#include "fbx/scene/fbxaxissystem.h"

#include "fbx/scene/fbxmath.h"
#include "fbx/scene/fbxscene.h"

namespace
{

/// A turn between axis systems: axis i of the one is axis nAxis[i] of the other, times fSign[i].
struct STurn
{
    int nFrom[3];
    double fSign[3];

    FbxVector3 operator()(const FbxVector3& v) const
    {
        const double in[3] = {v.x, v.y, v.z};
        return {fSign[0] * in[nFrom[0]], fSign[1] * in[nFrom[1]], fSign[2] * in[nFrom[2]]};
    }
    FbxQuaternion Quaternion() const
    {
        SFbxMatrix3 m{};
        for (int n = 0; n < 3; ++n)
            m.m[n * 3 + nFrom[n]] = fSign[n];
        return FbxQuaternionOf(m);
    }
};

void Set(FbxNode& node, std::string_view name, const FbxVector3& v)
{
    node.OwnProperty(name, "Vector3D").SetVector3(v);
}

/// Channels that a layer does not have stay out: what stands in for them is the static value, which turns too.
void TurnCurves(FbxNode& node, const STurn& turn)
{
    for (size_t nLink = 0; nLink < node.GetCurveNodes().size(); ++nLink)
    {
        if (node.GetCurveNodes()[nLink].property != "Lcl Translation")
            continue;
        // One that serves other properties as well must go on serving them as it was.
        FbxAnimCurveNode& curveNode = node.OwnCurveNode(nLink);
        const FbxAnimCurveNode::SChannel before[3] = {curveNode.GetChannel(0), curveNode.GetChannel(1),
                                                      curveNode.GetChannel(2)};
        for (size_t n = 0; n < 3; ++n)
        {
            FbxAnimCurveNode::SChannel turned = before[turn.nFrom[n]];
            turned.fDefault *= turn.fSign[n];
            turned.fFactor *= turn.fSign[n];
            curveNode.SetChannel(n, turned);
        }
    }
}

/// Puts the turn before everything the node does: global becomes turn times global.
void TurnNode(FbxNode& node, const STurn& turn)
{
    TurnCurves(node, turn);
    Set(node, "Lcl Translation", turn(node.FindProperty("Lcl Translation").GetVector3()));

    // What did not act must not begin to act with the switch.
    const bool bActive = node.GetRotationActive() && !node.FindProperty("RotationSpaceForLimitOnly").GetBool();
    if (!bActive)
        for (const char* szProperty : {"PreRotation", "PostRotation", "RotationOrder"})
            node.DisconnectCurveNodes(szProperty);

    const FbxQuaternion q = turn.Quaternion();
    const FbxVector3 offset = node.FindProperty("RotationOffset").GetVector3();
    const FbxVector3 pivot = node.FindProperty("RotationPivot").GetVector3();
    const FbxVector3 pre = bActive ? node.FindProperty("PreRotation").GetVector3() : FbxVector3();
    if (const SFbxNodeTurn* pTurn = node.GetTurn())
        node.SetTurn({q * pTurn->q, pTurn->rotationOffset, pTurn->preRotation});
    else if (node.HasCurveNode("PreRotation") || node.HasCurveNode("RotationOffset") ||
             node.HasCurveNode("RotationPivot"))
        node.SetTurn({q, offset, pre});

    // Rotation offset and pivot stand outside of the rotation, the pivot's return inside of it: only the outer part
    // turns, and the offset takes up the difference.
    const FbxVector3 none;
    if (!(offset == none) || !(pivot == none))
        Set(node, "RotationOffset", turn(offset + pivot) - pivot);
    if (bActive)
    {
        Set(node, "PreRotation", (q * FbxQuaternion::FromEuler(pre)).ToEulerXYZ());
        return;
    }
    Set(node, "PreRotation", q.ToEulerXYZ());
    if (node.FindProperty("PostRotation").IsValid())
        Set(node, "PostRotation", none);
    if (node.FindProperty("RotationOrder").GetInt64() != 0)
    {
        node.KeepLayerOrder();
        node.OwnProperty("RotationOrder", "enum").SetInt64(0);
    }
    if (node.FindProperty("RotationSpaceForLimitOnly").GetBool())
        node.OwnProperty("RotationSpaceForLimitOnly", "bool").SetBool(false);
    node.SetRotationActive(true);
}

} // namespace

FbxAxisSystem::FbxAxisSystem(int nUpAxis, int nUpSign, int nFrontAxis, int nFrontSign, int nCoordAxis, int nCoordSign)
    : m_nUpAxis(nUpAxis),
      m_nUpSign(nUpSign < 0 ? -1 : 1),
      m_nFrontAxis(nFrontAxis),
      m_nFrontSign(nFrontSign < 0 ? -1 : 1),
      m_nCoordAxis(nCoordAxis),
      m_nCoordSign(nCoordSign < 0 ? -1 : 1)
{
}

const FbxAxisSystem& FbxAxisSystem::ZUpMinusYFront()
{
    static const FbxAxisSystem system(2, 1, 1, -1, 0, 1);
    return system;
}

bool FbxAxisSystem::IsValid() const
{
    const auto inRange = [](int n) { return n >= 0 && n <= 2; };
    return inRange(m_nUpAxis) && inRange(m_nFrontAxis) && inRange(m_nCoordAxis) && m_nUpAxis != m_nFrontAxis &&
           m_nUpAxis != m_nCoordAxis && m_nFrontAxis != m_nCoordAxis;
}

void FbxAxisSystem::ConvertScene(FbxScene* pScene) const
{
    const FbxAxisSystem from = pScene->GetGlobalSettings().GetAxisSystem();
    if (from == *this || !from.IsValid() || !IsValid())
        return;
    STurn turn{};
    const auto map = [&turn](int nTo, int nToSign, int nFrom, int nFromSign)
    {
        turn.nFrom[nTo] = nFrom;
        turn.fSign[nTo] = nToSign * nFromSign;
    };
    map(m_nUpAxis, m_nUpSign, from.m_nUpAxis, from.m_nUpSign);
    map(m_nFrontAxis, m_nFrontSign, from.m_nFrontAxis, from.m_nFrontSign);
    map(m_nCoordAxis, m_nCoordSign, from.m_nCoordAxis, from.m_nCoordSign);

    // Between a left-handed and a right-handed system there is no rotation: the coord axis gives way.
    const int n = turn.nFrom[0] * 100 + turn.nFrom[1] * 10 + turn.nFrom[2];
    const double fEven = n == 12 || n == 120 || n == 201 ? 1.0 : -1.0;
    if (fEven * turn.fSign[0] * turn.fSign[1] * turn.fSign[2] < 0.0)
        turn.fSign[m_nCoordAxis] = -turn.fSign[m_nCoordAxis];

    FbxNode* pRoot = pScene->GetRootNode();
    for (size_t i = 0; i < pRoot->GetChildCount(); ++i)
        if (pRoot->GetChild(i)->GetParent() == pRoot)
            TurnNode(*pRoot->GetChild(i), turn);
    pScene->GetGlobalSettings().SetAxisSystem(*this);
    pScene->GetAnimationEvaluator()->Invalidate();
}
