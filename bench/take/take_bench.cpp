/// One take from file to packed bytes, and the stages on its way, over the sample character: 82 bones, 60 frames.
///
///   Load        the scene reader: file, scene, grounds, takes
///   Sample      every bone sampled at every frame, of a scene that was read before
///   Whole       all of it: import, rig, compression, serialising, reading back, header and body (in memory)
///   Next        the same for a further take of the file, whose scene is still there
///
/// Bone-frames a second of processor time; each stage's share of the whole is printed from the same run.

#include "resource/animation/fbximport/fbxanimationimporter.h"
#include "resource/animation/packer/animationpacker.h"
#include "resource/animation/packer/rigpacker.h"
#include "system/animation/animationmodule.h"
#include "tests/support/packerhost.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>

using namespace ResourceAnimation;

namespace
{

constexpr int BONE_FRAMES = 82 * 60;

/// Sources from the sample tree; packed rigs in memory.
class ZBenchHost : public ZPackerHost
{
public:
    ZBenchHost()
    {
        ImportSystemAnimationModule();
        Database().Mount(ZString(Z_SOURCE_DIR "/samples/assembly"));
        Database().SetMaker([this](const ZResourceID& derived)
                            { return Pack<ZRigPacker>(derived.GetSourceResourceID(), derived); });
    }
};

const ZResourceID FILE_ID("assembly:/characters/scout/moves.fbx");
const ZResourceID TAKE_ID("assembly:/characters/scout/moves.fbx?/walk.take");

void Load(benchmark::State& state)
{
    ZBenchHost host;
    for (auto _ : state)
        benchmark::DoNotOptimize(ZFbxSceneReader(FILE_ID).m_takeCount);
    state.SetItemsProcessed(state.iterations() * BONE_FRAMES);
}

void Sample(benchmark::State& state)
{
    ZBenchHost host;
    for (auto _ : state)
    {
        Import::ZFbxAnimationImporter importer(FILE_ID);
        benchmark::DoNotOptimize(importer.ImportAnimation("walk", Import::eSpace_Parent, 0.01f, false));
    }
    state.SetItemsProcessed(state.iterations() * BONE_FRAMES);
}

void PackTake(benchmark::State& state, bool bReadAgain)
{
    ZBenchHost host;
    const ZResourceID target = TAKE_ID.CreateDerivedResourceID("animation", "", "pc");
    for (auto _ : state)
    {
        if (bReadAgain)
            ZFbxSceneLoan::DropKept();
        if (!host.Pack<ZAnimationPacker>(TAKE_ID, target))
            return state.SkipWithError("the take does not pack");
    }
    state.SetItemsProcessed(state.iterations() * BONE_FRAMES);
}

/// The first take of a file.
void Whole(benchmark::State& state)
{
    PackTake(state, true);
}

/// Each further one.
void Next(benchmark::State& state)
{
    PackTake(state, false);
}

/// Prints, behind the table, the share of each stage in the whole.
class ZShareReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            m_seconds[run.benchmark_name()] = run.GetAdjustedCPUTime();
    }
    void Finalize() override
    {
        const double fWhole = m_seconds["Whole"];
        for (const auto& [name, fSeconds] : m_seconds)
            std::printf("%-8s %5.1f %% of the whole\n", name.c_str(), 100.0 * fSeconds / fWhole);
    }

private:
    std::map<std::string, double> m_seconds;
};

} // namespace

BENCHMARK(Load)->Unit(benchmark::kMicrosecond);
BENCHMARK(Sample)->Unit(benchmark::kMicrosecond);
BENCHMARK(Whole)->Unit(benchmark::kMicrosecond);
BENCHMARK(Next)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    ZShareReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
