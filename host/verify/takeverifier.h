#pragma once

#include "host/files/packedlist.h"
#include "resource/animation/fbximport/fbxanimationscenereader.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Host
{

/// How far a packed animation is from its source.
struct SVerified
{
    std::string sError; ///< when it could not be compared; the rest is nothing then
    uint32_t nBones = 0;
    uint32_t nFrames = 0;
    uint64_t nBytes = 0; ///< of the file
    double fMaxDegrees = 0.0;
    double fMaxMillimetres = 0.0;
    double fMeanMillimetres = 0.0;
    std::string sWorstBone; ///< of fMaxMillimetres
    uint32_t nWorstFrame = 0;
    std::string sWorstTurned; ///< of fMaxDegrees
    uint32_t nWorstTurnedFrame = 0;
    std::vector<std::string> lostBones;    ///< whose motion did not come through, though nobody left it out
    double fLostMillimetres = 0.0;         ///< of these at worst
    std::vector<std::string> droppedScale; ///< nodes whose scale no packed animation holds
};

/// Compares packed animations with the scenes that they were made from: every bone of the rig at every frame, as the
/// character sees it, source against decoded. Needs a resource database in the process.
class ZTakeVerifier
{
public:
    explicit ZTakeVerifier(std::string sOut) : m_sOut(std::move(sOut)) {}

    /// Packed animations of one take, for whatever platform or rig. A result for each.
    std::vector<SVerified> Verify(std::span<const SPackedAnimation> packed);

private:
    ResourceAnimation::ZFbxSceneReader& SceneOf(const std::string& sSource);

    std::string m_sOut;
    std::string m_sSource; ///< of the scene that is kept
    std::unique_ptr<ResourceAnimation::ZFbxSceneReader> m_pScene;
};

/// The take that a packed animation is made of; empty when its identifier tells of none.
std::string TakeOf(const SPackedAnimation& packed);

} // namespace Host
