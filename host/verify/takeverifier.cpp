#include "host/verify/takeverifier.h"

#include "fbx/scene/fbxmath.h"
#include "host/files/packedpose.h"
#include "host/files/resourceids.h"
#include "host/index/sourcescan.h"
#include "host/module/hostmodule.h"
#include "host/verify/arrival.h"
#include "host/verify/sourcepose.h"
#include "resource/animation/frame/animationexception.h"

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

/// One packed animation while it is compared.
class ZComparison
{
public:
    ZComparison(const SPackedAnimation& packed, const std::string& sOut) : m_packed(packed), m_sOut(sOut) {}

    bool Load()
    {
        if (!m_animation.Load(m_packed.sPath, m_sOut))
            return Fail(m_animation.Error());
        m_result.nBytes = m_animation.File().FileSize();
        m_pPose = ZAnimPoseBuffer::Create(m_animation.Descriptor());
        m_result.nBones = m_animation.Rig().BoneCount();
        m_result.nFrames = m_animation.Sampler().FrameCount();
        return true;
    }

    bool Begin(const ResourceAnimation::ZFbxTakeData& take)
    {
        if (take.m_frameCount < 0 || static_cast<uint32_t>(take.m_frameCount) != m_result.nFrames)
            return Fail("the packed animation has " + std::to_string(m_result.nFrames) + " frames, its take " +
                        std::to_string(take.m_frameCount) + ": one of them is older");
        m_pArrival = std::make_unique<ZArrival>(take, m_animation.Rig());
        m_pSource = std::make_unique<ZSourcePose>(take, m_animation.Rig(), *m_animation.Descriptor());
        return true;
    }

    void Compare(uint32_t nFrame)
    {
        const std::vector<SRigidBone>& wanted = m_pSource->Evaluate(nFrame);
        m_animation.Sampler().Sample(nFrame, *m_pPose);
        m_pPose->ToCharacterSpace();
        m_got.clear();
        for (uint32_t n = 0; n < m_result.nBones; ++n)
            m_got.push_back(FromRuntime(m_pPose->Character()[n]));
        m_pArrival->Look(nFrame, m_got);
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
            for (const FbxVector3& point : POINTS)
            {
                const double fMillimetres =
                    1000.0 * Length(wanted[n].t + wanted[n].q.Rotate(point) - got.t - got.q.Rotate(point));
                m_fSum += fMillimetres;
                if (fMillimetres <= m_result.fMaxMillimetres)
                    continue;
                m_result.fMaxMillimetres = fMillimetres;
                m_nWorst = n;
                m_result.nWorstFrame = nFrame;
            }
        }
    }

    SVerified Take()
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

    bool Fail(const std::string& sWhy)
    {
        m_result.sError = sWhy;
        return false;
    }
    bool IsGood() const { return m_result.sError.empty(); }
    uint32_t FrameCount() const { return m_result.nFrames; }

private:
    const SPackedAnimation& m_packed;
    const std::string& m_sOut;
    ZPackedPose m_animation;
    TSharedPtr<ZAnimPoseBuffer> m_pPose;
    std::unique_ptr<ZSourcePose> m_pSource;
    std::unique_ptr<ZArrival> m_pArrival;
    std::vector<SRigidBone> m_got;
    SVerified m_result;
    double m_fSum = 0.0;
    uint32_t m_nWorst = 0;
    uint32_t m_nWorstTurned = 0;
};

/// Runs a step of a comparison; whatever it throws is its failure.
template <class TStep>
bool Guarded(ZComparison& comparison, TStep step)
{
    try
    {
        return step();
    }
    catch (const SAssertionFailed& e)
    {
        return comparison.Fail("assertion failed: " + e.sExpression);
    }
    catch (const zhalt_exception&)
    {
        return comparison.Fail("halted: a condition that must never occur");
    }
    catch (const ResourceAnimation::ZAnimationException& e)
    {
        return comparison.Fail("its source can't be read: " + ToStd(e.Message()));
    }
    catch (const std::exception& e)
    {
        return comparison.Fail(e.what());
    }
}

} // namespace

std::string TakeOf(const SPackedAnimation& packed)
{
    const ZResourceID id = ToId(packed.sId);
    const std::string sTake = id.IsDerived() ? ToStd(id.GetSourceResourceID()) : std::string();
    return KindOfEntry(sTake) == "take" ? sTake : std::string();
}

ResourceAnimation::ZFbxSceneReader& ZTakeVerifier::SceneOf(const std::string& sSource)
{
    if (!m_pScene || m_sSource != sSource)
    {
        m_pScene.reset();
        m_pScene = std::make_unique<ResourceAnimation::ZFbxSceneReader>(ToId(sSource));
        m_sSource = sSource;
    }
    return *m_pScene;
}

std::vector<SVerified> ZTakeVerifier::Verify(std::span<const SPackedAnimation> packed)
{
    std::vector<std::unique_ptr<ZComparison>> comparisons;
    const std::string sTake = TakeOf(packed.front());
    for (const SPackedAnimation& entry : packed)
    {
        comparisons.push_back(std::make_unique<ZComparison>(entry, m_sOut));
        ZComparison& comparison = *comparisons.back();
        Guarded(comparison,
                [&]
                {
                    if (sTake.empty())
                        return comparison.Fail("nothing tells which take it is made of");
                    if (!comparison.Load())
                        return false;
                    const auto* pTake =
                        SceneOf(sTake.substr(0, sTake.find('?'))).FindTake(ToZString(NameOfEntry(sTake)));
                    return pTake != nullptr ? comparison.Begin(*pTake)
                                            : comparison.Fail("its source has no such take any more");
                });
    }
    uint32_t nFrames = 0;
    for (const auto& pComparison : comparisons)
        nFrames = std::max(nFrames, pComparison->IsGood() ? pComparison->FrameCount() : 0);
    // Frame by frame for all of them: the scene is evaluated at a time once.
    for (uint32_t n = 0; n < nFrames; ++n)
        for (const auto& pComparison : comparisons)
            if (pComparison->IsGood())
                Guarded(*pComparison,
                        [&]
                        {
                            pComparison->Compare(n);
                            return true;
                        });
    std::vector<SVerified> results;
    results.reserve(comparisons.size());
    for (const auto& pComparison : comparisons)
        results.push_back(pComparison->Take());
    return results;
}

} // namespace Host
