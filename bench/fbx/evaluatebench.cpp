// Every node at every frame, as an importer asks: node transforms a second, local and global, and how many times
// faster than the plain evaluation of the same scene in the same run.
#include "bench/fbx/benchscenes.h"
#include "bench/fbx/plainevaluation.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>

namespace
{

constexpr size_t kFrames = 600;

enum EWhat
{
    eLocal,
    eGlobal,
    eBoth
};

void EvaluateAll(FbxScene& scene, EWhat eWhat)
{
    const size_t nNodes = scene.GetNodeCount();
    for (size_t nFrame = 0; nFrame < kFrames; ++nFrame)
    {
        const FbxTime time = FbxTime::FromSeconds(static_cast<double>(static_cast<float>(nFrame) / 30.0f));
        for (size_t n = 0; n < nNodes; ++n)
        {
            if (eWhat != eGlobal)
                benchmark::DoNotOptimize(scene.GetNode(n)->EvaluateLocalTransform(time));
            if (eWhat != eLocal)
                benchmark::DoNotOptimize(scene.GetNode(n)->EvaluateGlobalTransform(time));
        }
    }
}

void Evaluate(benchmark::State& state, const std::string& sFile, EWhat eWhat, bool bPlain)
{
    LoadedScene scene(sFile);
    if (!scene.IsLoaded())
        return state.SkipWithError("does not load");
    PlainEvaluation plain(*scene);
    int nPlain = 0;
    double fOwn = 0.0;
    double fPlain = 0.0;
    for (auto _ : state)
    {
        double fBegin = ThreadSeconds();
        EvaluateAll(*scene, eWhat);
        const double f = ThreadSeconds() - fBegin;
        state.SetIterationTime(f);
        if (!bPlain || nPlain++ >= 10)
            continue;
        fOwn += f;
        fBegin = ThreadSeconds();
        for (size_t nFrame = 0; nFrame < kFrames; ++nFrame)
            plain.Evaluate(static_cast<double>(nFrame) / 30.0);
        fPlain += ThreadSeconds() - fBegin;
    }
    state.counters["transforms/s"] =
        benchmark::Counter(static_cast<double>(scene->GetNodeCount() * kFrames * (eWhat == eBoth ? 2 : 1)) *
                               static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate);
    if (bPlain)
        state.counters["plain/own"] = fPlain / fOwn;
}

} // namespace

int main(int argc, char** argv)
{
    const struct
    {
        const char* szName;
        std::string sFile;
        bool bPlain; ///< the plain evaluation knows neither cubic keys nor pivots
    } files[] = {
        {"baked80", MakeBakedScene(80, kFrames), true},
        {"cubic80", MakeCubicScene(80, kFrames), false},
        {"added80", MakeLayeredScene(80, kFrames, 0), false},
        {"blended80", MakeLayeredScene(80, kFrames, 2), false},
        {"replaced80", MakeLayeredScene(80, kFrames, 1), false},
        {"locomotion", ReadShared("samples/assembly/characters/hero/locomotion.fbx"), true},
        {"locomotions", ReadShared("fbx-corpus/files/locomotions.fbx"), false},
        {"mixamo", ReadShared("fbx-corpus/files/mixamo.fbx"), false},
        {"arnaud", ReadShared("fbx-corpus/files/arnaud.fbx"), false},
    };
    for (const auto& file : files)
    {
        if (file.sFile.empty())
        {
            std::fprintf(stderr, "%s: left out, its file is not there\n", file.szName);
            continue;
        }
        for (const auto& [szWhat, eWhat] :
             {std::pair("local", eLocal), std::pair("global", eGlobal), std::pair("both", eBoth)})
            benchmark::RegisterBenchmark((std::string("Evaluate/") + file.szName + "/" + szWhat).c_str(),
                                         [&file, eWhat = eWhat](benchmark::State& state)
                                         { Evaluate(state, file.sFile, eWhat, file.bPlain); })
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
