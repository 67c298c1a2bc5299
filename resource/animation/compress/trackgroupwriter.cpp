#include "resource/animation/compress/trackgroupwriter.h"

#include "base/component/componentmanager.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "system/animation/quaternioncomp.h"
#include "system/io/streams.h"

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
        group.boneIndices.Add(NarrowTo<uint16_t>(track.nRigBone));
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

// The animated groups gather one frame of all bones and write it at once: frames are the outer loop.

void ZTrackGroupWriter::WriteRotations64(const SAnimationAnalysis::TList& tracks)
{
    STrackGroup* pGroup = AddGroup(SystemAnimation::eTrack_Rotation64, tracks);
    if (pGroup == nullptr)
        return;
    const ZGroupStream stream(*pGroup, m_animation.FrameCount(), m_eEndian);
    const auto keys = KeysOf(tracks, &ZAnimatedBone::Rotations);
    TArray<uint64_t> frame;
    frame.Resize(keys.Size());
    for (uint32_t nFrame = 0; nFrame < m_animation.FrameCount(); ++nFrame)
    {
        uint64_t* pCode = frame.GetStart();
        for (const SQuaternion* pKeys : keys)
            *pCode++ = SQuaternionComp64::Pack(pKeys[nFrame]);
        stream->WriteUInt64(frame.GetStart(), frame.Size());
    }
}

void ZTrackGroupWriter::WriteRotations32(const SAnimationAnalysis::TList& tracks)
{
    STrackGroup* pGroup = AddGroup(SystemAnimation::eTrack_Rotation32, tracks);
    if (pGroup == nullptr)
        return;
    const ZGroupStream stream(*pGroup, m_animation.FrameCount(), m_eEndian);
    const auto keys = KeysOf(tracks, &ZAnimatedBone::Rotations);
    TArray<uint32_t> frame;
    frame.Resize(keys.Size());
    for (uint32_t nFrame = 0; nFrame < m_animation.FrameCount(); ++nFrame)
    {
        uint32_t* pCode = frame.GetStart();
        for (const SQuaternion* pKeys : keys)
            *pCode++ = SQuaternionComp32::Pack(pKeys[nFrame]);
        stream->WriteUInt32(frame.GetStart(), frame.Size());
    }
}

void ZTrackGroupWriter::WriteSingleAxisRotations(const SAnimationAnalysis::TList& tracks)
{
    STrackGroup* pGroup = AddGroup(SystemAnimation::eTrack_SingleAxisRotation, tracks);
    if (pGroup == nullptr)
        return;
    const ZGroupStream stream(*pGroup, m_animation.FrameCount(), m_eEndian);
    const auto keys = KeysOf(tracks, &ZAnimatedBone::Rotations);
    SQuaternion* const pReferences = Z_STACK_ARRAY(
        SQuaternion, keys.Size(), "(boneIndices.Size()) * sizeof(SQuaternion) <= C_MAX_STACK_ARRAY_ALLOCATION");
    for (uint32_t i = 0; i < keys.Size(); ++i)
    {
        pReferences[i] = FindLargestRotation(BoneOf(tracks[i]).Rotations());
        const float4 axis = ReferenceAxis(pReferences[i]);
        stream->WriteFloat32(&axis.x, 3);
    }
    TArray<uint16_t> frame;
    frame.Resize(keys.Size());
    for (uint32_t nFrame = 0; nFrame < m_animation.FrameCount(); ++nFrame)
    {
        for (uint32_t i = 0; i < keys.Size(); ++i)
            frame.GetStart()[i] = SQuaternionSingleAxisComp16::Pack(pReferences[i], keys.GetStart()[i][nFrame]);
        stream->WriteUInt16(frame.GetStart(), frame.Size());
    }
}

void ZTrackGroupWriter::WriteTranslations(const SAnimationAnalysis::TList& tracks)
{
    STrackGroup* pGroup = AddGroup(SystemAnimation::eTrack_Translation, tracks);
    if (pGroup == nullptr)
        return;
    const ZGroupStream stream(*pGroup, m_animation.FrameCount(), m_eEndian);
    const auto keys = KeysOf(tracks, &ZAnimatedBone::Translations);
    TArray<SVector3> frame;
    frame.Resize(keys.Size());
    for (uint32_t nFrame = 0; nFrame < m_animation.FrameCount(); ++nFrame)
    {
        SVector3* pValue = frame.GetStart();
        for (const SVector3* pKeys : keys)
            *pValue++ = pKeys[nFrame];
        stream->WriteFloat32(&frame.GetStart()->x, frame.Size() * size_t{3});
    }
}

} // namespace ResourceAnimation
