/// Decoding packed animations: frames into local poses, and on into character space, beside references.
///
///   Copy     the same frame bytes copied to one place: what reading them alone costs
///   Naive    for each bone, search the groups for its tracks and unpack the value: the plain way to read the format
///   Scalar   group by group, one Unpack call a value
///   Sample   ZAnimationSampler, local pose
///   Pose     Sample, then character space
///
/// The clip is a character: 60 bones, of which 44 turn freely, 12 are fingers, 3 hinges and 1 still; 2 bones move.
/// "Clip" plays 600 frames, which stay in the cache; "Library" plays 80 MB of frames in order, "Seek" jumps about in
/// them.

#include "bench/animation/ratioreporter.h"
#include "system/animation/animationsampler.h"
#include "system/animation/quaternioncomp.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

using namespace SystemAnimation;

namespace
{

constexpr uint32_t BONES = 60;
constexpr uint32_t CLIP_FRAMES = 600;
constexpr uint32_t LIBRARY_FRAMES = 180000;

struct SClip
{
    ZAnimationRig rig;
    SAnimationResourceData data;
    TSharedPtr<ZAnimPoseDescriptor> descriptor;
    TSharedPtr<ZAnimationSampler> sampler;
};

uint32_t NextRandom(uint32_t& nState)
{
    nState ^= nState << 13;
    nState ^= nState >> 17;
    nState ^= nState << 5;
    return nState;
}

/// Bones from nFirst on.
STrackGroup MakeGroup(int32_t type, uint16_t nFirst, uint16_t nBones, uint32_t nFrames, uint32_t& nRandom)
{
    STrackGroup group;
    group.type = type;
    for (uint16_t n = 0; n < nBones; ++n)
        group.boneIndices.Add(static_cast<uint16_t>(nFirst + n));
    group.data.Resize(TrackGroupBytes(type, nBones, nFrames));
    for (uint8_t& nByte : group.data)
        nByte = static_cast<uint8_t>(NextRandom(nRandom) >> 9);
    const float vector[3] = {0.6f, 0.0f, 0.8f};
    if (type == eTrack_SingleAxisRotation || type == eTrack_ConstantTranslation || type == eTrack_Translation)
    {
        const uint32_t nVectors = type == eTrack_Translation ? nBones * nFrames : nBones;
        for (uint32_t n = 0; n < nVectors; ++n)
            std::memcpy(group.data.GetStart() + 12 * n, vector, sizeof vector);
    }
    return group;
}

const SClip& Clip(uint32_t nFrames)
{
    static std::map<uint32_t, SClip> s_clips;
    const auto [it, bNew] = s_clips.try_emplace(nFrames);
    SClip& clip = it->second;
    if (!bNew)
        return clip;
    TArray<SBoneId> parents;
    TArray<uint32_t> uids;
    TArray<SQV> bindPose;
    TArray<ZString> names;
    for (uint32_t n = 0; n < BONES; ++n)
    {
        parents.Add(n == 0 ? SBoneId() : SBoneId(n < 8 ? n - 1 : n - 1 - n % 5));
        uids.Add(n * 2654435761u);
        bindPose.Add({{0.0f, 0.6f, 0.0f, 0.8f}, {0.0f, 0.1f, 0.3f, 1.0f}});
        names.Add("bone");
    }
    const SBoneId root(uint16_t{0});
    clip.rig = ZAnimationRig(SBoneId(), {&root, 1}, parents, uids, bindPose, names);
    clip.data.boneCount = BONES;
    clip.data.frameCount = nFrames;
    uint32_t nRandom = 12345;
    clip.data.trackGroups.Add(MakeGroup(eTrack_BindTranslation, 2, 58, nFrames, nRandom));
    clip.data.trackGroups.Add(MakeGroup(eTrack_ConstantRotation, 0, 1, nFrames, nRandom));
    clip.data.trackGroups.Add(MakeGroup(eTrack_Rotation64, 1, 44, nFrames, nRandom));
    clip.data.trackGroups.Add(MakeGroup(eTrack_Rotation32, 45, 12, nFrames, nRandom));
    clip.data.trackGroups.Add(MakeGroup(eTrack_SingleAxisRotation, 57, 3, nFrames, nRandom));
    clip.data.trackGroups.Add(MakeGroup(eTrack_Translation, 0, 2, nFrames, nRandom));
    clip.descriptor = ZAnimPoseDescriptor::Create(clip.rig);
    ZString why;
    clip.sampler = ZAnimationSampler::Create(clip.data, NATIVE_ENDIAN, clip.descriptor, why);
    if (!clip.sampler)
    {
        std::fprintf(stderr, "%s\n", why.ToCString());
        std::abort();
    }
    return clip;
}

void SetRates(benchmark::State& state, const SClip& clip)
{
    state.SetItemsProcessed(state.iterations() * BONES); // bone-frames
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(clip.sampler->FrameBytes()));
}

