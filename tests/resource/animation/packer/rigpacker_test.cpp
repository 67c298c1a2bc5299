#include "resource/animation/packer/rigpacker.h"

#include "tests/resource/animation/packer/samplehost.h"
#include "tests/support/testing.h"

namespace
{

using namespace ResourceAnimation;
using Import::ZBone;
using Import::ZBoneHierarchy;
using TBone = TSharedPtr<ZBone>;

TBone MakeBone(const ZString& name, const TBone& pParent, const SVector3& t)
{
    const TBone pBone = TBone::Create(name, t, SQuaternion{0.0f, 0.6f, 0.0f, 0.8f}, pParent, TArrayRef<const TBone>());
    if (pParent)
        pParent->AddChild(pBone);
    return pBone;
}

TSharedPtr<ZBoneHierarchy> MakeHierarchy(const TBone& pRoot)
{
    const TBone roots[] = {pRoot};
    return TSharedPtr<ZBoneHierarchy>::Create("rig", pRoot->Name(), TArrayRef<const TBone>(roots),
                                              Import::eSpace_Character, nullptr);
}

ZString g_messages;

ZMessageDelegate Messages()
{
    g_messages = ZString();
    return ZMessageDelegate([](const ZString& message, int nSeverity)
                            { g_messages.Append(ZString::Format("{0}: {1}|", nSeverity, message)); });
}

TEST(RigPacker, RepairsABiped)
{
    const TBone pGround = MakeBone("ground", nullptr, {1, 2, 3});
    const TBone pBiped = MakeBone("Bip01", pGround, {0, 0, 97});
    const TBone pClavicle = MakeBone("Bip01_L_Clavicle", pBiped, {5, 0, 140});
    const TBone pArm = MakeBone("Bip01_L_UpperArm", pClavicle, {10, 0, 140});
    const TBone pTwist = MakeBone("Bip01_LUpArmTwist", pArm, {20, 0, 140});
    const TBone pLost = MakeBone("Bip01_RUpArmTwist", pBiped, {-20, 0, 140});
    const TBone pAbove = MakeBone("Bip01_LThighTwist", pBiped, {9, 0, 90});
    const TBone pThigh = MakeBone("Bip01_L_Thigh", MakeBone("Bip01_L_Hip", pAbove, {9, 0, 90}), {10, 0, 90});
    const auto pHierarchy = MakeHierarchy(pGround);
    RepairBiped(*pHierarchy, Messages());
    EXPECT_EQ(pBiped->Translation(), pGround->Translation());
    EXPECT_TRUE(pBiped->Parent() == pGround);
    EXPECT_TRUE(pTwist->Parent() == pClavicle);
    EXPECT_EQ(pTwist->Translation(), pArm->Translation());
    EXPECT_TRUE(pLost->Parent() == pBiped);
    EXPECT_EQ(pLost->Translation(), (SVector3{-20, 0, 140})) << "a twist bone without its limb stays";
    EXPECT_TRUE(pAbove->Parent() == pBiped) << "and so does one above its limb";
    EXPECT_EQ(g_messages, "1: The twist bone 'Bip01_LThighTwist' stays where it is: its limb 'Bip01_L_Thigh' hangs "
                          "below it|");
    EXPECT_EQ(pHierarchy->ToSpace(Import::eSpace_Parent, true)->Bones().Size(), pHierarchy->Bones().Size());

    const TBone pAlone = MakeBone("Bip01", nullptr, {0, 0, 97});
    RepairBiped(*MakeHierarchy(pAlone), Messages());
    EXPECT_EQ(pAlone->Translation(), SVector3());
    EXPECT_EQ(pAlone->Rotation(), SQuaternion());

    const TBone pLimb = MakeBone("Bip01_L_Thigh", nullptr, {0, 0, 97});
    const TBone pBeside = MakeBone("Bip01_LThighTwist", MakeBone("Bip01", pLimb, {}), {9, 0, 90});
    RepairBiped(*MakeHierarchy(pLimb), Messages());
    EXPECT_EQ(pBeside->Parent()->Name(), "Bip01");
    EXPECT_EQ(g_messages, "1: The twist bone 'Bip01_LThighTwist' stays where it is: its limb 'Bip01_L_Thigh' is the "
                          "root|");

    const TBone pOther = MakeBone("spine", nullptr, {0, 0, 97});
    const TBone pKept = MakeBone("Bip01_LUpArmTwist", pOther, {20, 0, 140});
    RepairBiped(*MakeHierarchy(pOther), Messages());
    EXPECT_EQ(pKept->Translation(), (SVector3{20, 0, 140})) << "no biped, no repair";
}

TEST(RigPacker, PacksASampleRig)
{
    for (const char* szPlatform : {"pc", "ps3"})
    {
        ZSampleHost host(ZString::ReferenceCString(szPlatform));
        // The whole file stands for its first ground.
        const TPacked<ZAnimationRig> named(host, host.PackRig("assembly:/characters/scout/scout.rig.fbx?/SCOUT.rig"));
        const TPacked<ZAnimationRig> first(host, host.PackRig("assembly:/characters/scout/scout.rig.fbx"));
        ASSERT_TRUE(named.bRead && first.bRead) << host.Context().FirstMessage().ToCString();
        EXPECT_TRUE(*named == *first);
        EXPECT_TRUE(named.header.Type() == "RRTY");
        EXPECT_EQ(named.header.ReferenceBlockSize(), 0u);
        EXPECT_EQ(named->BoneCount(), 82u);
        EXPECT_EQ(named->Bone(0).translation, (SVector4{0, 0, 0, 1})) << "the trajectory is cleared";
        EXPECT_EQ(host.Database().OpenUpdates(), 0u);
    }
}

TEST(RigPacker, SaysWhyNot)
{
    ZSampleHost host;
    const auto expectError = [&host](const char* szSource, const char* szMessage)
    {
        host.Context().Clear();
        host.PackRig(ZString::ReferenceCString(szSource));
        EXPECT_FALSE(host.Packed());
        EXPECT_EQ(host.Context().FirstMessage(),
                  ZString("error: Error when packing rig: ") + ZString::ReferenceCString(szMessage));
    };
    expectError("assembly:/characters/scout/scout.rig.fbx?/absent.rig", "ERROR: No rig found in FBX source resource.");
    expectError("assembly:/characters/scout/moves.fbx?/scout.rig", "Selected ground is not a rig");
    EXPECT_EQ(host.Database().OpenUpdates(), 2u);
    EXPECT_TRUE(host.Database().Outputs().IsEmpty());

    host.Database().SetOutputFault(ZMemoryResourceDatabase::EOutputFault::eNull);
    expectError("assembly:/props/door.rig.fbx",
                "ERROR: Failed to create output resource: <assembly:/props/door.rig.fbx>.pc.animationrig");
}

} // namespace
