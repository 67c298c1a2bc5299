#pragma once

#include "base/misc/endian.h"
#include "resource/animation/compress/defaultanalyzer.h"
#include "system/animation/animationresourcedata.h"

namespace ResourceAnimation
{

/// Turns an animation that matches a rig into a packed record.
///
/// A track that does not change costs nothing or one value; a rotation is quantised to 64, 32 or 16 bits a key;
/// translations and properties stay exact. No key of a track that does change is dropped.
class ZDefaultCompressor
{
public:
    virtual ~ZDefaultCompressor() = default;

    /// The record without its two references, which the packer sets. ZAnimationPackerException as the analyzer raises
    /// it; a number too large for its field fails the assertion "arg <= NumericLimits<Dest>::Max", a track with fewer
    /// keys than the animation has frames "m_pStart + nIndex < GetEnd()".
    virtual SystemAnimation::SAnimationResourceData Compress(TSharedPtr<Import::ZAnimation> pAnimation,
                                                             const ZAnimationRig& rig, const TBonesToPack& bonesToPack,
                                                             EEndian eEndian);
};

/// Keys of an animation and the bones that its rig adds, 28 bytes each: as many as a take may have by itself.
constexpr uint64_t MAX_COMPLETED_KEYS = uint64_t{1} << 25;

/// Appends every bone that the rig has and the animation lacks, resting in the bind pose, to be packed. An animation
/// with a partial list is left as it is. Rig rotations are conjugated into the import model's sense.
/// ZAnimationException beyond MAX_COMPLETED_KEYS.
void AddMissingRigBones(Import::ZAnimation& animation, const ZAnimationRig& rig);

} // namespace ResourceAnimation
