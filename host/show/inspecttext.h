#pragma once

#include "host/files/packedfile.h"
#include "system/animation/animationsampler.h"

#include <string>

namespace Host
{

// Packed resources as people want to read them: where the bytes go, and what moves.

/// "rotation, 32 bits a frame"; the type is one that there is.
const char* TrackGroupName(int32_t type);

std::string HeaderText(const ZPackedFile& file, const std::string& sPath, const std::string& sPlatform);
std::string AnimationText(const SystemAnimation::SAnimationResourceData& animation);
std::string RigText(const ZAnimationRig& rig);
std::string CharacterText(const std::vector<ZPackedFile::SEntry>& entries);
std::string FrameText(const ZAnimationSampler& sampler, const TSharedPtr<ZAnimPoseDescriptor>& pDescriptor,
                      const ZAnimationRig& rig, uint32_t nFrame);

} // namespace Host