void Copy(benchmark::State& state)
{
    const auto nFrames = static_cast<uint32_t>(state.range(0));
    const auto nStep = static_cast<uint32_t>(state.range(1));
    const SClip& clip = Clip(nFrames);
    TArray<uint8_t> target;
    target.Resize(clip.sampler->FrameBytes());
    uint32_t nFrame = 0;
    for (auto _ : state)
    {
        uint8_t* pTo = target.GetStart();
        for (const STrackGroup& group : clip.data.trackGroups)
        {
            if (group.type < eTrack_Rotation64)
                continue;
            const uint64_t nHead = group.type == eTrack_SingleAxisRotation ? 12 * group.boneIndices.Size() : 0;
            const uint64_t nBytes = (group.data.Size() - nHead) / nFrames;
            std::memcpy(pTo, group.data.GetStart() + nHead + nFrame * nBytes, nBytes);
            pTo += nBytes;
        }
        benchmark::DoNotOptimize(target.GetStart());
        benchmark::ClobberMemory();
        nFrame = (nFrame + nStep) % nFrames;
    }
    SetRates(state, clip);
}

SQV NaiveBone(const SClip& clip, uint32_t nBone, uint32_t nFrame)
{
    SQV pose = clip.rig.Bone(nBone);
    for (const STrackGroup& group : clip.data.trackGroups)
    {
        const uint32_t n = group.boneIndices.Size();
        uint32_t i = 0;
        while (i < n && group.boneIndices[i] != nBone)
            ++i;
        if (i == n)
            continue;
        const uint8_t* p = group.data.GetStart();
        const uint64_t nKey = static_cast<uint64_t>(nFrame) * n + i;
        uint64_t uiCode64;
        uint32_t uiCode32;
        uint16_t uiCode16;
        SVector3 v;
        switch (group.type)
        {
        case eTrack_ConstantRotation:
        case eTrack_Rotation64:
            std::memcpy(&uiCode64, p + 8 * (group.type == eTrack_Rotation64 ? nKey : i), 8);
            pose.rotation = SQuaternionComp64::Unpack(uiCode64);
            break;
        case eTrack_Rotation32:
            std::memcpy(&uiCode32, p + 4 * nKey, 4);
            pose.rotation = SQuaternionComp32::Unpack(uiCode32);
            break;
        case eTrack_SingleAxisRotation:
            std::memcpy(&uiCode16, p + 12 * n + 2 * nKey, 2);
            std::memcpy(static_cast<void*>(&v), p + 12 * i, 12);
            pose.rotation = SQuaternionSingleAxisComp16::Unpack(v, uiCode16);
            break;
        case eTrack_Translation:
            std::memcpy(static_cast<void*>(&v), p + 12 * nKey, 12);
            pose.translation = {v.x, v.y, v.z, 1.0f};
            break;
        default:
            break;
        }
    }
    return pose;
}

void Naive(benchmark::State& state)
{
    const auto nFrames = static_cast<uint32_t>(state.range(0));
    const auto nStep = static_cast<uint32_t>(state.range(1));
    const SClip& clip = Clip(nFrames);
    TArray<SQV> pose;
    pose.Resize(BONES);
    uint32_t nFrame = 0;
    for (auto _ : state)
    {
        for (uint32_t nBone = 0; nBone < BONES; ++nBone)
            pose[nBone] = NaiveBone(clip, nBone, nFrame);
        benchmark::DoNotOptimize(pose.GetStart());
        benchmark::ClobberMemory();
        nFrame = (nFrame + nStep) % nFrames;
    }
    SetRates(state, clip);
}

