#include "host/verify/posecomparison.h"

#include "fbx/scene/fbxmath.h"
#include "host/files/resourceids.h"
#include "host/verify/cliprecord.h"

#include <algorithm>
#include <cmath>

namespace Host
{

namespace
{

/// Points that tell of a bone's rotation as distances.
constexpr double REACH = 0.03;
constexpr FbxVector3 POINTS[] = {{REACH, 0.0, 0.0}, {0.0, REACH, 0.0}, {0.0, 0.0, REACH}};

double Length(const FbxVector3& v)
{
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

double DegreesBetween(const FbxQuaternion& a, const FbxQuaternion& b)
{
    const FbxQuaternion d = a.Conjugate() * b;
    return 2.0 * kFbxDegreesPerRadian * FbxAtan2(Length({d.x, d.y, d.z}), std::fabs(d.w));
}

/// The runtime's sense turned to the scene's.
SRigidBone FromRuntime(const SQV& transform)
{
    const SQuaternion& r = transform.rotation;
    const SVector4& t = transform.translation;
    const auto wide = [](float f) { return static_cast<double>(f); };
    return {{wide(t.x), wide(t.y), wide(t.z)},
            FbxQuaternion{-wide(r.x), -wide(r.y), -wide(r.z), wide(r.w)}.Normalized()};
}

} // namespace

ZPoseComparison::ZPoseComparison(const SPackedAnimation& packed, const std::string& sOut, bool bClip)
    : m_packed(packed), m_sOut(sOut), m_pClip(bClip ? std::make_unique<SClip>() : nullptr)
{
}

bool ZPoseComparison::Fail(const std::string& sWhy)
{
    m_result.sError = sWhy;
    return false;
}

bool ZPoseComparison::Load()
{
    if (!m_animation.Load(m_packed.sPath, m_sOut))
        return Fail(m_animation.Error());
    m_result.nBytes = m_animation.File().FileSize();
    m_pPose = ZAnimPoseBuffer::Create(m_animation.Descriptor());
    m_result.nBones = m_animation.Rig().BoneCount();
    m_result.nFrames = m_animation.Sampler().FrameCount();
    if (m_pClip && uint64_t{m_result.nBones} * m_result.nFrames > MOST_CLIP_KEYS)
        return Fail(std::to_string(m_result.nFrames) + " frames of " + std::to_string(m_result.nBones) +
                    " bones are too many to be shown; " + std::to_string(MOST_CLIP_KEYS) + " keys can be");
    if (m_pClip)
        DescribeClip(m_packed, m_animation, *m_pClip);
    return true;
}

bool ZPoseComparison::Begin(const ResourceAnimation::ZFbxTakeData& take)
{
    if (m_pClip)
        DescribeSource(take, *m_pClip);
    if (take.m_frameCount < 0 || static_cast<uint32_t>(take.m_frameCount) != m_result.nFrames)
        return Fail("the packed animation has " + std::to_string(m_result.nFrames) + " frames, its take " +
                    std::to_string(take.m_frameCount) + ": one of them is older");
    m_pArrival = std::make_unique<ZArrival>(take, m_animation.Rig());
    m_pSource = std::make_unique<ZSourcePose>(take, m_animation.Rig(), *m_animation.Descriptor());
    return true;
}

void ZPoseComparison::Compare(uint32_t nFrame)
{
    const std::vector<SRigidBone>& wanted = m_pSource->Evaluate(nFrame);
    m_animation.Sampler().Sample(nFrame, *m_pPose);
    m_pPose->ToCharacterSpace();
    m_got.clear();
    for (uint32_t n = 0; n < m_result.nBones; ++n)
        m_got.push_back(FromRuntime(m_pPose->Character()[n]));
    m_pArrival->Look(nFrame, m_got);
    if (m_pClip)
        AddSourceFrame(wanted, *m_pClip);
    for (uint32_t n = 0; n < m_result.nBones; ++n)
    {
        const SRigidBone& got = m_got[n];
        const double fDegrees = DegreesBetween(wanted[n].q, got.q);
        // What is no number is the worst there is.
        if (!(fDegrees <= m_result.fMaxDegrees))
        {
            m_result.fMaxDegrees = fDegrees;
            m_nWorstTurned = n;
            m_result.nWorstTurnedFrame = nFrame;
        }
        double fMost = 0.0;
        for (const FbxVector3& point : POINTS)
        {
            const double fMillimetres =
                1000.0 * Length(wanted[n].t + wanted[n].q.Rotate(point) - got.t - got.q.Rotate(point));
            m_fSum += fMillimetres;
            // What is no number is the worst there is.
            if (!(fMillimetres <= fMost))
                fMost = fMillimetres;
        }
        if (m_pClip)
            m_pClip->millimetres.push_back(static_cast<float>(fMost));
        if (fMost <= m_result.fMaxMillimetres)
            continue;
        m_result.fMaxMillimetres = fMost;
        m_nWorst = n;
        m_result.nWorstFrame = nFrame;
    }
}

SVerified ZPoseComparison::Take()
{
    if (m_result.sError.empty() && m_result.nBones != 0)
    {
        const double fPoints = static_cast<double>(std::size(POINTS)) * m_result.nBones * m_result.nFrames;
        m_result.fMeanMillimetres = fPoints > 0.0 ? m_fSum / fPoints : 0.0;
        m_result.sWorstBone = ToStd(m_animation.Rig().Name(m_nWorst));
        m_result.lostBones = m_pArrival->LostBones();
        m_result.fLostMillimetres = m_pArrival->LostMillimetres();
        m_result.droppedScale = m_pArrival->DroppedScale();
        m_result.sWorstTurned = ToStd(m_animation.Rig().Name(m_nWorstTurned));
    }
    return std::move(m_result);
}

std::unique_ptr<SClip> ZPoseComparison::TakeClip()
{
    // Without bones nothing was described: the packed file is none, or too long.
    if (!m_pClip || m_pClip->rig.bones.empty())
        return nullptr;
    if (!IsGood())
    {
        m_pClip->source.clear();
        m_pClip->millimetres.clear();
    }
    for (uint32_t n = 0; n < m_pClip->nFrames; ++n)
    {
        m_animation.Sampler().Sample(n, *m_pPose);
        AddPackedFrame(*m_pPose, *m_pClip);
    }
    return std::move(m_pClip);
}

} // namespace Host
