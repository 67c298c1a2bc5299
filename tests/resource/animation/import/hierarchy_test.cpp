#include "resource/animation/import/hierarchy.h"

#include "resource/animation/frame/animationexception.h"
#include "tests/support/testing.h"

#include <cstdio>
#include <fstream>
#include <iterator>

namespace
{

using namespace ResourceAnimation;
using namespace ResourceAnimation::Import;

using TBone = TSharedPtr<ZBone>;

TBone MakeBone(const ZString& name, const TBone& pParent, const SVector3& t = {}, const SQuaternion& q = {})
{
    const TBone pBone = TBone::Create(name, t, q, pParent, TArrayRef<const TBone>());
    if (pParent)
        pParent->AddChild(pBone);
    return pBone;
}

TSharedPtr<ZBoneHierarchy> Flatten(const TBone& pRoot, const ZMessageDelegate* pMessages = nullptr)
{
    const TBone roots[] = {pRoot};
    return TSharedPtr<ZBoneHierarchy>::Create("rig", pRoot->Name(), TArrayRef<const TBone>(roots), eSpace_Character,
                                              pMessages);
}

const float fHalf = std::sqrt(0.5f);

/// root - arm - hand, and a leg; the arm is turned by 90 degrees about z.
struct SPosed
{
    TBone pRoot = MakeBone("root", nullptr, {1.0f, 0.0f, 0.0f});
    TBone pArm = MakeBone("arm", pRoot, {1.0f, 2.0f, 0.0f}, {0.0f, 0.0f, fHalf, fHalf});
    TBone pHand = MakeBone("hand", pArm, {1.0f, 5.0f, 0.0f}, {0.0f, 0.0f, fHalf, fHalf});
    TBone pLeg = MakeBone("leg", pRoot, {1.0f, 0.0f, -3.0f});
};

ZString g_messages;

void Collect(const ZString& message, int nSeverity)
{
    g_messages.Append(ZString::Format("{0}: {1}|", nSeverity, message));
}

TEST(Hierarchy, FlattensDepthFirst)
{
    SPosed posed;
    const auto pHierarchy = Flatten(posed.pRoot);
    ZString order;
    for (const TBone& pBone : pHierarchy->Bones())
        order.Append(pBone->Name() + " ");
    EXPECT_STREQ(order.ToCString(), "root arm hand leg ");
    EXPECT_TRUE(pHierarchy->ParentIndices() == (TArray<int32_t>{-1, 0, 1, 0}));
    EXPECT_EQ(pHierarchy->GetBoneId("leg"), SBoneId(3));
    EXPECT_FALSE(pHierarchy->GetBoneId("LEG").IsValid());
    EXPECT_TRUE(ZBoneHierarchy("none", "", {}, eSpace_Parent, nullptr).Bones().IsEmpty());
}

TEST(Hierarchy, DuplicateNamesWarnOrThrowAndUidsAlwaysThrow)
{
    SPosed posed;
    const TBone pSecond = MakeBone("arm", posed.pLeg);
    MakeBone("lost", pSecond);
    MakeBone("toe", posed.pLeg);
    g_messages = ZString();
    const ZMessageDelegate messages(&Collect);
    const auto pHierarchy = Flatten(posed.pRoot, &messages);
    EXPECT_STREQ(g_messages.ToCString(), "1: ZBoneHierarchy: found duplicate names bone while constructing the bone "
                                         "hierarchy.\n\tDuplicate name: 'arm'|");
    EXPECT_EQ(pHierarchy->Bones().Size(), 5u) << "the second arm goes with its subtree, its siblings stay";
    EXPECT_TRUE(pHierarchy->GetBoneId("toe").IsValid() && !pHierarchy->GetBoneId("lost").IsValid());
    EXPECT_THROW(Flatten(posed.pRoot), ZAnimationPackerException);

    SPosed clash;
    MakeBone("ARM", clash.pLeg);
    EXPECT_EQ(MessageOf<ZAnimationPackerException>(&Flatten, clash.pRoot, &messages),
              ZString::Format("ZBoneHierarchy: Uid clash detected in bone hierarchy. \n\tClashing names are: 'arm' and "
                              "'ARM'\n\twith Uid: {0}",
                              BoneUid("arm")));
}

TEST(Hierarchy, LivesAndDiesWithoutRecursion)
{
    const size_t nBlocks = GetMemoryManager()->LiveBlockCount();
    {
        const TBone pRoot = MakeBone("0", nullptr);
        TBone pBone = pRoot;
        for (int i = 1; i < 60000; ++i)
            pBone = MakeBone(ZString::Format("{0}", i), pBone);
        EXPECT_EQ(Flatten(pRoot)->Bones().Size(), 60000u);
    }
    EXPECT_EQ(GetMemoryManager()->LiveBlockCount(), nBlocks);
}

TEST(Hierarchy, DumpsLinesOfXml)
{
    SPosed posed;
    const std::string path = testing::TempDir() + "hierarchy.xml";
    WriteHierarchyXml(Flatten(posed.pRoot), path.c_str());
    std::ifstream file(path);
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    EXPECT_EQ(text.find("<Hierarchy name=\"rig\">\n    <Bone name=\"root\" Uid=\""), 0u);
    EXPECT_NE(text.find(" Index=\"3\" ParentIndex=\"0\">\n        <Translation>1, 0, -3</Translation>\n"
                        "        <Rotation>0, 0, 0, 1</Rotation>\n    </Bone>\n    <Trajectory name=\"root\"/>\n"
                        "</Hierarchy>\n"),
              std::string::npos);
    WriteHierarchyXml(Flatten(posed.pRoot), "/nowhere/at/all.xml");
    std::remove(path.c_str());
}

} // namespace
