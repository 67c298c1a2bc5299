#pragma once

#include "host/clip/clip.h"
#include "host/files/packedlist.h"
#include "resource/animation/fbximport/fbxanimationscenereader.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Host
{

class ZPoseComparison;

/// Compares packed animations with the scenes that they were made from: every bone of the rig at every frame, as the
/// character sees it, source against decoded. Needs a resource database in the process.
class ZTakeVerifier
{
public:
    /// With `showClip`, what it makes of each goes with the result, also where there was nothing to compare with.
    explicit ZTakeVerifier(std::string sOut, FShowClip showClip = {})
        : m_sOut(std::move(sOut)), m_showClip(std::move(showClip))
    {
    }

    /// Packed animations of one take, for whatever platform or rig. A result for each.
    std::vector<SVerified> Verify(std::span<const SPackedAnimation> packed);

private:
    ResourceAnimation::ZFbxSceneReader& SceneOf(const std::string& sSource);

    SVerified Finish(ZPoseComparison& comparison) const;

    std::string m_sOut;
    FShowClip m_showClip;
    std::string m_sSource; ///< of the scene that is kept
    std::unique_ptr<ResourceAnimation::ZFbxSceneReader> m_pScene;
};

/// The take that a packed animation is made of; empty when its identifier tells of none.
std::string TakeOf(const SPackedAnimation& packed);

} // namespace Host
