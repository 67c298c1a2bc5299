#pragma once

#include "base/math/zmath.h"

#include "resource/animation/compress/defaultcompressor.h"
#include "resource/animation/import/hierarchy.h"
#include "system/animation/animationrig.h"
#include "tests/support/splitmix.h"
#include "tests/support/testing.h"

class ZKeyRandom : public ZSplitMix
{
public:
    using ZSplitMix::ZSplitMix;

    /// In [-1, 1).
    float Signed() { return static_cast<float>(static_cast<double>(static_cast<int64_t>(Bits())) / 9.3e18); }
    SQuaternion Rotation() { return Normalize(SQuaternion{Signed(), Signed(), Signed(), Signed()}); }
};

using TTurns = std::vector<SQuaternion>;
using TMoves = std::vector<SVector3>;

/// Turn about (x, y, z), whose length does not count, by an angle in radians.
inline SQuaternion Turn(double x, double y, double z, double fAngle)
{
    double s, c;
    ZMath::SinCos(0.5 * fAngle, s, c);
    s /= std::sqrt(x * x + y * y + z * z);
    return {static_cast<float>(x * s), static_cast<float>(y * s), static_cast<float>(z * s), static_cast<float>(c)};
}

inline SQuaternion Negated(const SQuaternion& q)
{
    return {-q.x, -q.y, -q.z, -q.w};
}

/// A bone of the rig with its keys. One without keys stands in the rig only; a shorter track of two repeats its last.
struct SClipBone
{
    std::string name;
    int nParent = -1;
    TTurns turns = {};
    TMoves moves = {{0, 0, 0}};
    SQV bind = {};
    bool bPack = true;
};

/// An animation with the rig that it fits; rig bones are in the order given, the animation's in the reverse order.
struct SClip
{
    ZAnimationRig rig;
    TSharedPtr<ResourceAnimation::Import::ZAnimation> animation;
    ResourceAnimation::TBonesToPack bonesToPack;

    explicit SClip(const std::vector<SClipBone>& bones, uint32_t nFrames = 0)
    {
        using namespace ResourceAnimation::Import;
        TArray<SBoneId> roots{SBoneId(0)}, parents;
        TArray<uint32_t> uids;
        TArray<SQV> binds;
        TArray<ZString> names;
        size_t nLongest = 0;
        for (const SClipBone& bone : bones)
        {
            parents.Add(SBoneId(bone.nParent));
            names.Add(ZString()).Append(std::string_view(bone.name));
            uids.Add(BoneUid(names.Last()));
            binds.Add(bone.bind);
            nLongest = std::max(nLongest, std::max(bone.turns.size(), bone.turns.empty() ? 0 : bone.moves.size()));
        }
        rig = ZAnimationRig(SBoneId(), roots, parents, uids, binds, names);

        ZAnimation::TBones animated;
        for (size_t n = bones.size(); n-- > 0;)
        {
            const SClipBone& bone = bones[n];
            if (bone.turns.empty())
                continue;
            ZAnimatedBone::TRotations rotations;
            ZAnimatedBone::TTranslations translations;
            // All tracks of a bone are of one length; tracks of one key are held.
            const size_t nKeys = std::max(bone.turns.size(), bone.moves.size());
            for (size_t i = 0; i < nKeys; ++i)
            {
                rotations.Add(bone.turns[std::min(i, bone.turns.size() - 1)]);
                translations.Add(bone.moves[std::min(i, bone.moves.size() - 1)]);
            }
            if (bone.bPack)
                bonesToPack.Insert(names[n], static_cast<int>(animated.Size()));
            animated.Add(TSharedPtr<ZAnimatedBone>::Create(names[n], 25.0f, std::move(rotations),
                                                           std::move(translations),
                                                           TArrayRef<const TSharedPtr<ZAnimatedProperty>>(), true));
        }
        animation = TSharedPtr<ZAnimation>::Create(
            "clip", nFrames != 0 ? nFrames : static_cast<uint32_t>(nLongest), 25.0f, "root", ZResourceID(), animated,
            eSpace_Parent, SQV{{0.0f, 0.6f, 0.0f, 0.8f}, {1.0f, 2.0f, 3.0f, 4.0f}}, TArrayRef<const ZString>());
    }
};
