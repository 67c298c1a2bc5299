#include "resource/animation/packer/animationpacker.h"

#include "base/collections/thashmap.h"
#include "resource/animation/fbximport/fbxanimationimporter.h"
#include "resource/animation/frame/messagedelegate.h"
#include "resource/animation/frame/platform.h"
#include "resource/animation/packer/animposepropertyevents.h"
#include "resource/animation/packer/eventtracks.h"
#include "resource/animation/packer/lostmotion.h"
#include "resource/animation/packer/packedoutput.h"
#include "resource/core/iresourcedatabase.h"

namespace ResourceAnimation
{

using Import::ZAnimatedBone;
using Import::ZAnimation;
using SystemAnimation::SAnimationResourceData;

namespace
{

constexpr float METRES_PER_UNIT = 0.01f;

} // namespace

bool ZAnimationPacker::PackResource(IResourcePackerContext* pContext, const ZResourceID& source,
                                    const ZResourceID& target, const ZVariantRef&)
{
    try
    {
        const bool bUpdate = GetResourceDatabase()->BeginResourceUpdate(target, 0);
        PackTake(pContext, source, target);
        if (bUpdate)
            GetResourceDatabase()->EndResourceUpdate(0);
        return true;
    }
    catch (const ZAnimationException& e)
    {
        // The update stays open: the host sees that it was cut short.
        pContext->Error(ZString::Format("Error when packing animation: {0}", e.Message()));
        return false;
    }
}

void ZAnimationPacker::PackTake(IResourcePackerContext* pContext, const ZResourceID& source, const ZResourceID& target)
{
    const SParameters parameters = ReadParameters(pContext, target);
    const ZString takeName = SubResourceName(source);
    TAnimation pAnimation = ImportTake(source, takeName, parameters.bEmbedProperties);
    if (pAnimation == nullptr)
        throw ZAnimationPackerException(
            ZString::Format("ERROR: The requested take does not exist. Take name: '{0}'.", takeName));

    const ZResourceID eventTrackID = MakeEventTrackResourceID(source, takeName);
    const int nEventReference = ReferEventTracks(source, takeName, eventTrackID);
    ReadAnimPosePropertyEvents(pAnimation, eventTrackID);

    const ZString platform = GetTargetPlatform();
    const EEndian eEndian = GetPlatformClass(platform);
    const ZResourceID rigSource = ChooseRigSource(*pAnimation, parameters.rig);
    const ZResourceID rigResource = rigSource.CreateDerivedResourceID("animationrig", "", platform);
    if (!rigResource.IsValid())
        throw ZAnimationPackerException(
            ZString::Format("Failed to generate valid rig resource from '{0}' (result: '{1}')",
                            pAnimation->RigResource(), rigResource));
    GetResourceDatabase()->AddSourceDependency(rigSource);
    const int nRigReference = AddReference(rigResource);
    const TUniquePtr<ZAnimationRig> pRig = LoadRig(rigResource, eEndian);

    TBonesToPack bonesToPack;
    pAnimation = MatchToRig(std::move(pAnimation), *pRig, bonesToPack);
    SAnimationResourceData data = ZDefaultCompressor().Compress(pAnimation, *pRig, bonesToPack, eEndian);
    const auto narrowReference = [](int arg)
    {
        ZASSERT_TEXT(arg >= -128 && arg <= 127, "arg <= NumericLimits<Dest>::Max");
        return static_cast<int8_t>(arg);
    };
    data.eventTrackReference = narrowReference(nEventReference);
    data.rigReference = narrowReference(nRigReference);

    if (ZString why; !data.IsConsistent(pRig->BoneCount(), why)) // no reader would take it
        throw ZAnimationPackerException(ZString::Format("The packed animation contradicts itself: {0}.", why));
    const TArray<uint8_t> bytes = SerializeAndReadBack(data, eEndian, true);
    const TComponentScope<IOutputStream> stream(GetResourceDatabase()->OpenOutputStream(target));
    if (!stream || !stream->IsOpen())
        throw ZAnimationPackerException(
            ZString::Format("Failed to create output stream for asset data '{0}'\n", target));
    WriteResource(stream.Get(), RESOURCE_CODE_ANIMATION, platform, eEndian, m_references.Ref(), bytes.Ref());
}

ZAnimationPacker::TAnimation ZAnimationPacker::ImportTake(const ZResourceID& source, const ZString& takeName,
                                                          bool bEmbedProperties)
{
    Import::ZFbxAnimationImporter importer(source);
    for (const ZString& text : importer.DescribeLosses(takeName))
        ReportMessage(text, eMessage_Warning);
    return importer.ImportAnimation(takeName, Import::eSpace_Parent, METRES_PER_UNIT, bEmbedProperties);
}

ZAnimationPacker::SParameters ZAnimationPacker::ReadParameters(IResourcePackerContext* pContext,
                                                               const ZResourceID& target)
{
    SParameters result;
    for (const ZString& text : target.GetParameters())
    {
        const ZString parameter = text.CopyToLower();
        if (parameter == "noevents" || parameter == "cutsequence")
            continue; // accepted and without effect
        if (parameter == "embed_animation_properties")
        {
            result.bEmbedProperties = true;
            continue;
        }
        if (!result.rig.IsEmpty())
            throw ZAnimationPackerException(
                ZString::Format("Multiple rig resources in parameter list not allowed! Rig 1: '{0}'. Rig 2: '{1}'.",
                                result.rig, parameter));
        result.rig = parameter;
        pContext->Info(ZString::Format("Packing against rig: '{0}'.", result.rig));
    }
    return result;
}

int ZAnimationPacker::ReferEventTracks(const ZResourceID& source, const ZString& takeName,
                                       const ZResourceID& eventTrackID)
{
    if (eventTrackID.IsEmpty())
        throw ZAnimationPackerException(ZString::Format("ERROR: Failed to construct event track resource ID from the "
                                                        "take resource ID '{0}' with take name '{1}'.",
                                                        source, takeName));
    const ZResourceID eventResource = eventTrackID.CreateDerivedResourceID("rtet", "", GetTargetPlatform());
    const ZResourceID eventSource = eventResource.GetSourceResourceID();
    const bool bExists = GetResourceDatabase()->QuerySourceResource(eventSource).bExists;
    // Whether it is there or not: a document that appears later makes the packed take stale.
    GetResourceDatabase()->AddSourceDependency(eventSource);
    return bExists ? AddReference(eventResource) : -1;
}

ZResourceID ZAnimationPacker::ChooseRigSource(const ZAnimation& animation, const ZString& rigParameter)
{
    ZResourceID rigSource = animation.RigResource();
    if (!rigParameter.IsEmpty())
    {
        rigSource = ZResourceID(rigParameter);
        if (!(rigSource.GetExtension() == "rig"))
            rigSource = rigSource.ReplaceExtension("fbx");
    }
    if (!rigSource.IsEmpty())
        return rigSource;
    const uint32_t nBones = animation.AnimatedBones().Size();
    if (nBones != 1)
        throw ZAnimationPackerException(
            ZString::Format("No Rig is referenced in the animation. It is valid only with a trajectory animation (1 "
                            "bone only), but animation has {0} animated bones.",
                            nBones));
    return ZResourceID("assembly:/animations/_common/trajectoryrig.rig.fbx");
}

ZAnimationPacker::TAnimation ZAnimationPacker::MatchToRig(TAnimation pAnimation, const ZAnimationRig& rig,
                                                          TBonesToPack& bonesToPack)
{
    pAnimation = ZAnimation::RenameBone(pAnimation, pAnimation->AnimatedBones()[0]->Name(), rig.Name(0));
    AddMissingRigBones(*pAnimation, rig);
    ZAnimation::ClearTwistBones(pAnimation);
    for (const ZString& text : DescribeLostMotion(*pAnimation, rig))
        ReportMessage(text, eMessage_Warning);

    THashMap<uint32_t, ZString> packedAs;
    for (const uint32_t uid : rig.UniqueIds())
        packedAs[uid] = ZString();
    for (uint32_t i = 0; i < pAnimation->AnimatedBones().Size(); ++i)
    {
        const ZAnimatedBone& bone = *pAnimation->AnimatedBones()[i];
        ZString* pName = bone.IsExported() ? packedAs.Find(bone.Uid()) : nullptr;
        if (pName == nullptr)
            continue;
        if (*pName == bone.Name())
            ReportMessage(ZString::Format("Take '{0}' has several bones that are packed as '{1}': the last one stands, "
                                          "the others are lost",
                                          pAnimation->Name(), bone.Name()),
                          eMessage_Warning);
        else if (!pName->IsEmpty())
            throw ZAnimationPackerException(
                ZString::Format("The bones '{0}' and '{1}' of take '{2}' have one uid, {3}: the rig has one bone for "
                                "both",
                                *pName, bone.Name(), pAnimation->Name(), bone.Uid()));
        *pName = bone.Name();
        bonesToPack[bone.Name()] = static_cast<int>(i);
    }
    if (bonesToPack.IsEmpty())
        throw ZAnimationPackerException(ZString::Format(
            "No bones to pack when matching animation with reference rig '{0}'.", pAnimation->RigResource()));

    pAnimation = ZAnimation::FoldBoneIntoChildren(pAnimation, "Bip01", rig);
    pAnimation = ZAnimation::ConvertToSpace(pAnimation, Import::eSpace_Parent, rig);
    pAnimation = ZAnimation::CreateRelativeTrajectoryAnimation(pAnimation, rig);
    pAnimation->ConjugateRotations();
    return pAnimation;
}

} // namespace ResourceAnimation
