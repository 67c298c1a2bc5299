#pragma once

#include "system/animation/animationresourcedata.h"

#include "system/animation/animationrig.h"
#include "tests/support/splitmix.h"
#include "tests/support/testing.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

class ZRandom : public ZSplitMix
{
public:
    using ZSplitMix::ZSplitMix;

    /// In [-1, 1).
    double Signed() { return static_cast<double>(static_cast<int64_t>(Bits()) >> 11) / 4503599627370496.0; }
    /// Uniform over all rotations: points of a ball in four dimensions, brought to its surface.
    SQuaternion Rotation()
    {
        for (;;)
        {
            const double x = Signed(), y = Signed(), z = Signed(), w = Signed();
            const double fSquare = x * x + y * y + z * z + w * w;
            if (fSquare > 1.0 || fSquare < 0.01)
                continue;
            const double f = 1.0 / std::sqrt(fSquare);
            return {static_cast<float>(x * f), static_cast<float>(y * f), static_cast<float>(z * f),
                    static_cast<float>(w * f)};
        }
    }
};

/// A rig whose bones have these parents (-1: root), each with a bind pose of its own.
inline ZAnimationRig MakeRig(const std::vector<int>& parents)
{
    TArray<SBoneId> roots, parentIds;
    TArray<uint32_t> uids;
    TArray<SQV> bindPose;
    TArray<ZString> names;
    ZRandom random(parents.size());
    for (size_t n = 0; n < parents.size(); ++n)
    {
        parentIds.Add(SBoneId(parents[n]));
        if (parents[n] == -1)
            roots.Add(SBoneId(static_cast<uint32_t>(n)));
        uids.Add(static_cast<uint32_t>(1000 + n));
        const auto f = [&random] { return static_cast<float>(random.Signed()); };
        bindPose.Add({random.Rotation(), {f(), f(), f(), 1.0f}});
        names.Add(ZString::Format("bone{0}", static_cast<uint32_t>(n)));
    }
    return ZAnimationRig(SBoneId(), roots, parentIds, uids, bindPose, names);
}

/// A group with random codes and, where there are any, vectors of small numbers; `bones` ascend.
inline SystemAnimation::STrackGroup MakeGroup(int32_t type, const std::vector<uint16_t>& bones, uint32_t nFrames,
                                              ZRandom& random)
{
    using namespace SystemAnimation;
    STrackGroup group;
    group.type = type;
    group.boneIndices.Append(bones.data(), bones.size());
    group.data.Resize(TrackGroupBytes(type, static_cast<uint16_t>(bones.size()), nFrames));
    for (uint8_t& nByte : group.data)
        nByte = static_cast<uint8_t>(random.Bits());
    uint64_t nFloats = 0;
    if (type == eTrack_ConstantTranslation || type == eTrack_SingleAxisRotation)
        nFloats = 3 * bones.size();
    else if (type == eTrack_Translation)
        nFloats = 3 * bones.size() * nFrames;
    for (uint64_t n = 0; n < nFloats; ++n)
    {
        const auto f = static_cast<float>(random.Signed());
        std::memcpy(group.data.GetStart() + 4 * n, &f, 4);
    }
    return group;
}

/// Every kind of group, the rotation groups with nEach bones each. For a rig of 6 nEach bones, of which the last nEach
/// have no track.
inline SystemAnimation::SAnimationResourceData MakeAnimation(uint16_t nEach, uint32_t nFrames, uint64_t nSeed)
{
    using namespace SystemAnimation;
    ZRandom random(nSeed);
    SAnimationResourceData data;
    data.name = "clip";
    data.frameCount = nFrames;
    data.boneCount = static_cast<uint16_t>(5 * nEach);
    // Scattered: every fifth bone is of one kind.
    std::vector<uint16_t> bones[6];
    for (uint16_t n = 0; n < 5 * nEach; ++n)
        bones[n % 5].push_back(n);
    data.trackGroups.Add(MakeGroup(eTrack_BindRotation, bones[3], nFrames, random));
    std::vector<uint16_t> still = bones[0];
    still.insert(still.end(), bones[2].begin(), bones[2].end());
    still.insert(still.end(), bones[4].begin(), bones[4].end());
    std::sort(still.begin(), still.end());
    data.trackGroups.Add(MakeGroup(eTrack_BindTranslation, still, nFrames, random));
    data.trackGroups.Add(MakeGroup(eTrack_ConstantRotation, bones[1], nFrames, random));
    data.trackGroups.Add(MakeGroup(eTrack_ConstantTranslation, bones[1], nFrames, random));
    data.trackGroups.Add(MakeGroup(eTrack_Rotation64, bones[0], nFrames, random));
    data.trackGroups.Add(MakeGroup(eTrack_Rotation32, bones[2], nFrames, random));
    data.trackGroups.Add(MakeGroup(eTrack_SingleAxisRotation, bones[4], nFrames, random));
    data.trackGroups.Add(MakeGroup(eTrack_Translation, bones[3], nFrames, random));
    return data;
}
