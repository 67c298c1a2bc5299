#pragma once

#include "host/clip/verified.h"
#include "system/animation/animationresourcedata.h"

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Host
{

/// One bone at one frame, seen from its parent. As the scene has it: metres, Z up, front -Y, and a rotation that turns
/// a vector by q v conj(q).
struct SBoneKey
{
    std::array<float, 3> t{};
    std::array<float, 4> q{0.0f, 0.0f, 0.0f, 1.0f}; ///< x, y, z, w
};

struct SClipBone
{
    std::string sName;
    int nParent = -1;
    SBoneKey bindPose;
};

struct SClipRig
{
    std::string sId; ///< of its source, whatever the platform
    std::vector<SClipBone> bones;
    std::vector<uint32_t> order; ///< of bones, parents first
    int nTrajectory = -1;
};

/// How a bone's two tracks are stored.
struct SClipTracks
{
    int32_t nRotation = -1;    ///< SystemAnimation::ETrackGroupType; -1: not packed, rests in the bind pose
    int32_t nTranslation = -1; ///< likewise
    uint64_t nBytes = 0;       ///< of both
};

struct SClipProperty
{
    uint32_t nBone = 0;
    uint32_t nHash = 0; ///< of its name; all that a packed file tells
    std::string sName;  ///< as its source has it; empty when that is not known
    std::string sType;
    size_t nComponents = 1; ///< numbers of a key
    std::vector<float> keys;
};

struct SClipEvent
{
    std::string sTrack;
    std::string sWhat;      ///< what the event tells of itself, as "name value"
    float fStart = 0.0f;    ///< fraction of the take's length
    float fDuration = 0.0f; ///< likewise
};

/// One packed take, decoded, beside what its scene shows.
struct SClip
{
    std::string sId; ///< of the packed animation
    std::string sPlatform;
    std::string sName; ///< of the take
    float fFrameRate = 30.0f;
    uint32_t nFrames = 0;
    SBoneKey sequenceOffset;
    SClipRig rig;
    std::vector<SClipTracks> tracks; ///< of each bone
    std::vector<SClipProperty> properties;
    std::vector<SClipEvent> events;

    // Frame by frame, a key for each bone.
    std::vector<SBoneKey> packed;
    std::vector<SBoneKey> source;   ///< nothing when it is not known; verified.sError tells why
    std::vector<float> millimetres; ///< of each bone, in character space; as many as `source`

    SVerified verified;

    size_t BoneCount() const { return rig.bones.size(); }
};

/// What is made of a clip where it was decoded, in a process of its own.
using FShowClip = std::function<std::string(const SClip& clip)>;

/// Keys of all bones together; a take with more is too long to be shown whole.
constexpr uint64_t MOST_CLIP_KEYS = uint64_t{1} << 22;

} // namespace Host
