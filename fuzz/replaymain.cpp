// Gives a fuzz target a main() that walks its corpus, so that every build runs what fuzzing once found.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize);

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
            // Exactly as long as the file, so that the address sanitizer sees a read one past the end.
            const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
            std::vector<uint8_t> input(bytes.begin(), bytes.end());
            input.shrink_to_fit();
            LLVMFuzzerTestOneInput(input.data(), input.size());
            ++nFiles;
        }
    }
    std::printf("%zu inputs replayed\n", nFiles);
    return nFiles > 0 ? 0 : 1;
}
