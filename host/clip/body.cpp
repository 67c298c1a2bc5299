#include "host/clip/body.h"

#include <algorithm>
#include <cmath>

namespace Host
{

namespace
{

using TVector = std::array<float, 3>;

// Of the body's size.
constexpr float THICKEST = 0.027f;
constexpr float THINNEST = 0.003f;
constexpr float SHORTEST = 0.0005f; ///< a part that is shorter shows nothing
constexpr float ACROSS = 0.2f;      ///< from the floor to the hips, at least
constexpr float END = 0.05f;        ///< a part of a bone without children, at most
constexpr float FRONT = 0.22f;      ///< the trajectory's
// Of the part's length.
constexpr float SLIM = 0.13f;

/// Bones of what is no mere prop.
constexpr size_t MANY = 8;

constexpr TVector TO_FRONT{0.0f, -1.0f, 0.0f};

float Length(const TVector& v)
{
    return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

TVector Scaled(const TVector& v, float f)
{
    return {v[0] * f, v[1] * f, v[2] * f};
}

TVector Turned(const std::array<float, 4>& q, const TVector& v)
{
    // v + 2 w (u x v) + 2 u x (u x v)
    const TVector c{q[1] * v[2] - q[2] * v[1], q[2] * v[0] - q[0] * v[2], q[0] * v[1] - q[1] * v[0]};
    return {v[0] + 2.0f * (q[3] * c[0] + q[1] * c[2] - q[2] * c[1]),
            v[1] + 2.0f * (q[3] * c[1] + q[2] * c[0] - q[0] * c[2]),
            v[2] + 2.0f * (q[3] * c[2] + q[0] * c[1] - q[1] * c[0])};
}

/// The longest side of the box around the bind pose; of a rig that is a point, a metre.
float SizeOf(const std::vector<SBoneKey>& character)
{
    TVector low = character.front().t, high = low;
    for (const SBoneKey& bone : character)
        for (size_t i = 0; i < 3; ++i)
        {
            low[i] = std::min(low[i], bone.t[i]);
            high[i] = std::max(high[i], bone.t[i]);
        }
    const float fSize = std::max({high[0] - low[0], high[1] - low[1], high[2] - low[2]});
    return fSize > 1e-4f && std::isfinite(fSize) ? fSize : 1.0f;
}

} // namespace

SBoneKey Compose(const SBoneKey& parent, const SBoneKey& child)
{
    const auto& a = parent.q;
    const auto& b = child.q;
    const TVector t = Turned(a, child.t);
    return {
        {parent.t[0] + t[0], parent.t[1] + t[1], parent.t[2] + t[2]},
        {a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1], a[3] * b[1] - a[0] * b[2] + a[1] * b[3] + a[2] * b[0],
         a[3] * b[2] + a[0] * b[1] - a[1] * b[0] + a[2] * b[3], a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]}};
}

std::vector<SBoneKey> BindPoseOf(const SClipRig& rig)
{
    std::vector<SBoneKey> character(rig.bones.size());
    for (const uint32_t nBone : rig.order)
    {
        const SClipBone& bone = rig.bones[nBone];
        character[nBone] =
            bone.nParent < 0 ? bone.bindPose : Compose(character[static_cast<size_t>(bone.nParent)], bone.bindPose);
    }
    return character;
}

std::vector<SBodyPart> MakeBody(const SClipRig& rig)
{
    std::vector<SBodyPart> body;
    if (rig.bones.empty())
        return body;
    const float fSize = SizeOf(BindPoseOf(rig));
    std::vector<bool> isParent(rig.bones.size(), false);
    for (const SClipBone& bone : rig.bones)
        if (bone.nParent >= 0)
            isParent[static_cast<size_t>(bone.nParent)] = true;
    const bool bCharacter = rig.bones.size() >= MANY;
    // The trajectory bone, and bones that carry the rig where it stands.
    std::vector<bool> isBase(rig.bones.size(), false);
    for (const uint32_t n : rig.order)
    {
        const SClipBone& bone = rig.bones[n];
        isBase[n] =
            static_cast<int>(n) == rig.nTrajectory || (bone.nParent >= 0 && isBase[static_cast<size_t>(bone.nParent)] &&
                                                       Length(bone.bindPose.t) <= SHORTEST * fSize);
    }
    const auto add = [&](int nBone, const TVector& tip)
    {
        const float fRadius = std::clamp(SLIM * Length(tip), THINNEST * fSize, THICKEST * fSize);
        body.push_back({static_cast<uint32_t>(nBone), tip, fRadius});
    };
    for (size_t n = 0; n < rig.bones.size(); ++n)
    {
        const SClipBone& bone = rig.bones[n];
        const float fLength = Length(bone.bindPose.t);
        const bool bTrajectory = static_cast<int>(n) == rig.nTrajectory;
        const bool bAcross = bCharacter && bone.nParent >= 0 && isBase[static_cast<size_t>(bone.nParent)] &&
                             isParent[n] && fLength > ACROSS * fSize;
        if (bone.nParent >= 0 && !bAcross && fLength > SHORTEST * fSize)
            add(bone.nParent, bone.bindPose.t);
        if (bTrajectory)
            add(static_cast<int>(n), Scaled(TO_FRONT, FRONT * fSize));
        else if (!isParent[n])
        {
            // On in the direction that leads to it.
            const auto& q = bone.bindPose.q;
            const TVector way = Turned({-q[0], -q[1], -q[2], q[3]}, bone.bindPose.t);
            const bool bOn = bone.nParent >= 0 && fLength > SHORTEST * fSize;
            const float fEnd = bOn ? std::min(0.5f * fLength, END * fSize) : END * fSize;
            add(static_cast<int>(n), bOn ? Scaled(way, fEnd / fLength) : TVector{0.0f, 0.0f, fEnd});
        }
    }
    return body;
}

} // namespace Host
