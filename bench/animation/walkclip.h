#pragma once

#include "resource/animation/compress/defaultcompressor.h"

/// An animation with the rig that it fits, as the packer hands them to the compressor: keys in the runtime's sense.
struct SCompressClip
{
    ZAnimationRig rig;
    TSharedPtr<ResourceAnimation::Import::ZAnimation> animation;
    ResourceAnimation::TBonesToPack bonesToPack;

    int64_t BoneFrames() const
    {
        return static_cast<int64_t>(animation->FrameCount()) * animation->AnimatedBones().Size();
    }
};

enum class EClip
{
    eWalk,    ///< what a character has: 45 bones turn freely, 7 fingers, 4 hinges, 4 at rest; root and hips travel
    eGeneral, ///< every bone turns freely and travels
    eStill    ///< nothing moves; half of the bones not as in the bind pose
};

/// The same keys every time. Stops the program when the analyser does not see what is meant.
SCompressClip MakeCompressClip(EClip eClip, uint32_t nBones, uint32_t nFrames);
