#include "fbx/evaluate/fbxsceneevaluator.h"

#include "fbx/evaluate/fbxevaluation.h"

#include <algorithm>

std::unique_ptr<FbxAnimEvaluator> FbxMakeEvaluator(FbxScene& scene)
{
    return std::make_unique<FbxSceneEvaluator>(scene);
}

namespace
{

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

void FbxSceneEvaluator::Compile()
{
    m_bCompiled = true;
    m_sampler.Prepare();
    m_properties.Compile();
    m_nodes.Compile();
    const size_t nNodes = m_scene.GetNodeCount();
    for (SMoment* pMoment : {&m_rest, &m_now})
    {
        pMoment->locals.resize(nNodes);
        pMoment->globals.resize(nNodes);
        pMoment->localStamps.assign(nNodes, 0);
        pMoment->globalStamps.assign(nNodes, 0);
    }
}

FbxSceneEvaluator::SMoment& FbxSceneEvaluator::MomentOf(FbxTime time)
{
    if (!m_bCompiled)
        Compile();
    if (time.IsInfinite())
        return m_rest;
    m_sampler.SetTime(time);
    m_now.nStamp = m_sampler.Stamp();
    return m_now;
}

const SFbxLocal& FbxSceneEvaluator::Local(size_t nNode, SMoment& moment)
{
    SFbxLocal& local = moment.locals[nNode];
    uint64_t& nStamp = moment.localStamps[nNode];
    if (nStamp == moment.nStamp)
        return local;
    // What never moves is worked out once; its stamp is written again at each time.
    const bool bKnown = nStamp != 0 && !m_nodes[nNode].Moves();
    nStamp = moment.nStamp;
    if (!bKnown)
        local = &moment == &m_rest ? m_nodes.Rest(nNode) : m_nodes.At(nNode);
    return local;
}

const SFbxGlobal& FbxSceneEvaluator::Global(size_t nNode, SMoment& moment)
{
    if (moment.globalStamps[nNode] == moment.nStamp)
        return moment.globals[nNode];
    // Up to the first ancestor that is known, then down again; no recursion, since files decide the depth.
    m_chain.clear();
    int32_t n = static_cast<int32_t>(nNode);
    while (n >= 0 && moment.globalStamps[static_cast<size_t>(n)] != moment.nStamp)
    {
        m_chain.push_back(static_cast<uint32_t>(n));
        n = m_nodes[static_cast<size_t>(n)].nParent;
    }
    for (size_t i = m_chain.size(); i > 0; --i)
    {
        const size_t nAt = m_chain[i - 1];
        const SFbxNodePlan& plan = m_nodes[nAt];
        const SFbxLocal& local = Local(nAt, moment);
        if (plan.nParent < 0)
            FbxStartGlobal(local, moment.globals[nAt]);
        else
        {
            const size_t nParent = static_cast<size_t>(plan.nParent);
            FbxComposeGlobal(moment.globals[nParent], moment.locals[nParent], plan.nInherit, local,
                             moment.globals[nAt]);
        }
        moment.globalStamps[nAt] = moment.nStamp;
    }
    return moment.globals[nNode];
}

bool FbxSceneEvaluator::RelativeLocal(size_t nNode, SMoment& moment, SFbxLocal& local, SFbxMatrix3& matrix)
{
    local = Local(nNode, moment);
    const SFbxNodePlan& plan = m_nodes[nNode];
    if (plan.bPlainLocal || plan.nParent < 0)
        return true;
    const SFbxGlobal& global = Global(nNode, moment);
    return FbxRelativeTo(moment.globals[static_cast<size_t>(plan.nParent)], global, local, matrix);
}

FbxTransform FbxSceneEvaluator::EvaluateLocalTransform(const FbxNode* pNode, FbxTime time)
{
    SMoment& moment = MomentOf(time);
    const size_t nNode = static_cast<size_t>(pNode->GetIndex());
    if (m_nodes[nNode].bPlainLocal)
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
    SMoment& moment = MomentOf(time);
    const SFbxGlobal& global = Global(static_cast<size_t>(pNode->GetIndex()), moment);
    if (!global.bMatrix)
        return Finish(global.t, global.q, global.s);
    FbxTransform transform;
    transform.t = global.t;
    FbxDecompose(global.matrix, transform.q, transform.s);
    return transform;
}

FbxMatrix4 FbxSceneEvaluator::EvaluateLocalMatrix(const FbxNode* pNode, FbxTime time)
{
    SMoment& moment = MomentOf(time);
    SFbxLocal local;
    SFbxMatrix3 matrix;
    if (RelativeLocal(static_cast<size_t>(pNode->GetIndex()), moment, local, matrix))
        matrix = FbxScaled(FbxMatrixOf(local.q), local.s);
    return Matrix4Of(matrix, local.t);
}

FbxMatrix4 FbxSceneEvaluator::EvaluateGlobalMatrix(const FbxNode* pNode, FbxTime time)
{
    SMoment& moment = MomentOf(time);
    const SFbxGlobal& global = Global(static_cast<size_t>(pNode->GetIndex()), moment);
    return Matrix4Of(FbxMatrixOf(global), global.t);
}

int FbxSceneEvaluator::EvaluateProperty(const FbxProperty& property, FbxTime time, double out[4])
{
    double channels[16];
    property.GetChannels(channels);
    const int nChannels = property.GetChannelCount() <= 4 ? property.GetChannelCount() : 0;
    for (int n = 0; n < 4; ++n)
        out[n] = n < nChannels ? channels[n] : 0.0;
    if (time.IsInfinite() || nChannels == 0 || !property.GetObject())
        return nChannels;
    MomentOf(time);
    const FbxObject& object = *property.GetObject();
    if (const SFbxPropertyPlan* pPlan = m_properties.Find(object, property.GetName()))
    {
        FbxMixedValues mixed(channels, nChannels);
        m_properties.Mix(*pPlan, mixed);
        std::copy_n(mixed.Values(), nChannels, out);
    }
    FbxVector3 turned;
    if (m_nodes.TurnedValue(object, property.GetName(), turned))
    {
        out[0] = turned.x;
        out[1] = turned.y;
        out[2] = turned.z;
    }
    return nChannels;
}

FbxAnimCurveNode* FbxSceneEvaluator::FindCurveNode(const FbxProperty& property)
{
    if (!property.GetObject())
        return nullptr;
    if (!m_bCompiled)
        Compile();
    const SFbxPropertyPlan* pPlan = m_properties.Find(*property.GetObject(), property.GetName());
    return pPlan ? m_properties.Lowest(*pPlan).pNode : nullptr;
}
