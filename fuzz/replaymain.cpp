// Gives a fuzz target a main() that walks its corpus, so that every build runs what fuzzing once found; then each input
// again cut short, with bytes changed and with a piece of it put elsewhere, the same ones in every run.
#include "tests/support/splitmix.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize);

namespace
{

using TInput = std::vector<uint8_t>;

constexpr size_t CUTS = 400, BENDS = 400; // of each input

void Run(TInput input)
{
    input.shrink_to_fit(); // exactly as long as the input, so that the address sanitizer sees a read one past the end
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

void RunDamaged(const TInput& input)
{
    const size_t nStep = std::max<size_t>(1, input.size() / CUTS);
    for (size_t n = 0; n < input.size(); n += nStep)
        Run(TInput(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(n)));
    ZSplitMix random(input.size());
    const auto place = [&] { return static_cast<std::ptrdiff_t>(random.Bits() % input.size()); };
    for (size_t n = 0; n < BENDS; ++n)
    {
        TInput bent = input;
        const auto [nStart, nEnd] = std::minmax({place(), place()});
        if (n % 4 == 0)
            bent.insert(bent.begin() + place(), input.begin() + nStart, input.begin() + std::min(nEnd, nStart + 64));
        for (uint32_t nBytes = random.Below(4); nBytes > 0; --nBytes)
            bent[random.Bits() % bent.size()] =
                random.Below(2) ? static_cast<uint8_t>(random.Bits()) : "\0\1\x7f\xff\"{}<>#/;"[random.Below(12)];
        Run(bent);
    }
}

} // namespace

int main(int argc, char** argv)
{
    size_t nFiles = 0;
    for (int i = 1; i < argc; ++i)
    {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i]))
        {
            if (!entry.is_regular_file())
                continue;
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
            Run(TInput(bytes.begin(), bytes.end()));
            if (!bytes.empty())
                RunDamaged(TInput(bytes.begin(), bytes.end()));
            ++nFiles;
        }
    }
    std::printf("%zu inputs replayed\n", nFiles);
    return nFiles > 0 ? 0 : 1;
}
