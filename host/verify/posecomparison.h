#pragma once

#include "host/clip/clip.h"
#include "host/files/packedlist.h"
#include "host/files/packedpose.h"
#include "host/verify/arrival.h"
#include "host/verify/sourcepose.h"

#include <memory>

namespace Host
{

/// One packed animation while it is compared with its scene, frame by frame; and, where that is asked for, its poses
/// and the scene's as a clip.
///
/// Each step is false, and so is IsGood() from there on, when it fails; SVerified::sError tells why. What the runtime's
/// and the scene's code throws passes through.
class ZPoseComparison
{
public:
    /// Both must outlive the object.
    ZPoseComparison(const SPackedAnimation& packed, const std::string& sOut, bool bClip);

    /// The packed animation alone.
    bool Load();
    /// Its take, which must outlive the object.
    bool Begin(const ResourceAnimation::ZFbxTakeData& take);
    /// Each frame once, from 0 on.
    void Compare(uint32_t nFrame);

    bool Fail(const std::string& sWhy);
    bool IsGood() const { return m_result.sError.empty(); }
    uint32_t FrameCount() const { return m_result.nFrames; }

    SVerified Take();
    /// What was compared; without source poses where comparing failed. Null when there is nothing to show: no clip was
    /// asked for, or the packed file is none.
    std::unique_ptr<SClip> TakeClip();

private:
    const SPackedAnimation& m_packed;
    const std::string& m_sOut;
    ZPackedPose m_animation;
    TSharedPtr<ZAnimPoseBuffer> m_pPose;
    std::unique_ptr<ZSourcePose> m_pSource;
    std::unique_ptr<ZArrival> m_pArrival;
    std::vector<SRigidBone> m_got;
    SVerified m_result;
    std::unique_ptr<SClip> m_pClip;
    double m_fSum = 0.0;
    uint32_t m_nWorst = 0;
    uint32_t m_nWorstTurned = 0;
};

} // namespace Host
