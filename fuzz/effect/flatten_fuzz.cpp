// Any texts: flattening ends, reads nothing behind a text's end, and what ends in the plain way too is the same bytes.
//
// The input is cut at bytes 0xff: the first piece is the source, the next ones are the files a, b, s/c and s/d.
#include "fuzz/effect/fuzzpieces.h"
#include "fuzz/effect/plainflattening.h"
#include "fuzz/fbx/fuzzrequire.h"
#include "tests/resource/_shared/effectfixtures.h"

namespace
{

constexpr size_t MOST_SPLICES = 60; // of the plain way, which is slow

struct SEnough
{
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    const std::vector<std::string> pieces = CutPieces(pData, nSize, 5);
    const TEffectFiles files = {{"d/a", pieces[1]}, {"d/b", pieces[2]}, {"d/s/c", pieces[3]}, {"s/d", pieces[4]}};

    const size_t nBlocks = GetMemoryManager()->LiveBlockCount();
    {
        const PlainFlattening plain(pieces[0], {"d", "."}, files, MOST_SPLICES);
        // Exactly as long as the text, so that the address sanitizer sees a read behind it.
        const std::vector<char> source(pieces[0].begin(), pieces[0].end());
        const TArray<ZString> directories = {"d", "."};
        ZFXFlattener flattener(source.data(), source.size(), directories, ReaderOf(files));
        // What the plain way did not finish may fill all that the bounds allow; a part of it is enough here.
        size_t nFound = 0;
        try
        {
            const bool bGood = flattener.Run(
                [&](const ZString& path)
                {
                    FUZZ_REQUIRE(nFound >= plain.found.size() || path.View() == plain.found[nFound].c_str());
                    if (++nFound > 2 * MOST_SPLICES)
                        throw SEnough();
                });
            FUZZ_REQUIRE(bGood || !flattener.Error().IsEmpty());
            FUZZ_REQUIRE(plain.eEnd == PlainFlattening::eStopped || bGood == (plain.eEnd == PlainFlattening::eDone));
            if (plain.eEnd == PlainFlattening::eDone)
            {
                char* pFlat = flattener.CopyFlat();
                FUZZ_REQUIRE(plain.flat == std::string_view(pFlat, flattener.Size()));
                GetMemoryManager()->Free(pFlat);
            }
        }
        catch (const FXCompilerUtil::SFXScanFailure& failure)
        {
            FUZZ_REQUIRE(plain.eEnd == PlainFlattening::eMalformed || plain.eEnd == PlainFlattening::eStopped);
            FUZZ_REQUIRE(!failure.detail.IsEmpty());
        }
        catch (const SEnough&)
        {
            FUZZ_REQUIRE(plain.eEnd == PlainFlattening::eStopped);
        }
        if (plain.eEnd != PlainFlattening::eStopped)
            FUZZ_REQUIRE(nFound == plain.found.size());
    }
    FUZZ_REQUIRE(GetMemoryManager()->LiveBlockCount() == nBlocks);
    return 0;
}
