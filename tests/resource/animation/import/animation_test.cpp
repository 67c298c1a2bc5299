#include "base/math/zmath.h"

#include "resource/animation/frame/animationexception.h"
#include "tests/resource/animation/testtake.h"
#include "tests/support/testing.h"

namespace
{

using namespace ResourceAnimation;
using namespace ResourceAnimation::Import;

SQuaternion TurnZ(float fDegrees)
{
    double s, c;
    ZMath::SinCos(static_cast<double>(fDegrees) * ZMath::PI / 360.0, s, c);
    return {0.0f, 0.0f, static_cast<float>(s), static_cast<float>(c)};
}

ZAnimationRig RigOf(std::initializer_list<STestBone> bones)
{
    return MakeRig(bones, 0);
}

/// Bone n at frame f stands at (n, f, 0) and is turned by 10 (n + f) degrees about z.
TSharedPtr<ZAnimation> MakeAnimation(std::initializer_list<const char*> names, int nFrames, EBoneSpace eSpace)
{
    return MakeTake(
        "take", names, nFrames, eSpace,
        [](uint32_t n, int f) { return TurnZ(10.0f * static_cast<float>(static_cast<int>(n) + f)); },
        [](uint32_t n, int f) {
            return SVector3{static_cast<float>(n), static_cast<float>(f), 0.0f};
        });
}

void ExpectKey(const ZAnimatedBone& bone, uint32_t nFrame, const SVector3& t, float fDegrees)
{
    SCOPED_TRACE(ZString::Format("{0} at {1}", bone.Name(), nFrame).ToCString());
    EXPECT_NEAR(bone.Translations()[nFrame].x, t.x, 1e-5f);
    EXPECT_NEAR(bone.Translations()[nFrame].y, t.y, 1e-5f);
    EXPECT_NEAR(std::fabs(Dot(bone.Rotations()[nFrame], TurnZ(fDegrees))), 1.0f, 1e-6f);
}

TEST(Animation, FoldMovesABoneIntoItsChildrenBehindIt)
{
    const ZAnimationRig rig = RigOf({{"Ground", -1}, {"Early", 2}, {"Bip01", 0}, {"Child", 2}, {"Grandchild", 3}});
    const auto pSource = MakeAnimation({"Ground", "Early", "Bip01", "Child", "Grandchild"}, 2, eSpace_Parent);
    const auto pFolded = ZAnimation::FoldBoneIntoChildren(pSource, "Bip01", rig);
    const auto& bones = pFolded->AnimatedBones();
    ExpectKey(*bones[2], 1, {0, 0, 0}, 0.0f);
    // Frame 1: the parent at (2, 1), turned by 30 degrees; the child at (3, 1) in it, turned by 40.
    const float c = std::cos(ZMath::PI_F / 6.0f), s = 0.5f;
    ExpectKey(*bones[3], 1, {2 + 3 * c - 1 * s, 1 + 3 * s + 1 * c, 0}, 70.0f);
    EXPECT_TRUE(bones[4] == pSource->AnimatedBones()[4]) << "what is not touched is shared";
    EXPECT_TRUE(bones[1] == pSource->AnimatedBones()[1]) << "children in front of the bone are not met";

    const auto pSame = ZAnimation::FoldBoneIntoChildren(pSource, "absent", rig);
    EXPECT_FALSE(pSame == pSource);
    EXPECT_TRUE(pSame->AnimatedBones() == pSource->AnimatedBones());
}

TEST(Animation, SpacesGoByTheRig)
{
    const ZAnimationRig rig = RigOf({{"a", -1}, {"b", 0}, {"c", 1}});
    const auto pParent = MakeAnimation({"A", "b", "c"}, 2, eSpace_Parent);
    EXPECT_TRUE(ZAnimation::ConvertToSpace(pParent, eSpace_Parent, RigOf({})) == pParent);
    // From parent space one level is taken into account and no more: c goes by b as it stands, not by its absolute.
    const auto pCharacter = ZAnimation::ConvertToSpace(pParent, eSpace_Character, rig);
    ExpectKey(*pCharacter->AnimatedBones()[2], 0,
              {1 + 2 * std::cos(ZMath::PI_F / 18.0f), 2 * std::sin(ZMath::PI_F / 18.0f), 0}, 30.0f);
    // The other way is exact.
    const auto pAbsolute = MakeAnimation({"A", "b", "c"}, 2, eSpace_Character);
    const auto pBack = ZAnimation::ConvertToSpace(pAbsolute, eSpace_Parent, rig);
    ExpectKey(*pBack->AnimatedBones()[2], 1,
              {std::cos(-20.0f * ZMath::PI_F / 180.0f), std::sin(-20.0f * ZMath::PI_F / 180.0f), 0}, 10.0f);
    EXPECT_EQ(pBack->Space(), eSpace_Parent);
    EXPECT_THROW(ZAnimation::ConvertToSpace(pAbsolute, eSpace_Parent, RigOf({{"a", -1}, {"x", 0}, {"c", 1}})),
                 ZAnimationPackerException);
}

TEST(Animation, TrajectoryBecomesRelativeToItsFirstFrame)
{
    const ZAnimationRig rig = RigOf({{"ROOT", -1}, {"b", 0}});
    const auto pAnimation = MakeAnimation({"root", "b"}, 3, eSpace_Parent);
    const auto pRelative = ZAnimation::CreateRelativeTrajectoryAnimation(pAnimation, rig);
    ExpectKey(*pRelative->AnimatedBones()[0], 0, {0, 0, 0}, 0.0f);
    ExpectKey(*pRelative->AnimatedBones()[0], 2, {0, 2, 0}, 20.0f);
    EXPECT_TRUE(pRelative->AnimatedBones()[1] == pAnimation->AnimatedBones()[1]);

    EXPECT_THROW(ZAnimation::CreateRelativeTrajectoryAnimation(pAnimation, RigOf({{"other", -1}})),
                 ZAnimationPackerException);
    EXPECT_THROW(ZAnimation::CreateRelativeTrajectoryAnimation(MakeAnimation({"root"}, 1, eSpace_Character), rig),
                 ZAnimationPackerException);
}

TEST(Animation, RenamingTheRootKeepsItTheRoot)
{
    const auto pAnimation = MakeAnimation({"root", "b"}, 1, eSpace_Parent);
    const auto pRenamed = ZAnimation::RenameBone(pAnimation, "root", "Ground");
    EXPECT_TRUE(pRenamed->RootBoneName() == "Ground");
    EXPECT_EQ(pRenamed->AnimatedBones()[0]->Uid(), BoneUid("ground"));
    EXPECT_TRUE(ZAnimation::RenameBone(pAnimation, "ROOT", "x") == pAnimation);
}

TEST(Animation, ConvertsAPropertyWhereverItStands)
{
    const auto pAnimation = MakeAnimation({"root", "b"}, 2, eSpace_Parent);
    const float values[] = {1.0f, 2.0f};
    pAnimation->AnimatedBones()[1]->AddProperty(
        ZAnimatedProperty::Create<float>("FocalLength", TArrayRef<const float>(values)));
    const auto pConverted = ZAnimation::ConvertProperty(
        pAnimation, "FocalLength", "Doubled",
        [](const ZVariant& v) { return ZVariant(static_cast<int32_t>(2.0f * v.GetValue<float>())); });
    const ZAnimatedProperty& property = *pConverted->AnimatedBones()[1]->Properties()[0];
    EXPECT_TRUE(property.Name() == "Doubled");
    EXPECT_TRUE(property.GetValues<int32_t>() == (TArray<int32_t>{2, 4}));
    EXPECT_TRUE(pAnimation->AnimatedBones()[1]->Properties()[0]->Name() == "FocalLength");
}

TEST(Animation, TwistBonesAreFoundByLowerCasedNameAlone)
{
    const auto pAnimation = MakeAnimation(
        {"root", "BIP01_LUpArmTwist", "Bip01_L_ForeTwist2", "Bip01_L_ForeTwist3", "ns:bone_l_knee", "Bone_R_Buttock"},
        1, eSpace_Parent);
    ZAnimation::ClearTwistBones(pAnimation);
    const bool expected[] = {true, false, false, true, true, false};
    for (uint32_t i = 0; i < 6; ++i)
        EXPECT_EQ(pAnimation->AnimatedBones()[i]->IsExported(), expected[i]) << i;
}

TEST(Animation, ResamplingLeavesTheFrameCountField)
{
    const auto pAnimation = MakeAnimation({"root"}, 3, eSpace_Parent);
    const auto pFew = ZAnimation::Resample(pAnimation, 3.0f);
    EXPECT_EQ(pFew->AnimatedBones()[0]->FrameCount(), 2u) << "never fewer than two";
    EXPECT_EQ(pFew->FrameCount(), 3u);
    EXPECT_EQ(pFew->FrameRate(), 20.0f);
    const auto pPair = MakeAnimation({"root"}, 2, eSpace_Parent);
    EXPECT_TRUE(ZAnimation::Resample(pPair, 60.0f) == pPair) << "two frames stay what they are";
    EXPECT_TRUE(ZAnimation::Resample(nullptr, 60.0f) == nullptr);
    ZAssertTrap trap;
    EXPECT_THROW(ZAnimatedBone::CloneWithKeys(*pPair->AnimatedBones()[0], {SQuaternion()}, {}), zhalt_exception);
    EXPECT_EQ(trap.FirstExpression(), "rotations.Size() == translations.Size()");
    trap.Clear();
    EXPECT_THROW(ZAnimation::CreateForRange("t", 20, 10, 30.0f, "r", ZResourceID(), {}, eSpace_Parent, SQV(), {}),
                 zhalt_exception);
}

} // namespace
