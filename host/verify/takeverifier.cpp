#include "host/verify/takeverifier.h"

#include "host/files/resourceids.h"
#include "host/index/sourcescan.h"
#include "host/module/hostmodule.h"
#include "host/verify/posecomparison.h"
#include "resource/animation/frame/animationexception.h"

namespace Host
{

namespace
{

/// Runs a step of a comparison; whatever it throws is its failure.
template <class TStep>
bool Guarded(ZPoseComparison& comparison, TStep step)
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

SVerified ZTakeVerifier::Finish(ZPoseComparison& comparison) const
{
    std::unique_ptr<SClip> pClip;
    // A packed file whose scene is gone can be shown all the same.
    const bool bShown = m_showClip == nullptr || Guarded(comparison,
                                                         [&]
                                                         {
                                                             pClip = comparison.TakeClip();
                                                             return true;
                                                         });
    SVerified result = comparison.Take();
    if (!bShown || !pClip)
        return result;
    pClip->verified = result;
    result.sShown = m_showClip(*pClip);
    return result;
}

std::vector<SVerified> ZTakeVerifier::Verify(std::span<const SPackedAnimation> packed)
{
    std::vector<std::unique_ptr<ZPoseComparison>> comparisons;
    const std::string sTake = TakeOf(packed.front());
    for (const SPackedAnimation& entry : packed)
    {
        comparisons.push_back(std::make_unique<ZPoseComparison>(entry, m_sOut, m_showClip != nullptr));
        ZPoseComparison& comparison = *comparisons.back();
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
        results.push_back(Finish(*pComparison));
    return results;
}

} // namespace Host
