#include "system/animation/animposebuffer.h"

#include "tests/system/animation/testclip.h"

#include <gtest/gtest.h>

namespace
{

void ExpectNear(const SQV& a, const SQV& b)
{
    for (int n = 0; n < 4; ++n)
    {
        EXPECT_NEAR((&a.rotation.x)[n], (&b.rotation.x)[n], 1e-5f);
        EXPECT_NEAR((&a.translation.x)[n], (&b.translation.x)[n], 1e-5f);
    }
}

} // namespace

// An arm along x: the shoulder turns a quarter about z, so that in a scene x goes to y. Scenes turn by q v conj(q) with
// q = (0, 0, s, s); the runtime stores the conjugate. The elbow bends by a quarter about the arm's own y, which takes
// x to -z.
TEST(AnimPoseBuffer, PosedArm)
{
    const float s = 0.70710678f;
    const TSharedPtr<ZAnimPoseBuffer> buffer =
        ZAnimPoseBuffer::Create(ZAnimPoseDescriptor::Create(MakeRig({-1, 0, 1})));
    buffer->SetLocal(0, {{0, 0, -s, s}, {5, 0, 0, 1}});
    buffer->SetLocal(1, {{0, -s, 0, s}, {2, 0, 0, 1}});
    buffer->SetLocal(2, {{0, 0, 0, 1}, {1, 0, 0, 1}});
    EXPECT_EQ(buffer->Transforms().GetStart(), buffer->Local().GetStart());
    buffer->ToCharacterSpace();
    EXPECT_EQ(buffer->Transforms().GetStart(), buffer->Character().GetStart());
    ExpectNear(buffer->Character()[1], {{0.5f, -0.5f, -0.5f, 0.5f}, {5, 2, 0, 1}});
    ExpectNear(buffer->Character()[2], {{0.5f, -0.5f, -0.5f, 0.5f}, {5, 2, -1, 1}});
    ExpectNear(buffer->Local()[1], {{0, -s, 0, s}, {2, 0, 0, 1}});
}

TEST(AnimPoseBuffer, ParentsMayStandBehindTheirChildren)
{
    // The same tree in depth-first order and in an order that is upside down for most bones.
    const std::vector<int> parents = {-1, 0, 1, 1, 0, -1, 5, 6, 7};
    const std::vector<size_t> places = {8, 3, 5, 0, 7, 4, 2, 6, 1};
    const ZAnimationRig rig = MakeRig(parents);
    std::vector<int> movedParents(9);
    for (size_t n = 0; n < 9; ++n)
        movedParents[places[n]] = parents[n] == -1 ? -1 : static_cast<int>(places[static_cast<size_t>(parents[n])]);
    const TSharedPtr<ZAnimPoseBuffer> ordered = ZAnimPoseBuffer::Create(ZAnimPoseDescriptor::Create(rig));
    const TSharedPtr<ZAnimPoseBuffer> moved =
        ZAnimPoseBuffer::Create(ZAnimPoseDescriptor::Create(MakeRig(movedParents)));
    for (size_t n = 0; n < 9; ++n)
        moved->SetLocal(places[n], rig.Bone(n));
    ordered->CompleteWithBindPose();
    ordered->ToCharacterSpace();
    moved->ToCharacterSpace();
    for (size_t n = 0; n < 9; ++n)
        EXPECT_EQ(ordered->Character()[n], moved->Character()[places[n]]) << n;
    for (size_t n = 0; n < 9; ++n)
    {
        const SQV expected = parents[n] == -1
                                 ? rig.Bone(n)
                                 : ToParentsSpace(rig.Bone(n), ordered->Character()[static_cast<size_t>(parents[n])]);
        EXPECT_EQ(ordered->Character()[n], expected) << n;
    }
}

TEST(AnimPoseBuffer, CompletesOnlyWhatIsMissing)
{
    const ZAnimationRig rig = MakeRig({-1, 0});
    const TSharedPtr<ZAnimPoseBuffer> buffer = ZAnimPoseBuffer::Create(ZAnimPoseDescriptor::Create(rig));
    const SQV own{{1, 0, 0, 0}, {1, 2, 3, 1}};
    buffer->SetLocal(1, own);
    EXPECT_EQ(buffer->Local()[0], SQV());
    buffer->CompleteWithBindPose();
    EXPECT_EQ(buffer->Local()[0], rig.Bone(0));
    EXPECT_EQ(buffer->Local()[1], own);
    buffer->ToCharacterSpace();
    const SQV first = buffer->Character()[1];
    buffer->ToCharacterSpace();
    EXPECT_EQ(buffer->Character()[1], first);
    buffer->SetLocal(0, own);
    EXPECT_FALSE(buffer->IsInCharacterSpace());
    buffer->Clear();
    buffer->CompleteWithBindPose();
    EXPECT_EQ(buffer->Local()[1], rig.Bone(1));
}

TEST(AnimPoseBuffer, RefusesARigThatIsARing)
{
    const ZAssertTrap trap;
    EXPECT_THROW(ZAnimPoseDescriptor::Create(MakeRig({1, 0})), zhalt_exception);
    EXPECT_EQ(trap.FirstExpression(), "rig.IsConsistent(why)");
}
