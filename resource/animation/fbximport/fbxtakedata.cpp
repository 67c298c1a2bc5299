#include "resource/animation/fbximport/fbxtakedata.h"

#include "base/misc/trace.h"
#include "fbx/scene/fbxscene.h"
#include "resource/animation/fbximport/fbxanimationutils.h"
#include "resource/animation/fbximport/fbxsequenceorigin.h"

#include <algorithm>

namespace ResourceAnimation
{

namespace
{

int32_t FrameCountOf(int32_t nStart, int32_t nEnd)
{
    const int64_t nCount = static_cast<int64_t>(nEnd) - nStart + 1;
    return static_cast<int32_t>(std::clamp<int64_t>(nCount, INT32_MIN, INT32_MAX));
}

/// Whether the camera's field of view, or in its place the focal length, has keys around the frames.
bool IsFieldOfViewAnimated(const FbxCamera* pCamera, int32_t nStartFrame, int32_t nEndFrame, double fFrameRate)
{
    const FbxAnimCurveNode* pCurveNode = pCamera->FindProperty("FieldOfView").GetCurveNode();
    if (pCurveNode == nullptr)
        pCurveNode = pCamera->FindProperty("FocalLength").GetCurveNode();
    FbxTimeSpan interval;
    return pCurveNode != nullptr && pCurveNode->IsAnimated() && pCurveNode->GetAnimationInterval(interval) &&
           nStartFrame <= interval.stop.GetFrameCount(fFrameRate) &&
           nEndFrame >= interval.start.GetFrameCount(fFrameRate);
}

} // namespace

void ZFbxTakeData::ReadDescription(const ZJsonValue& description, const FbxNode* pNode)
{
    m_name = description["name"].AsString();
    m_startFrame = description["startFrame"].AsInt32();
    m_endFrame = description["endFrame"].AsInt32();
    const ZJsonValue* pPartialList = description.AsObject().Find("partialList");
    if (pPartialList == nullptr)
    {
        // A halt carries no text.
        ZTRACE(ITraceListener::eTrace_Failure, "ZFbxTakeData", "the TakeData of '{0}' has no key 'partialList'",
               ObjectName(pNode));
        throw zhalt_exception();
    }
    for (const ZJsonValue& name : pPartialList->AsArray())
        m_partialList.Add(name.AsString());
}

ZFbxTakeData::ZFbxTakeData(const FbxNode* pNode)
{
    ZASSERT_OR_HALT(pNode);
    const FbxProperty property = FindFbxProperty(pNode, "TakeData", EFbxType::eString, false);
    ReadJson(pNode, "TakeData", property, [&](const ZJsonValue& description) { ReadDescription(description, pNode); });
    m_frameCount = FrameCountOf(m_startFrame, m_endFrame);
    const double fFrameRate = pNode->GetScene()->GetGlobalSettings().GetFrameRate();
    m_frameRate = static_cast<float>(fFrameRate);

    const FbxNode* pParent = pNode->GetParent();
    const FbxCamera* pCamera = pParent != nullptr ? pParent->GetCamera() : nullptr;
    m_bFieldOfViewAnimated = pCamera != nullptr && IsFieldOfViewAnimated(pCamera, m_startFrame, m_endFrame, fFrameRate);
    m_bHasSequenceOrigin = ReadTakeSequenceOrigin(pNode, m_sequenceOrigin);
}

} // namespace ResourceAnimation
