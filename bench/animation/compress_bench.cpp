/// Analysis and compression of animations in memory, beside references; bone-frames a second of processor time.
///
///   Plain        analysis and compression the plain way (plaincompress.h)
///   Analyze      ZDefaultAnalyzer alone
///   Compress     ZDefaultCompressor: analysis and compression
///   CompressBig  the same for a target of the other byte order
///
/// "Walk" is a character of 60 bones and 600 frames; "General" has as many bones that all turn freely and travel, the
/// worst case; "Still" has none that move; "Crowd" is the walk with 960 bones, "Long" with 18000 frames, which the
/// caches don't hold.
///
/// Pack rows are keys a second of one packer: the plain one, a call for each key, many in a call, and many in a call
/// without the wider instructions. Serialize rows are bytes a second of the walk's record: writing it, reading it back
/// and comparing, and copying as many bytes.

#include "bench/animation/plaincompress.h"
#include "bench/animation/ratioreporter.h"
#include "system/animation/quaternioncomp.h"
#include "system/animation/quaternionpackers.h"
#include "system/io/streams.h"
#include "system/serializer/binaryserializer.h"
#include "system/serializer/deserializedblock.h"

#include <cstring>

using namespace ResourceAnimation;

namespace
{

const SCompressClip& Clip(EClip eClip, int64_t nBones, int64_t nFrames)
{
    static std::map<std::tuple<EClip, int64_t, int64_t>, SCompressClip> s_clips;
    const auto key = std::make_tuple(eClip, nBones, nFrames);
    auto it = s_clips.find(key);
    if (it == s_clips.end())
        it =
            s_clips.emplace(key, MakeCompressClip(eClip, static_cast<uint32_t>(nBones), static_cast<uint32_t>(nFrames)))
                .first;
    return it->second;
}

const SCompressClip& Clip(const benchmark::State& state)
{
    return Clip(static_cast<EClip>(state.range(2)), state.range(0), state.range(1));
}

void Plain(benchmark::State& state)
{
    const SCompressClip& clip = Clip(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(PlainCompress(clip));
    state.SetItemsProcessed(state.iterations() * clip.BoneFrames());
}

void Analyze(benchmark::State& state)
{
    const SCompressClip& clip = Clip(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(ZDefaultAnalyzer().Analyze(clip.animation, clip.rig, clip.bonesToPack));
    state.SetItemsProcessed(state.iterations() * clip.BoneFrames());
}

template <EEndian ENDIAN>
void Compress(benchmark::State& state)
{
    const SCompressClip& clip = Clip(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(ZDefaultCompressor().Compress(clip.animation, clip.rig, clip.bonesToPack, ENDIAN));
    state.SetItemsProcessed(state.iterations() * clip.BoneFrames());
}

constexpr size_t KEYS = 1024;

const TArray<SQuaternion>& Keys()
{
    static const TArray<SQuaternion> s_keys = []
    {
        TArray<SQuaternion> keys;
        uint32_t nRandom = 77;
        while (keys.Size() < KEYS)
        {
            float f[4];
            for (float& value : f)
            {
                nRandom ^= nRandom << 13;
                nRandom ^= nRandom >> 17;
                nRandom ^= nRandom << 5;
                value = static_cast<float>(nRandom >> 8) / 8388608.0f - 1.0f;
            }
            keys.Add(Normalize({f[0], f[1], f[2], f[3]}));
        }
        return keys;
    }();
    return s_keys;
}

const TArray<float4>& Axes()
{
    static const TArray<float4> s_axes = []
    {
        TArray<float4> axes;
        while (axes.Size() < KEYS)
            axes.Add({0.6f, 0.0f, 0.8f, 0.0f});
        return axes;
    }();
    return s_axes;
}

template <class TPack>
void PackEach(benchmark::State& state, TPack pack)
{
    const TArray<SQuaternion>& keys = Keys();
    for (auto _ : state)
        for (const SQuaternion& key : keys)
            benchmark::DoNotOptimize(pack(key));
    state.SetItemsProcessed(state.iterations() * keys.Size());
}

template <class TPack>
void PackMany(benchmark::State& state, TPack pack)
{
    for (auto _ : state)
    {
        uint64_t codes[KEYS];
        pack(Keys().GetStart(), static_cast<void*>(codes));
        benchmark::DoNotOptimize(codes);
    }
    state.SetItemsProcessed(state.iterations() * KEYS);
}

void PackRows(const char* szName, const SQuaternionPackers& packers)
{
    const auto add = [szName](const char* szForm, auto pack)
    {
        benchmark::RegisterBenchmark((std::string("Pack") + szForm + "/" + szName).c_str(),
                                     [pack](benchmark::State& s) { PackMany(s, pack); });
    };
    add("64", [&packers](const SQuaternion* p, void* pTo) { packers.pPack64(p, KEYS, static_cast<uint64_t*>(pTo)); });
    add("32", [&packers](const SQuaternion* p, void* pTo) { packers.pPack32(p, KEYS, static_cast<uint32_t*>(pTo)); });
    add("16", [&packers](const SQuaternion* p, void* pTo)
        { packers.pPackSingleAxis(Axes().GetStart(), p, KEYS, static_cast<uint16_t*>(pTo)); });
}

void Serialize(benchmark::State& state)
{
    const SCompressClip& clip = Clip(state);
    const auto record = ZDefaultCompressor().Compress(clip.animation, clip.rig, clip.bonesToPack, eEndian_Little);
    size_t nBytes = 0;
    for (auto _ : state)
    {
        const TArray<uint8_t> bytes = SerializeObject(record, eEndian_Little);
        benchmark::DoNotOptimize(bytes.GetStart());
        nBytes = bytes.Size();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(nBytes));
}

void ReadBack(benchmark::State& state)
{
    const SCompressClip& clip = Clip(state);
    const auto record = ZDefaultCompressor().Compress(clip.animation, clip.rig, clip.bonesToPack, eEndian_Little);
    const TArray<uint8_t> bytes = SerializeObject(record, eEndian_Little);
    for (auto _ : state)
    {
        TDeserializedBlock<SystemAnimation::SAnimationResourceData> block;
        if (!DeserializeObject(bytes.Ref(), true, block) || !(*block.Get() == record))
            state.SkipWithError("what is read back differs");
    }
    state.SetBytesProcessed(state.iterations() * bytes.Size());
}

void Copy(benchmark::State& state)
{
    const SCompressClip& clip = Clip(state);
    const auto record = ZDefaultCompressor().Compress(clip.animation, clip.rig, clip.bonesToPack, eEndian_Little);
    const TArray<uint8_t> bytes = SerializeObject(record, eEndian_Little);
    for (auto _ : state)
    {
        TArray<uint8_t> copy; // allocated anew, as the serialiser's result is
        copy.Append(bytes.GetStart(), bytes.Size());
        benchmark::DoNotOptimize(copy.GetStart());
    }
    state.SetBytesProcessed(state.iterations() * bytes.Size());
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    ImportSystemIOModule();
    ImportSystemSerializerModule();
    // The C library gives memory back to the system, page by page, until it has seen how much a program uses: the rows
    // would measure that, some more than others.
    GetNormalAllocator()->Free(GetNormalAllocator()->Allocate(size_t{30} << 20, 16));
    ZRatioReporter::TPairs pairs;
    const struct
    {
        const char* szName;
        EClip eClip;
        int64_t nBones, nFrames;
    } clips[] = {{"Walk", EClip::eWalk, 60, 600},
                 {"General", EClip::eGeneral, 60, 600},
                 {"Still", EClip::eStill, 60, 600},
                 {"Crowd", EClip::eWalk, 960, 600},
                 {"Long", EClip::eWalk, 60, 18000}};
    for (const auto& clip : clips)
    {
        const auto add = [&clip](const char* szName, void (*pRun)(benchmark::State&))
        {
            benchmark::RegisterBenchmark((std::string(clip.szName) + "/" + szName).c_str(), pRun)
                ->Args({clip.nBones, clip.nFrames, static_cast<int64_t>(clip.eClip)})
                ->Unit(benchmark::kMicrosecond);
        };
        add("Plain", &Plain);
        add("Analyze", &Analyze);
        add("Compress", &Compress<eEndian_Little>);
        add("CompressBig", &Compress<eEndian_Big>);
        pairs.emplace_back(std::string(clip.szName) + "/Compress", std::string(clip.szName) + "/Plain");
    }
    benchmark::RegisterBenchmark("Pack64/Plain", [](benchmark::State& s) { PackEach(s, &PlainPack64); });
    benchmark::RegisterBenchmark("Pack32/Plain", [](benchmark::State& s) { PackEach(s, &PlainPack32); });
    benchmark::RegisterBenchmark(
        "Pack16/Plain",
        [](benchmark::State& s) {
            PackEach(s, [](const SQuaternion& q) { return PlainPackSingleAxis({0.6f, 0.0f, 0.8f, 0.0f}, q); });
        });
    benchmark::RegisterBenchmark("Pack64/Each", [](benchmark::State& s)
                                 { PackEach(s, [](const SQuaternion& q) { return SQuaternionComp64::Pack(q); }); });
    benchmark::RegisterBenchmark("Pack32/Each", [](benchmark::State& s)
                                 { PackEach(s, [](const SQuaternion& q) { return SQuaternionComp32::Pack(q); }); });
    PackRows("Many", QuaternionPackers());
    PackRows("Baseline", BaselineQuaternionPackers());
    for (const char* szForm : {"Pack64/", "Pack32/", "Pack16/"})
        pairs.emplace_back(std::string(szForm) + "Many", std::string(szForm) + "Plain");
    benchmark::RegisterBenchmark("Serialize/Record", &Serialize)->Args({60, 600, static_cast<int64_t>(EClip::eWalk)});
    benchmark::RegisterBenchmark("Serialize/ReadBack", &ReadBack)->Args({60, 600, static_cast<int64_t>(EClip::eWalk)});
    benchmark::RegisterBenchmark("Serialize/Copy", &Copy)->Args({60, 600, static_cast<int64_t>(EClip::eWalk)});
    pairs.emplace_back("Serialize/Record", "Serialize/Copy");
    pairs.emplace_back("Serialize/ReadBack", "Serialize/Copy");
    ZRatioReporter reporter(pairs);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