void Scalar(benchmark::State& state)
{
    const auto nFrames = static_cast<uint32_t>(state.range(0));
    const auto nStep = static_cast<uint32_t>(state.range(1));
    const SClip& clip = Clip(nFrames);
    TArray<SQV> pose(clip.rig.Bones());
    uint32_t nFrame = 0;
    for (auto _ : state)
    {
        SQV* pPose = pose.GetStart();
        for (const STrackGroup& group : clip.data.trackGroups)
        {
            const uint16_t* pBones = group.boneIndices.GetStart();
            const uint8_t* pData = group.data.GetStart();
            const uint32_t n = group.boneIndices.Size();
            const uint64_t nFirst = static_cast<uint64_t>(nFrame) * n;
            for (uint32_t i = 0; i < n; ++i)
            {
                SQV& bone = pPose[pBones[i]];
                uint64_t uiCode64;
                uint32_t uiCode32;
                uint16_t uiCode16;
                SVector3 v;
                switch (group.type)
                {
                case eTrack_ConstantRotation:
                case eTrack_Rotation64:
                    std::memcpy(&uiCode64, pData + 8 * (group.type == eTrack_Rotation64 ? nFirst + i : i), 8);
                    bone.rotation = SQuaternionComp64::Unpack(uiCode64);
                    break;
                case eTrack_Rotation32:
                    std::memcpy(&uiCode32, pData + 4 * (nFirst + i), 4);
                    bone.rotation = SQuaternionComp32::Unpack(uiCode32);
                    break;
                case eTrack_SingleAxisRotation:
                    std::memcpy(&uiCode16, pData + 12 * n + 2 * (nFirst + i), 2);
                    std::memcpy(static_cast<void*>(&v), pData + 12 * i, 12);
                    bone.rotation = SQuaternionSingleAxisComp16::Unpack(v, uiCode16);
                    break;
                case eTrack_Translation:
                    std::memcpy(static_cast<void*>(&v), pData + 12 * (nFirst + i), 12);
                    bone.translation = {v.x, v.y, v.z, 1.0f};
                    break;
                default:
                    break;
                }
            }
        }
        benchmark::DoNotOptimize(pose.GetStart());
        benchmark::ClobberMemory();
        nFrame = (nFrame + nStep) % nFrames;
    }
    SetRates(state, clip);
}

template <bool CHARACTER>
void Play(benchmark::State& state)
{
    const auto nFrames = static_cast<uint32_t>(state.range(0));
    const auto nStep = static_cast<uint32_t>(state.range(1));
    const SClip& clip = Clip(nFrames);
    const TSharedPtr<ZAnimPoseBuffer> buffer = ZAnimPoseBuffer::Create(clip.descriptor);
    uint32_t nFrame = 0;
    for (auto _ : state)
    {
        clip.sampler->Sample(nFrame, *buffer);
        if constexpr (CHARACTER)
            buffer->ToCharacterSpace();
        benchmark::DoNotOptimize(buffer.Get());
        benchmark::ClobberMemory();
        nFrame = (nFrame + nStep) % nFrames;
    }
    SetRates(state, clip);
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    ZRatioReporter::TPairs pairs;
    const struct
    {
        const char* szName;
        uint32_t nFrames, nStep;
    } sets[] = {{"Clip", CLIP_FRAMES, 1}, {"Library", LIBRARY_FRAMES, 1}, {"Seek", LIBRARY_FRAMES, 77773}};
    for (const auto& set : sets)
    {
        const auto add = [&set](const char* szName, void (*pRun)(benchmark::State&))
        {
            benchmark::RegisterBenchmark((std::string(set.szName) + "/" + szName).c_str(), pRun)
                ->Args({set.nFrames, set.nStep});
        };
        add("Copy", &Copy);
        add("Naive", &Naive);
        add("Scalar", &Scalar);
        add("Sample", &Play<false>);
        add("Pose", &Play<true>);
        const std::string name(set.szName);
        pairs.insert(pairs.end(), {{name + "/Sample", name + "/Naive"},
                                   {name + "/Sample", name + "/Scalar"},
                                   {name + "/Sample", name + "/Copy"},
                                   {name + "/Pose", name + "/Naive"}});
    }
    ZRatioReporter reporter(pairs);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
