// Any texts in files on disk: preprocessing gives the flat source, or a place and what is wrong; it ends, and nothing
// stays. What is collected from it does so too.
//
// The input is cut at bytes 0xff: the first piece is the source, the next ones are the files a, B.fxh and s/c.
#include "fuzz/effect/fuzzpieces.h"
#include "fuzz/fbx/fuzzrequire.h"
#include "tests/resource/_shared/effectfixtures.h"

namespace
{

/// Includes that leave the folder could read what is endless, or not the same the next time.
bool StaysInside(std::string_view text)
{
    return text.find("..") == std::string_view::npos && text.find("\"/") == std::string_view::npos &&
           text.find("</") == std::string_view::npos && text.find('\\') == std::string_view::npos;
}

void PreprocessFiles(const ZTempFolder& folder, const std::string& sSource)
{
    ZPlainCompiler compiler;
    char* pFlat = nullptr;
    char* pPreprocessed = nullptr;
    size_t nFlat = 0;
    size_t nPreprocessed = 0;
    const TArray<ZString> directories = {ZString::FromView(folder.Path()), ZString::FromView(folder / "s")};
    ZString profiles[ZPlainCompiler::PROFILE_COUNT];
    const std::vector<char> block(sSource.begin(), sSource.end()); // the address sanitizer sees a read behind it
    try
    {
        const bool bGood = compiler.Preprocess(nullptr, block.data(), block.size(), &pFlat, nFlat, &pPreprocessed,
                                               nPreprocessed, directories, {}, profiles);
        FUZZ_REQUIRE(bGood || compiler.GetLastError().IndexOf(": ") != ZString::NOT_FOUND);
        FUZZ_REQUIRE(!bGood || nPreprocessed == nFlat);
        if (bGood)
            compiler.CollectText({pPreprocessed, nPreprocessed});
    }
    catch (const zhalt_exception&)
    {
        FUZZ_REQUIRE(compiler.GetLastError().IndexOf(": ") != ZString::NOT_FOUND);
    }
    GetMemoryManager()->Free(pFlat);
    GetMemoryManager()->Free(pPreprocessed);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    const std::vector<std::string> pieces = CutPieces(pData, nSize, 4);
    for (const std::string& sPiece : pieces)
        if (!StaysInside(sPiece) || sPiece.size() > 4096)
            return 0;
    static const ZTempFolder s_folder;
    s_folder.Write("a", pieces[1]);
    s_folder.Write("B.fxh", pieces[2]);
    s_folder.Write("s/c", pieces[3]);
    const size_t nBlocks = GetMemoryManager()->LiveBlockCount();
    PreprocessFiles(s_folder, pieces[0]);
    FUZZ_REQUIRE(GetMemoryManager()->LiveBlockCount() == nBlocks);
    return 0;
}
