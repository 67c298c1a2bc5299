#include "resource/animation/packer/rigpacker.h"

#include "resource/animation/fbximport/fbxanimationimporter.h"
#include "resource/animation/frame/animationexception.h"
#include "resource/animation/packer/rigoutput.h"
#include "resource/core/iresourcedatabase.h"

#include <algorithm>

namespace ResourceAnimation
{

using Import::ZBone;
using Import::ZBoneHierarchy;

namespace
{

constexpr float METRES_PER_UNIT = 0.01f;

/// A character outside of these has the wrong unit.
constexpr float LEAST_METRES = 0.1f;
constexpr float MOST_METRES = 20.0f;
constexpr uint32_t LEAST_BONES = 4; ///< of something that has a size

void CheckSize(const ZBoneHierarchy& hierarchy, const ZMessageDelegate& messages)
{
    if (hierarchy.Bones().Size() < LEAST_BONES || hierarchy.Space() != Import::eSpace_Character)
        return;
    SVector3 least = hierarchy.Bones()[1]->Translation();
    SVector3 most = least;
    for (const TSharedPtr<ZBone>& pBone : hierarchy.Bones())
    {
        const SVector3& t = pBone->Translation();
        least = {std::min(least.x, t.x), std::min(least.y, t.y), std::min(least.z, t.z)};
        most = {std::max(most.x, t.x), std::max(most.y, t.y), std::max(most.z, t.z)};
    }
    const float fSize = std::max({most.x - least.x, most.y - least.y, most.z - least.z});
    if (fSize < LEAST_METRES || fSize > MOST_METRES)
        messages(
            ZString::Format("The rig '{0}' is {1} m large; is the unit of its scene right?", hierarchy.Name(), fSize),
            eMessage_Warning);
}

} // namespace

bool ZRigPacker::PackResource(IResourcePackerContext* pContext, const ZResourceID& source, const ZResourceID& target,
                              const ZVariantRef&)
{
    try
    {
        const bool bUpdate = GetResourceDatabase()->BeginResourceUpdate(target, 0);
        PackRig(source, target);
        if (bUpdate)
            GetResourceDatabase()->EndResourceUpdate(0);
        return true;
    }
    catch (const ZAnimationException& e)
    {
        // The update stays open: the host sees that it was cut short.
        pContext->Error(ZString::Format("Error when packing rig: {0}", e.Message()));
        return false;
    }
}

void ZRigPacker::PackRig(const ZResourceID& source, const ZResourceID& target)
{
    Import::ZFbxAnimationImporter importer(source);
    const auto messages = ZMessageDelegate::Bind<ZRigPacker, &ZRigPacker::ReportMessage>(this);
    TSharedPtr<ZBoneHierarchy> pHierarchy =
        importer.ImportHierarchy(SubResourceName(source), METRES_PER_UNIT, &messages);
    if (pHierarchy == nullptr)
        throw ZRigPackerException("ERROR: No rig found in FBX source resource.");
    CheckSize(*pHierarchy, messages);
    RepairBiped(*pHierarchy, messages);
    if (const auto pConverted = pHierarchy->ToSpace(Import::eSpace_Parent, true))
        pHierarchy = pConverted;
    WriteRigResource(BuildRig(*pHierarchy), GetTargetPlatform(), target, EReadBack::eCompare);
}

void RepairBiped(ZBoneHierarchy& hierarchy, const ZMessageDelegate& messages)
{
    const SBoneId biped = hierarchy.GetBoneId("Bip01");
    if (!biped.IsValid())
        return;
    const TSharedPtr<ZBone>& pBiped = hierarchy.Bones()[biped];
    const TSharedPtr<ZBone> pParent = pBiped->Parent();
    if (hierarchy.Space() == Import::eSpace_Character && pParent)
        pBiped->SetTransform(pParent->Translation(), pParent->Rotation());
    else
        pBiped->SetTransform(SVector3(), SQuaternion());
    const struct
    {
        ZString twist;
        ZString limb;
    } pairs[] = {{"Bip01_LUpArmTwist", "Bip01_L_UpperArm"},
                 {"Bip01_RUpArmTwist", "Bip01_R_UpperArm"},
                 {"Bip01_LThighTwist", "Bip01_L_Thigh"},
                 {"Bip01_RThighTwist", "Bip01_R_Thigh"}};
    for (const auto& [twist, limb] : pairs)
    {
        const SBoneId limbId = hierarchy.GetBoneId(limb);
        if (!hierarchy.GetBoneId(twist).IsValid() || !limbId.IsValid())
            continue;
        // Beside the root it would be a second one, and none that anybody knows.
        const bool bRoot = hierarchy.ParentIndices()[limbId] == -1;
        if (bRoot || !hierarchy.MakeSiblingOf(twist, limb))
            messages(ZString::Format("The twist bone '{0}' stays where it is: its limb '{1}' {2}", twist, limb,
                                     bRoot ? "is the root" : "hangs below it"),
                     eMessage_Warning);
    }
}

ZAnimationRig BuildRig(const ZBoneHierarchy& hierarchy)
{
    const uint32_t nBones = hierarchy.Bones().Size();
    TArray<SBoneId> roots;
    TArray<SBoneId> parents;
    TArray<uint32_t> uniqueIds;
    TArray<SQV> bindPose;
    TArray<ZString> names;
    parents.Reserve(nBones);
    uniqueIds.Reserve(nBones);
    bindPose.Reserve(nBones);
    names.Reserve(nBones);
    for (const uint32_t nRoot : hierarchy.RootIndices())
        roots.Add(SBoneId(nRoot));
    for (const int32_t nParent : hierarchy.ParentIndices())
        parents.Add(SBoneId(nParent));
    for (const TSharedPtr<ZBone>& pBone : hierarchy.Bones())
    {
        const SVector3& t = pBone->Translation();
        uniqueIds.Add(pBone->Uid());
        bindPose.Add({pBone->Rotation().GetConjugate(), {t.x, t.y, t.z, 1.0f}});
        names.Add(pBone->Name());
    }
    return {hierarchy.GetBoneId(hierarchy.TrajectoryName()),
            roots.Ref(),
            parents.Ref(),
            uniqueIds.Ref(),
            bindPose.Ref(),
            names.Ref()};
}

} // namespace ResourceAnimation
