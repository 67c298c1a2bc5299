/// Flattening of sources with many includes, beside the plain way that copies the whole text for each.
///
///   Siblings/n   one source that includes n files of about 600 bytes, one after the other
///   Nested/n     n files in chains of 100 inside each other, with text before and behind each directive
///
/// Files are in memory, so that the disk is not measured. Bytes a second are those of the flat source. The ratios
/// behind the table are from the same run: plain time over flattener time for each n, and how either grows from the
/// smallest n to the largest, per byte; one that is in proportion stays near 1.

#include "tests/resource/_shared/effectfixtures.h"
#include "tests/resource/_shared/plainflattening.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>

namespace
{

struct SSource
{
    std::string text;
    TEffectFiles files;
    size_t nFlatSize = 0;
};

std::string Filler(size_t nFile)
{
    std::string text;
    for (int n = 0; n < 12; ++n)
        text += "float4 g_Value" + std::to_string(nFile) + '_' + std::to_string(n) + " : register(c0); // filler\n";
    return text;
}

SSource Siblings(size_t nFiles)
{
    SSource source;
    for (size_t n = 0; n < nFiles; ++n)
    {
        source.files["fx/" + std::to_string(n)] = Filler(n);
        source.text += "#include \"" + std::to_string(n) + "\"\n";
    }
    return source;
}

SSource Nested(size_t nFiles)
{
    constexpr size_t nChain = 100;
    SSource source;
    for (size_t n = 0; n < nFiles; ++n)
    {
        std::string& text = source.files["fx/" + std::to_string(n)] = Filler(n);
        if (n % nChain != nChain - 1 && n + 1 < nFiles)
            text += "#include \"" + std::to_string(n + 1) + "\"\n" + Filler(n);
        if (n % nChain == 0)
            source.text += "#include \"" + std::to_string(n) + "\"\n";
    }
    return source;
}

using FMake = SSource (*)(size_t nFiles);

/// Both ways once, outside of the clock: they have to agree.
bool Check(SSource& source)
{
    const TArray<ZString> directories = {"fx"};
    ZFXFlattener flattener(source.text.data(), source.text.size(), directories, ReaderOf(source.files));
    const bool bGood = flattener.Run([](const ZString&) {});
    char* pFlat = flattener.CopyFlat();
    source.nFlatSize = flattener.Size();
    const bool bSame = FlattenPlainly(source.text, {"fx"}, source.files, source.files.size()).flat ==
                       std::string_view(pFlat, source.nFlatSize);
    GetMemoryManager()->Free(pFlat);
    return bGood && bSame;
}

void Flattener(benchmark::State& state, FMake pMake)
{
    SSource source = pMake(static_cast<size_t>(state.range(0)));
    if (!Check(source))
        return state.SkipWithError("the two ways do not agree");
    const TArray<ZString> directories = {"fx"};
    for (auto _ : state)
    {
        ZFXFlattener flattener(source.text.data(), source.text.size(), directories, ReaderOf(source.files));
        flattener.Run([](const ZString&) {});
        char* pFlat = flattener.CopyFlat();
        benchmark::DoNotOptimize(pFlat);
        GetMemoryManager()->Free(pFlat);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * source.nFlatSize));
    state.counters["flat"] = static_cast<double>(source.nFlatSize);
}

void Plain(benchmark::State& state, FMake pMake)
{
    SSource source = pMake(static_cast<size_t>(state.range(0)));
    if (!Check(source))
        return state.SkipWithError("the two ways do not agree");
    for (auto _ : state)
        benchmark::DoNotOptimize(FlattenPlainly(source.text, {"fx"}, source.files, source.files.size()).flat.data());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * source.nFlatSize));
    state.counters["flat"] = static_cast<double>(source.nFlatSize);
}

constexpr int SIZES[] = {500, 2000, 8000};

class ZRatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (!run.error_occurred)
                m_runs[run.benchmark_name()] = {run.GetAdjustedCPUTime(), run.counters.at("flat")};
    }
    void Finalize() override
    {
        for (const char* szShape : {"Siblings", "Nested"})
        {
            const auto get = [&](const char* szWay, int nSize)
            { return m_runs[std::string(szWay) + szShape + '/' + std::to_string(nSize)]; };
            const auto growth = [&](const char* szWay)
            {
                const SRun small = get(szWay, SIZES[0]);
                const SRun large = get(szWay, SIZES[2]);
                return (large.fTime / large.fBytes) / (small.fTime / small.fBytes);
            };
            for (const int nSize : SIZES)
                std::printf("%-8s %5d files: plain takes %6.1f times as long\n", szShape, nSize,
                            get("Plain", nSize).fTime / get("", nSize).fTime);
            std::printf("%-8s time per byte, %d files against %d: flattener x %.2f, plain x %.2f\n", szShape, SIZES[2],
                        SIZES[0], growth(""), growth("Plain"));
        }
    }

private:
    struct SRun
    {
        double fTime = 0.0;
        double fBytes = 1.0;
    };
    std::map<std::string, SRun> m_runs;
};

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    for (const auto& [szShape, pMake] : {std::pair("Siblings", &Siblings), std::pair("Nested", &Nested)})
        for (const int nSize : SIZES)
        {
            benchmark::RegisterBenchmark(szShape, &Flattener, pMake)->Arg(nSize)->Unit(benchmark::kMicrosecond);
            benchmark::RegisterBenchmark((std::string("Plain") + szShape).c_str(), &Plain, pMake)
                ->Arg(nSize)
                ->Unit(benchmark::kMicrosecond);
        }
    ZRatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
