#pragma once

#include "base/misc/endian.h"
#include "resource/animation/compress/defaultanalyzer.h"
#include "system/animation/animationresourcedata.h"

namespace ResourceAnimation
{

/// A number in a narrower field, guarded by the assertion "arg <= NumericLimits<Dest>::Max". What it is is told with
/// it: what() gives the text.
template <class TDest, class TFrom, class TWhat>
TDest NarrowTo(TFrom arg, TWhat what)
{
    ZASSERT_MESSAGE(arg <= static_cast<TFrom>(std::numeric_limits<TDest>::max()), "arg <= NumericLimits<Dest>::Max",
                    ZString(what()).ToCString());
    return static_cast<TDest>(arg);
}

/// Writes the track groups of one animation in ascending type; a class without bones leaves no trace.
class ZTrackGroupWriter
{
public:
    ZTrackGroupWriter(const Import::ZAnimation& animation, EEndian eEndian,
                      TArray<SystemAnimation::STrackGroup>& trackGroups)
        : m_animation(animation), m_eEndian(eEndian), m_trackGroups(trackGroups)
    {
    }
    void Write(const SAnimationAnalysis& analysis);

private:
    /// Null when the list is empty.
    SystemAnimation::STrackGroup* AddGroup(int32_t nType, const SAnimationAnalysis::TList& tracks);
    void WriteConstantRotations(const SAnimationAnalysis::TList& tracks);
    void WriteConstantTranslations(const SAnimationAnalysis::TList& tracks);
    void WriteRotations64(const SAnimationAnalysis::TList& tracks);
    void WriteRotations32(const SAnimationAnalysis::TList& tracks);
    void WriteSingleAxisRotations(const SAnimationAnalysis::TList& tracks);
    void WriteTranslations(const SAnimationAnalysis::TList& tracks);

    const Import::ZAnimatedBone& BoneOf(const SBoneTrackRef& track) const
    {
        return *m_animation.AnimatedBones()[static_cast<size_t>(track.nAnimationBone)];
    }
    /// Keys of each track, long enough for every frame.
    template <class TKey>
    TArray<const TKey*> KeysOf(const SAnimationAnalysis::TList& tracks,
                               const TArray<TKey>& (Import::ZAnimatedBone::*pKeys)() const) const;
    /// Calls write(keys) for some frames at a time, until all are done; keys are frame by frame, and by tracks within.
    template <class TKey, class TWrite>
    void ForAllFrames(const TArray<const TKey*>& tracks, TWrite write) const;

    const Import::ZAnimation& m_animation;
    EEndian m_eEndian;
    TArray<SystemAnimation::STrackGroup>& m_trackGroups;
};

} // namespace ResourceAnimation
