#include "bench/animation/walkclip.h"

#include "resource/animation/import/hierarchy.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

using namespace ResourceAnimation;
using namespace ResourceAnimation::Import;

namespace
{

class ZNoise
{
public:
    explicit ZNoise(uint32_t nSeed) : m_nState(nSeed * 2654435761u + 12345u) {}
    /// In [-1, 1).
    double Signed()
    {
        m_nState ^= m_nState << 13;
        m_nState ^= m_nState >> 17;
        m_nState ^= m_nState << 5;
        return static_cast<int32_t>(m_nState) / 2147483648.0;
    }

private:
    uint32_t m_nState;
};

/// A number that swings with the steps: three harmonics.
class ZSwing
{
public:
    ZSwing(ZNoise& noise, double fSize)
    {
        for (int n = 0; n < 3; ++n)
        {
            m_fSizes[n] = fSize * noise.Signed() / (n + 1);
            m_fPhases[n] = 3.14 * noise.Signed();
        }
        m_fMiddle = fSize * noise.Signed();
    }
    double At(uint32_t nFrame) const
    {
        double f = m_fMiddle;
        for (int n = 0; n < 3; ++n)
            f += m_fSizes[n] * std::sin(0.2 * (n + 1) * nFrame + m_fPhases[n]);
        return f;
    }

private:
    double m_fSizes[3], m_fPhases[3], m_fMiddle;
};

SQuaternion TurnAbout(double x, double y, double z, double fAngle)
{
    const double s = std::sin(0.5 * fAngle) / std::sqrt(x * x + y * y + z * z);
    return {static_cast<float>(x * s), static_cast<float>(y * s), static_cast<float>(z * s),
            static_cast<float>(std::cos(0.5 * fAngle))};
}

enum class ETurn
{
    eFree,
    eHinge,
    eRest,
    eBind
};

ETurn TurnOf(EClip eClip, uint32_t nBone)
{
    if (eClip == EClip::eGeneral)
        return ETurn::eFree;
    if (eClip == EClip::eStill)
        return nBone % 2 ? ETurn::eRest : ETurn::eBind;
    const uint32_t n = nBone % 60; // 0 ground, 1 hips, 49 to 55 fingers
    if (n == 0 || n == 59)
        return ETurn::eBind;
    return n < 45 || (n >= 49 && n < 57) ? ETurn::eFree : n < 49 ? ETurn::eHinge : ETurn::eRest;
}

} // namespace

SCompressClip MakeCompressClip(EClip eClip, uint32_t nBones, uint32_t nFrames)
{
    TArray<SBoneId> parents, roots{SBoneId(0)};
    TArray<uint32_t> uids;
    TArray<SQV> bindPose;
    TArray<ZString> names;
    ZAnimation::TBones bones;
    SCompressClip clip;
    for (uint32_t nBone = 0; nBone < nBones; ++nBone)
    {
        ZNoise noise(nBone + 1);
        const bool bFinger = eClip == EClip::eWalk && nBone % 60 >= 49 && nBone % 60 < 56;
        const ZString name = bFinger ? ZString::Format("finger{0}", nBone) : ZString::Format("bone{0}", nBone);
        const SQuaternion bind = TurnAbout(noise.Signed(), noise.Signed(), noise.Signed(), noise.Signed());
        const SVector3 offset{static_cast<float>(noise.Signed()), static_cast<float>(noise.Signed()), 0.5f};
        parents.Add(nBone == 0 ? SBoneId() : bFinger ? SBoneId(0) : SBoneId(nBone - 1));
        uids.Add(BoneUid(name));
        bindPose.Add({bind, {offset.x, offset.y, offset.z, 1.0f}});
        names.Add(name);
        clip.bonesToPack.Insert(name, static_cast<int>(nBone));

        const ETurn eTurn = TurnOf(eClip, nBone);
        const bool bTravels = eClip == EClip::eGeneral || (eClip == EClip::eWalk && nBone % 60 < 2);
        const double axis[3] = {nBone % 2 ? 1.0 : noise.Signed(), nBone % 2 ? 0.0 : noise.Signed(), 0.0};
        const ZSwing swings[6] = {{noise, 0.4}, {noise, 0.4}, {noise, 0.4}, {noise, 0.3}, {noise, 0.3}, {noise, 0.3}};
        ZAnimatedBone::TRotations rotations;
        ZAnimatedBone::TTranslations translations;
        for (uint32_t n = 0; n < nFrames; ++n)
        {
            const auto at = [&](int i) { return swings[i].At(n); };
            if (eTurn == ETurn::eFree)
                rotations.Add(
                    Normalize(TurnAbout(1, 0, 0, at(0)) * TurnAbout(0, 1, 0, at(1)) * TurnAbout(0, 0, 1, at(2))));
            else if (eTurn == ETurn::eHinge)
                rotations.Add(TurnAbout(axis[0], axis[1], axis[2], 1.0 + at(0)));
            else
                rotations.Add(eTurn == ETurn::eRest ? TurnAbout(1, 0, 0, 0.7) : bind);
            const SVector3 travel{static_cast<float>(at(3)), static_cast<float>(at(4)), static_cast<float>(at(5))};
            translations.Add(bTravels ? offset + travel : offset);
        }
        bones.Add(TSharedPtr<ZAnimatedBone>::Create(name, 30.0f, std::move(rotations), std::move(translations),
                                                    TArrayRef<const TSharedPtr<ZAnimatedProperty>>(), true));
    }
    clip.rig = ZAnimationRig(SBoneId(), roots, parents, uids, bindPose, names);
    clip.animation = ZAnimation::CreateForCount("walk", static_cast<int>(nFrames), 30.0f, "bone0", ZResourceID(), bones,
                                                eSpace_Parent, SQV(), TArrayRef<const ZString>());

    const SAnimationAnalysis analysis = ZDefaultAnalyzer().Analyze(clip.animation, clip.rig, clip.bonesToPack);
    uint32_t nFree = 0, nHinges = 0;
    for (uint32_t nBone = 0; nBone < nBones; ++nBone)
    {
        nFree += TurnOf(eClip, nBone) == ETurn::eFree;
        nHinges += TurnOf(eClip, nBone) == ETurn::eHinge;
    }
    if (analysis.aRotations64.Size() + analysis.aRotations32.Size() != nFree ||
        analysis.aSingleAxisRotations.Size() != nHinges)
    {
        std::fprintf(stderr, "the clip is not what it should be: %u and %u bones turn freely, %u hinges\n",
                     analysis.aRotations64.Size(), analysis.aRotations32.Size(), analysis.aSingleAxisRotations.Size());
        std::abort();
    }
    return clip;
}
