// Loading from memory: megabytes of file a second. The plain reader beside it walks the same records and inflates
// every array it meets, once each, and does nothing with them: what a reader must do that has no sharing and no
// stepping over.
#include "bench/fbx/benchscenes.h"

#include "fbx/file/fbxrecord.h"

#include <benchmark/benchmark.h>
#include <libdeflate.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace
{

class PlainReader
{
public:
    explicit PlainReader(const std::string& sFile)
        : m_p(reinterpret_cast<const uint8_t*>(sFile.data())), m_nSize(sFile.size())
    {
        std::memcpy(&m_nVersion, m_p + 23, 4);
    }
    size_t Read()
    {
        m_pDecompressor = libdeflate_alloc_decompressor();
        ReadList(27, m_nSize);
        libdeflate_free_decompressor(m_pDecompressor);
        return m_nBytes;
    }

private:
    uint64_t Field(size_t nAt) const
    {
        uint64_t n = 0;
        std::memcpy(&n, m_p + nAt, m_nVersion >= 7500 ? 8 : 4);
        return n;
    }
    uint32_t Word(size_t nAt) const
    {
        uint32_t n;
        std::memcpy(&n, m_p + nAt, 4);
        return n;
    }
    void ReadList(size_t nAt, size_t nEnd)
    {
        const size_t nField = m_nVersion >= 7500 ? 8 : 4;
        while (nAt + 3 * nField < nEnd)
        {
            const uint64_t nRecordEnd = Field(nAt);
            if (nRecordEnd == 0)
                return;
            size_t nValue = nAt + 3 * nField + 1 + m_p[nAt + 3 * nField];
            const size_t nChildren = nValue + Field(nAt + 2 * nField);
            m_names.emplace_back(reinterpret_cast<const char*>(m_p + nAt + 3 * nField + 1), m_p[nAt + 3 * nField]);
            while (nValue < nChildren)
                nValue = ReadValue(nValue);
            if (nChildren < nRecordEnd)
                ReadList(nChildren, nRecordEnd);
            nAt = nRecordEnd;
        }
    }
    size_t ReadValue(size_t nAt)
    {
        const char type = static_cast<char>(m_p[nAt++]);
        switch (type)
        {
        case 'C':
            return nAt + 1;
        case 'Y':
            return nAt + 2;
        case 'I':
        case 'F':
            return nAt + 4;
        case 'L':
        case 'D':
            return nAt + 8;
        case 'S':
        case 'R':
            m_names.emplace_back(reinterpret_cast<const char*>(m_p + nAt + 4), Word(nAt));
            return nAt + 4 + Word(nAt);
        default:
            break;
        }
        const size_t nBytes = size_t(Word(nAt)) * (type == 'l' || type == 'd' ? 8 : type == 'b' ? 1 : 4);
        m_arrays.push_back(std::make_unique<uint8_t[]>(nBytes));
        const size_t nStored = Word(nAt + 8);
        if (Word(nAt + 4) == 1)
            libdeflate_zlib_decompress(m_pDecompressor, m_p + nAt + 12, nStored, m_arrays.back().get(), nBytes,
                                       nullptr);
        else
            std::memcpy(m_arrays.back().get(), m_p + nAt + 12, nBytes);
        m_nBytes += nBytes;
        return nAt + 12 + nStored;
    }

    const uint8_t* m_p;
    size_t m_nSize;
    uint32_t m_nVersion = 0;
    size_t m_nBytes = 0;
    libdeflate_decompressor* m_pDecompressor = nullptr;
    std::vector<std::string> m_names;
    std::vector<std::unique_ptr<uint8_t[]>> m_arrays;
};

template <class Work>
double SecondsOf(Work work)
{
    const double fBegin = ThreadSeconds();
    work();
    return ThreadSeconds() - fBegin;
}

void Load(benchmark::State& state, const std::string& sFile)
{
    size_t nNodes = 0;
    int nPlain = 0;
    double fOwnBeside = 0.0;
    double fPlain = 0.0;
    for (auto _ : state)
    {
        const double f = SecondsOf(
            [&]
            {
                LoadedScene scene(sFile);
                if (!scene.IsLoaded())
                    state.SkipWithError("does not load");
                nNodes = scene->GetNodeCount();
            });
        state.SetIterationTime(f);
        // Next to it in time, so that both see the same machine; a few rounds are enough.
        if (nPlain++ < 10)
        {
            fOwnBeside += f;
            fPlain += SecondsOf([&] { benchmark::DoNotOptimize(PlainReader(sFile).Read()); });
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(sFile.size()) * state.iterations());
    state.counters["nodes/s"] = benchmark::Counter(
        static_cast<double>(nNodes) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["plain/own"] = fPlain / fOwnBeside;
}

} // namespace

int main(int argc, char** argv)
{
    const struct
    {
        const char* szName;
        std::string sFile;
    } files[] = {
        {"Load/baked80x600", MakeBakedScene(80, 600)},
        {"Load/cubic80x600", MakeCubicScene(80, 600)},
        {"Load/nodes10000", MakeNodeScene(10000)},
        {"Load/mesh64MB", MakeMeshScene(size_t(64) << 20)},
        {"Load/locomotion", ReadShared("samples/assembly/characters/hero/locomotion.fbx")},
        {"Load/locomotions", ReadShared("fbx-corpus/files/locomotions.fbx")},
        {"Load/mixamo", ReadShared("fbx-corpus/files/mixamo.fbx")},
        {"Load/small", ReadShared("fbx-corpus/files/maya_resampled_7500_binary.fbx")},
        {"Load/old80x600", MakeOldScene(80, 600, false)},
        {"Text/baked80x600", MakeBakedScene(80, 600, true)},
        {"Text/nodes10000", MakeNodeScene(10000, true)},
        {"Text/mesh16MB", MakeMeshScene(size_t(16) << 20, true)},
        {"Text/old80x600", MakeOldScene(80, 600, true)},
        {"Text/corpus", ReadShared("fbx-corpus/files/motionbuilder_sausage_rrss_7700_ascii.fbx")},
    };
    for (const auto& file : files)
    {
        if (file.sFile.empty())
        {
            std::fprintf(stderr, "%s: left out, its file is not there\n", file.szName);
            continue;
        }
        const bool bText = std::string_view(file.szName).substr(0, 5) == "Text/";
        if (bText)
            benchmark::RegisterBenchmark(file.szName,
                                         [&file](benchmark::State& state)
                                         {
                                             if (!LoadedScene(file.sFile).IsLoaded())
                                                 state.SkipWithError("does not load");
                                             for (auto _ : state)
                                                 benchmark::DoNotOptimize(LoadedScene(file.sFile).IsLoaded());
                                             state.SetBytesProcessed(static_cast<int64_t>(file.sFile.size()) *
                                                                     state.iterations());
                                         });
        else
            benchmark::RegisterBenchmark(file.szName, [&file](benchmark::State& state) { Load(state, file.sFile); })
                ->UseManualTime();
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
