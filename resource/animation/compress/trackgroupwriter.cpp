#include "resource/animation/compress/trackgroupwriter.h"

#include "base/component/componentmanager.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "system/animation/quaternioncomp.h"
#include "system/io/streams.h"

#include <algorithm>

namespace ResourceAnimation
{

using Import::ZAnimatedBone;
using SystemAnimation::STrackGroup;

namespace
{

/// A binary writer on a group's bytes, in the target's byte order. The room for all of them is made up front.
class ZGroupStream
{
public:
    ZGroupStream(STrackGroup& group, uint32_t nFrames, EEndian eEndian)
        : m_pBytes(&group.data),
          m_stream(CreateComponent<IOutputStream>(MEMORY_OUTPUT_STREAM, m_pBytes)),
          m_writer(CreateComponent<IBinaryWriter>(BINARY_WRITER, m_stream.Get(), eEndian != eEndian_Little))
    {
        m_pBytes->Reserve(
            SystemAnimation::TrackGroupBytes(group.type, static_cast<uint16_t>(group.boneIndices.Size()), nFrames));
    }
    IBinaryWriter* operator->() const { return m_writer.Get(); }

private:
    TArray<uint8_t>* m_pBytes;
    TComponentScope<IOutputStream> m_stream;
    TComponentScope<IBinaryWriter> m_writer; // goes before its stream
};

} // namespace

void ZTrackGroupWriter::Write(const SAnimationAnalysis& analysis)
{
    AddGroup(SystemAnimation::eTrack_BindRotation, analysis.aBindPoseRotations);
    AddGroup(SystemAnimation::eTrack_BindTranslation, analysis.aBindPoseTranslations);
    WriteConstantRotations(analysis.aConstantRotations);
    WriteConstantTranslations(analysis.aConstantTranslations);
    WriteRotations64(analysis.aRotations64);
    WriteRotations32(analysis.aRotations32);
    WriteSingleAxisRotations(analysis.aSingleAxisRotations);
    WriteTranslations(analysis.aAnimatedTranslations);
}

STrackGroup* ZTrackGroupWriter::AddGroup(int32_t nType, const SAnimationAnalysis::TList& tracks)
{
    if (tracks.IsEmpty())
        return nullptr;
    STrackGroup& group = m_trackGroups.Add(STrackGroup());
    group.type = nType;
    group.boneIndices.Reserve(tracks.Size());
    for (const SBoneTrackRef& track : tracks)
        group.boneIndices.Add(NarrowTo<uint16_t>(track.nRigBone,
                                                 [&]
                                                 {
                                                     return ZString::Format(
                                                         "bone '{0}' of take '{1}' is bone {2} of the rig",
                                                         BoneOf(track).Name(), m_animation.Name(), track.nRigBone);
                                                 }));
    return &group;
}

template <class TKey>
TArray<const TKey*> ZTrackGroupWriter::KeysOf(const SAnimationAnalysis::TList& tracks,
                                              const TArray<TKey>& (ZAnimatedBone::*pKeys)() const) const
{
    TArray<const TKey*> result;
    result.Reserve(tracks.Size());
    for (const SBoneTrackRef& track : tracks)
    {
        const TArray<TKey>& keys = (BoneOf(track).*pKeys)();
        ZASSERT_OR_HALT_TEXT(keys.Size() >= m_animation.FrameCount(), "m_pStart + nIndex < GetEnd()");
        result.Add(keys.GetStart());
    }
    return result;
}

template <class TKey, class TWrite>
void ZTrackGroupWriter::ForAllFrames(const TArray<const TKey*>& tracks, TWrite write) const
{
    // Few enough for the keys and their codes to stay in the nearest cache, enough to be worth a call.
    constexpr uint32_t nKeys = 768;
    const uint32_t nTracks = tracks.Size();
    const uint32_t nFrames = m_animation.FrameCount();
    const uint32_t nStep = std::min(std::max(nKeys / nTracks, 1u), nFrames);
    TArray<TKey> block;
    block.Resize(static_cast<size_t>(nStep) * nTracks);
    for (uint32_t nFirst = 0, nCount; nFirst < nFrames; nFirst += nCount)
    {
        nCount = std::min(nStep, nFrames - nFirst);
        for (uint32_t i = 0; i < nTracks; ++i)
        {
            const TKey* pFrom = tracks.GetStart()[i] + nFirst;
            TKey* pTo = block.GetStart() + i;
            for (uint32_t n = 0; n < nCount; ++n, pTo += nTracks)
                *pTo = pFrom[n];
        }
        write(TArrayRef<const TKey>(block.GetStart(), static_cast<size_t>(nCount) * nTracks));
    }
}

void ZTrackGroupWriter::WriteConstantRotations(const SAnimationAnalysis::TList& tracks)
{
    STrackGroup* pGroup = AddGroup(SystemAnimation::eTrack_ConstantRotation, tracks);
    if (pGroup == nullptr)
        return;
    const ZGroupStream stream(*pGroup, m_animation.FrameCount(), m_eEndian);
    for (const SBoneTrackRef& track : tracks)
    {
        const uint64_t uiCode = SQuaternionComp64::Pack(BoneOf(track).Rotations()[0]);
        stream->WriteUInt64(&uiCode, 1);
    }
}

void ZTrackGroupWriter::WriteConstantTranslations(const SAnimationAnalysis::TList& tracks)
{
    STrackGroup* pGroup = AddGroup(SystemAnimation::eTrack_ConstantTranslation, tracks);
    if (pGroup == nullptr)
        return;
    const ZGroupStream stream(*pGroup, m_animation.FrameCount(), m_eEndian);
    for (const SBoneTrackRef& track : tracks)
        stream->WriteFloat32(&BoneOf(track).Translations()[0].x, 3);
}

// The animated groups gather some frames of all bones, pack them and write them at once.

void ZTrackGroupWriter::WriteRotations64(const SAnimationAnalysis::TList& tracks)
{
    STrackGroup* pGroup = AddGroup(SystemAnimation::eTrack_Rotation64, tracks);
    if (pGroup == nullptr)
        return;
    const ZGroupStream stream(*pGroup, m_animation.FrameCount(), m_eEndian);
    TArray<uint64_t> codes;
    ForAllFrames(KeysOf(tracks, &ZAnimatedBone::Rotations),
                 [&stream, &codes](TArrayRef<const SQuaternion> keys)
                 {
                     codes.Resize(keys.Size());
                     SQuaternionComp64::Pack(keys, codes.GetStart());
                     stream->WriteUInt64(codes.GetStart(), codes.Size());
                 });
}

void ZTrackGroupWriter::WriteRotations32(const SAnimationAnalysis::TList& tracks)
{
    STrackGroup* pGroup = AddGroup(SystemAnimation::eTrack_Rotation32, tracks);
    if (pGroup == nullptr)
        return;
    const ZGroupStream stream(*pGroup, m_animation.FrameCount(), m_eEndian);
    TArray<uint32_t> codes;
    ForAllFrames(KeysOf(tracks, &ZAnimatedBone::Rotations),
                 [&stream, &codes](TArrayRef<const SQuaternion> keys)
                 {
                     codes.Resize(keys.Size());
                     SQuaternionComp32::Pack(keys, codes.GetStart());
                     stream->WriteUInt32(codes.GetStart(), codes.Size());
                 });
}

void ZTrackGroupWriter::WriteSingleAxisRotations(const SAnimationAnalysis::TList& tracks)
{
    STrackGroup* pGroup = AddGroup(SystemAnimation::eTrack_SingleAxisRotation, tracks);
    if (pGroup == nullptr)
        return;
    const ZGroupStream stream(*pGroup, m_animation.FrameCount(), m_eEndian);
    SQuaternion* const pReferences = Z_STACK_ARRAY(
        SQuaternion, tracks.Size(), "(boneIndices.Size()) * sizeof(SQuaternion) <= C_MAX_STACK_ARRAY_ALLOCATION");
    for (uint32_t i = 0; i < tracks.Size(); ++i)
    {
        pReferences[i] = FindLargestRotation(BoneOf(tracks[i]).Rotations());
        const float4 axis = ReferenceAxis(pReferences[i]);
        stream->WriteFloat32(&axis.x, 3);
    }
    TArray<float4> axes; // one for each key of the frames gathered
    TArray<uint16_t> codes;
    ForAllFrames(KeysOf(tracks, &ZAnimatedBone::Rotations),
                 [&](TArrayRef<const SQuaternion> keys)
                 {
                     for (size_t n = axes.Size(); n < keys.Size(); ++n)
                         axes.Add(n < tracks.Size() ? SQuaternionSingleAxisComp16::AxisOf(pReferences[n])
                                                    : axes[n - tracks.Size()]);
                     codes.Resize(keys.Size());
                     SQuaternionSingleAxisComp16::Pack(axes, keys, codes.GetStart());
                     stream->WriteUInt16(codes.GetStart(), codes.Size());
                 });
}

void ZTrackGroupWriter::WriteTranslations(const SAnimationAnalysis::TList& tracks)
{
    STrackGroup* pGroup = AddGroup(SystemAnimation::eTrack_Translation, tracks);
    if (pGroup == nullptr)
        return;
    const ZGroupStream stream(*pGroup, m_animation.FrameCount(), m_eEndian);
    ForAllFrames(KeysOf(tracks, &ZAnimatedBone::Translations), [&stream](TArrayRef<const SVector3> keys)
                 { stream->WriteFloat32(&keys.GetStart()->x, keys.Size() * size_t{3}); });
}

} // namespace ResourceAnimation
