#include "resource/animation/fbximport/fbxtakesampler.h"

#include "base/misc/trace.h"
#include "fbx/scene/fbxscene.h"
#include "resource/animation/fbximport/fbxanimationutils.h"
#include "resource/animation/frame/animationexception.h"

#include <algorithm>

namespace ResourceAnimation::Import
{

namespace
{

bool IsExportableProperty(const FbxProperty& property, const FbxNode* pNode)
{
    if ((property.GetFlags() & eFbxFlag_Animatable) == 0)
        return false;
    const std::string_view name = property.GetName();
    const bool bNamed =
        name.starts_with("export_") ||
        (pNode->GetCamera() != nullptr && (name == "FocalLength" || name == "FieldOfView" || name == "NearPlane"));
    if (!bNamed)
        return false;
    const FbxAnimCurveNode* pCurveNode = property.GetCurveNode();
    return pCurveNode != nullptr && pCurveNode->IsAnimated();
}

/// An empty track of the type that a property's values become; null for a type that has none.
TSharedPtr<ZAnimatedProperty> MakeTrack(const FbxProperty& property)
{
    const ZString name = ZString::AllocateFromCString(property.GetName());
    switch (property.GetType())
    {
    case EFbxType::eUndefined:
        throw ZAnimationException("Undefined property type not supported");
    case EFbxType::eUInt:
        return ZAnimatedProperty::Create<uint32_t>(name);
    case EFbxType::eBool:
        return ZAnimatedProperty::Create<bool>(name);
    case EFbxType::eInt:
        return ZAnimatedProperty::Create<int32_t>(name);
    case EFbxType::eFloat:
    case EFbxType::eDouble:
        return ZAnimatedProperty::Create<float>(name);
    case EFbxType::eDouble2:
        return ZAnimatedProperty::Create<SVector2>(name);
    case EFbxType::eDouble3:
        return ZAnimatedProperty::Create<SVector3>(name);
    case EFbxType::eDouble4:
        return ZAnimatedProperty::Create<SVector4>(name);
    default:
        return nullptr;
    }
}

/// Cut towards zero and held within the type; not a number is 0.
template <class T>
T ToInteger(double fValue)
{
    if (!(fValue == fValue))
        return 0;
    constexpr double fLowest = std::numeric_limits<T>::lowest();
    constexpr double fHighest = std::numeric_limits<T>::max();
    return static_cast<T>(std::clamp(fValue, fLowest, fHighest));
}

ZVariant EvaluateProperty(const FbxProperty& property, FbxTime time)
{
    double v[4] = {};
    property.GetObject()->GetScene()->GetAnimationEvaluator()->EvaluateProperty(property, time, v);
    const auto f = [&v](int n) { return static_cast<float>(v[n]); };
    switch (property.GetType())
    {
    case EFbxType::eUndefined:
        throw ZAnimationException("Undefined property type not supported");
    case EFbxType::eUInt:
        return ZVariant(ToInteger<uint32_t>(v[0]));
    case EFbxType::eBool:
        return ZVariant(v[0] != 0.0);
    case EFbxType::eInt:
        return ZVariant(ToInteger<int32_t>(v[0]));
    case EFbxType::eFloat:
    case EFbxType::eDouble:
        return ZVariant(f(0));
    case EFbxType::eDouble2:
        return ZVariant(SVector2{f(0), f(1)});
    case EFbxType::eDouble3:
        return ZVariant(SVector3{f(0), f(1), f(2)});
    case EFbxType::eDouble4:
        return ZVariant(SVector4{f(0), f(1), f(2), f(3)});
    default:
        throw ZAnimationException("Unsupported property value type");
    }
}

/// Where a track's values come from: the node is searched before its attributes, whichever brought the track.
FbxProperty FindTrackSource(const FbxNode* pNode, const ZString& name)
{
    FbxProperty property = pNode->FindProperty(name.View());
    for (size_t i = 0; i < pNode->GetNodeAttributeCount() && !property.IsValid(); ++i)
        property = pNode->GetNodeAttribute(i)->FindProperty(name.View());
    ZASSERT_OR_HALT(property.IsValid());
    ZASSERT_OR_HALT(property.GetCurveNode() != nullptr);
    ZASSERT(property.GetCurveNode()->IsAnimated());
    return property;
}

} // namespace

ZFbxTakeSampler::ZFbxTakeSampler(const ZFbxTakeData& take) : m_take(take)
{
    CheckTakeLength(take.m_name, take.m_frameCount);
    const ZFbxGround& ground = *take.m_pGround;
    m_listed.Resize(ground.m_pFbxNode->GetScene()->GetNodeCount());
    ListBones(ground.m_pFbxNode, false);
    for (const FbxNode* pRootObject : ground.m_rootObjects)
        ListBones(pRootObject, true);
    const uint64_t nKeys = static_cast<uint64_t>(std::max(0, take.m_frameCount)) * m_bones.Size();
    if (nKeys > MAX_TAKE_KEYS)
        throw ZAnimationException(
            ZString::Format("Take '{0}' asks for {1} frames of {2} bones; a take has at most {3} keys", take.m_name,
                            take.m_frameCount, m_bones.Size(), MAX_TAKE_KEYS));
}

void ZFbxTakeSampler::ListBones(const FbxNode* pRoot, bool bRootObject)
{
    TArray<const FbxNode*> pending{pRoot};
    while (!pending.IsEmpty())
    {
        const FbxNode* pNode = pending.Last();
        pending.RemoveAt(pending.Size() - 1);
        bool& bListed = m_listed[static_cast<size_t>(pNode->GetIndex())];
        if (bListed || HasTakeNodeProperty(pNode))
            continue;
        bListed = true;
        SBone& bone = m_bones.Add(SBone());
        bone.pNode = pNode;
        bone.bRootObject = bRootObject && pNode == pRoot;
        const ZString name = ObjectName(pNode);
        bone.bExported =
            m_take.m_partialList.IsEmpty() ||
            std::find(m_take.m_partialList.begin(), m_take.m_partialList.end(), name) != m_take.m_partialList.end();
        ListTracks(bone, pNode);
        for (size_t i = 0; i < pNode->GetNodeAttributeCount(); ++i)
            ListTracks(bone, pNode->GetNodeAttribute(i));
        for (size_t i = pNode->GetChildCount(); i-- > 0;)
            pending.Add(pNode->GetChild(i));
    }
}

void ZFbxTakeSampler::ListTracks(SBone& bone, const FbxObject* pObject) const
{
    for (size_t i = 0; i < pObject->GetPropertyCount(); ++i)
    {
        const FbxProperty property = pObject->GetProperty(i);
        if (!IsExportableProperty(property, bone.pNode))
            continue;
        const TSharedPtr<ZAnimatedProperty> pTrack = MakeTrack(property);
        if (pTrack != nullptr)
        {
            pTrack->ReserveValues(static_cast<size_t>(std::max(0, m_take.m_frameCount)));
            bone.tracks.Add({FindTrackSource(bone.pNode, pTrack->Name()), pTrack});
        }
        else
        {
            ZTRACE(ITraceListener::eTrace_Notice, "FBX Importer", "Skipped property '{0}' due to unsupported type.",
                   property.GetName());
        }
    }
}

TArray<TSharedPtr<ZAnimatedBone>> ZFbxTakeSampler::Sample(EBoneSpace eSpace, float scale)
{
    const auto nFrames = static_cast<uint32_t>(std::max(0, m_take.m_frameCount));
    for (SBone& bone : m_bones)
    {
        bone.rotations.Resize(nFrames);
        bone.translations.Resize(nFrames);
    }
    for (uint32_t n = 0; n < nFrames; ++n)
        SampleFrame(n, TimeOfFrame(m_take.m_startFrame + static_cast<int32_t>(n), m_take.m_frameRate), eSpace, scale);

    TArray<TSharedPtr<ZAnimatedBone>> result;
    result.Reserve(m_bones.Size());
    for (SBone& bone : m_bones)
    {
        ZAnimatedBone::TProperties properties;
        for (const SPropertyTrack& track : bone.tracks)
            properties.Add(track.pTarget);
        result.Add(TSharedPtr<ZAnimatedBone>::Create(ObjectName(bone.pNode), m_take.m_frameRate,
                                                     std::move(bone.rotations), std::move(bone.translations),
                                                     properties.Ref(), bone.bExported));
    }
    return result;
}

void ZFbxTakeSampler::SampleFrame(uint32_t nFrame, FbxTime time, EBoneSpace eSpace, float scale)
{
    const SBone& ground = m_bones[0];
    for (SBone& bone : m_bones)
    {
        SBoneTransform key;
        if (eSpace == eSpace_Parent)
            GetLocalBoneTransform(bone.pNode, time, &key.t, &key.q, nullptr);
        else
            GetGlobalBoneTransform(bone.pNode, time, &key.t, &key.q, nullptr);
        key.t = key.t * scale;
        if (bone.bRootObject && eSpace == eSpace_Parent)
            key = Relate({ground.translations.GetStart()[nFrame], ground.rotations.GetStart()[nFrame]}, key);
        bone.translations.GetStart()[nFrame] = key.t;
        bone.rotations.GetStart()[nFrame] = key.q;
        for (const SPropertyTrack& track : bone.tracks)
            track.pTarget->AddValue(EvaluateProperty(track.source, time));
    }
}

} // namespace ResourceAnimation::Import
