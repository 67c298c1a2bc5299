#include "system/animation/animationrig.h"

#include "tests/system/animation/testclip.h"

#include <gtest/gtest.h>

#include <functional>

TEST(BoneId, NarrowsAndComplains)
{
    const std::tuple<const char*, int64_t, bool, uint16_t, const char*> cases[] = {
        {"signed index", 65535, true, 65535, ""},
        {"signed none", -1, true, 65535, ""},
        {"below none", -2, true, 65534, "(id >= 0 && id <= INVALID_ID) || id == -1"},
        {"signed beyond", 65536, true, 0, "(id >= 0 && id <= INVALID_ID) || id == -1"},
        {"index", 7, false, 7, ""},
        {"unsigned none", 4294967295, false, 65535, ""},
        {"beyond", 65536, false, 0, "id <= INVALID_ID || id == INVALID_ID32"},
        {"below none", 4294967294, false, 65534, "id <= INVALID_ID || id == INVALID_ID32"},
    };
    for (const auto& [szLabel, nFrom, bSigned, uiExpected, szExpression] : cases)
    {
        SCOPED_TRACE(szLabel);
        const ZAssertTrap trap;
        const SBoneId id = bSigned ? SBoneId(static_cast<int32_t>(nFrom)) : SBoneId(static_cast<uint32_t>(nFrom));
        EXPECT_EQ(id.m_uiId, uiExpected);
        EXPECT_EQ(trap.FirstExpression(), szExpression);
    }
}

TEST(AnimationRig, DiffersInAnyField)
{
    const SBoneId roots[] = {uint16_t{0}}, parents[] = {SBoneId(), uint16_t{0}};
    const uint32_t uids[] = {11, 22};
    const SQV bindPose[] = {SQV(), {{0, 0.6f, 0, 0.8f}, {1, 2, 3, 1}}};
    const ZString names[] = {"root", "arm"};
    const ZAnimationRig rig(SBoneId(), roots, parents, uids, bindPose, names);
    EXPECT_EQ(rig.BoneCount(), 2u);
    EXPECT_EQ(rig.Bone(1), bindPose[1]);
    EXPECT_EQ(rig.ParentId(1), 0);
    EXPECT_FALSE(rig.ParentId(0).IsValid());
    EXPECT_EQ(rig.BoneIdByUid(22), 1);
    EXPECT_FALSE(rig.BoneIdByUid(33).IsValid());
    EXPECT_FALSE(rig != ZAnimationRig(rig));

    const SBoneId noParents[] = {SBoneId(), SBoneId()};
    const uint32_t otherUids[] = {11, 23};
    SQV moved[] = {bindPose[0], bindPose[1]};
    moved[1].translation.z = 3.0001f;
    const ZString otherNames[] = {"root", "leg"};
    const ZAnimationRig others[] = {
        {uint16_t{1}, roots, parents, uids, bindPose, names}, {SBoneId(), {}, parents, uids, bindPose, names},
        {SBoneId(), roots, noParents, uids, bindPose, names}, {SBoneId(), roots, parents, otherUids, bindPose, names},
        {SBoneId(), roots, parents, uids, moved, names},      {SBoneId(), roots, parents, uids, bindPose, otherNames}};
    for (const ZAnimationRig& other : others)
        EXPECT_TRUE(rig != other);

    const ZAssertTrap trap;
    EXPECT_THROW(rig.Name(2), zhalt_exception);
    EXPECT_EQ(trap.FirstExpression(), "nIndex < m_uiCount");
}

TEST(AnimationRig, TellsWhatIsInconsistent)
{
    const auto id = [](int n) { return SBoneId(n); };
    const SQV pose[3];
    const uint32_t uids[3] = {1, 2, 3};
    const ZString names[3] = {"a", "b", "c"};
    const struct
    {
        const char* szLabel;
        int nTrajectory;
        int nRoot;
        int parents[3];
        size_t nPoses;
        const char* szWhy;
    } cases[] = {
        {"in order", 0, 0, {-1, 0, 1}, 3, ""},
        {"parent behind child", -1, 2, {1, 2, -1}, 3, ""},
        {"a root that is not listed", -1, 0, {-1, -1, 0}, 3, ""},
        {"lengths", 0, 0, {-1, 0, 1}, 2, "the rig has 3 unique ids, but 2 bind poses"},
        {"trajectory", 3, 0, {-1, 0, 1}, 3, "the trajectory bone is bone 3 of 3"},
        {"root", 0, 3, {-1, 0, 1}, 3, "a root is bone 3 of 3"},
        {"root that is none", 0, -1, {-1, 0, 1}, 3, "a root is bone 65535 of 3"},
        {"parent", 0, 0, {-1, 3, 1}, 3, "the parent of bone 1 is bone 3 of 3"},
        {"own parent", 0, 0, {-1, 1, 1}, 3, "bone 1 is its own ancestor"},
        {"ring behind a stem", 0, 0, {2, 2, 1}, 3, "bone 2 is its own ancestor"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.szLabel);
        const SBoneId root = id(c.nRoot);
        const SBoneId parents[] = {id(c.parents[0]), id(c.parents[1]), id(c.parents[2])};
        const ZAnimationRig rig(id(c.nTrajectory), {&root, 1}, parents, uids, {pose, c.nPoses}, names);
        ZString why;
        EXPECT_EQ(rig.IsConsistent(why), c.szWhy[0] == '\0');
        EXPECT_EQ(why, c.szWhy);
    }
    ZString why;
    EXPECT_TRUE(ZAnimationRig().IsConsistent(why));
}

// A chain of the greatest length a rig can have, children first: no recursion, no time beyond the linear.
TEST(AnimationRig, LongestChainIsFine)
{
    std::vector<int> parents(65535);
    for (size_t n = 0; n < parents.size(); ++n)
        parents[n] = n + 1 < parents.size() ? static_cast<int>(n) + 1 : -1;
    const ZAnimationRig rig = MakeRig(parents);
    ZString why;
    EXPECT_TRUE(rig.IsConsistent(why)) << why.ToCString();
    parents.push_back(0);
    EXPECT_FALSE(MakeRig(parents).IsConsistent(why));
    EXPECT_STREQ(why.ToCString(), "the rig has 65536 bones, more than a bone index can count");
}
