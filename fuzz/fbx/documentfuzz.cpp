// Any bytes: what can be read can be written, and is the same when it is read again. Across the two kinds of file only
// what a text file has no way to say may fail.
#include "fuzz/fbx/fuzzrequire.h"
#include "tests/fbx/sametree.h"

namespace
{

/// True when it was written and came back the same; false when it could not be written.
bool Again(FbxDocument& document, size_t nBytes, const SFbxRecordTree& like)
{
    std::string sWritten;
    if (!document.Write(sWritten))
    {
        FUZZ_REQUIRE(!document.Error().empty());
        return false;
    }
    FbxDocument again;
    const bool bRead = again.LoadFromMemory(sWritten.data(), sWritten.size());
    if (!bRead)
        std::fprintf(stderr, "%s\n", again.Error().c_str());
    FUZZ_REQUIRE(bRead);
    FUZZ_REQUIRE(again.GetVersion() == document.GetVersion());
    const std::string sDifference =
        TreeText(like, nBytes, false).Difference(TreeText(again.Tree(), sWritten.size(), false));
    if (!sDifference.empty())
        std::fprintf(stderr, "%s\n", sDifference.c_str());
    FUZZ_REQUIRE(sDifference.empty());
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    FbxDocument document;
    if (!document.LoadFromMemory(pData, nSize))
    {
        FUZZ_REQUIRE(!document.Error().empty());
        return 0;
    }
    const bool bWritten = Again(document, nSize, document.Tree());
    // A binary file's records are handed on as they are, unless numbers have to be turned about.
    FUZZ_REQUIRE(bWritten || !document.IsBinary() || document.Tree().bBigEndian);

    if (document.GetVersion() < 7000)
        return 0; // these have one kind

    FbxDocument other;
    FUZZ_REQUIRE(other.LoadFromMemory(pData, nSize));
    FUZZ_REQUIRE(other.SetFormat(!other.IsBinary(), other.GetVersion()));
    std::string sOther;
    if (!other.Write(sOther))
    {
        FUZZ_REQUIRE(!other.Error().empty());
        return 0;
    }
    FbxDocument again;
    FUZZ_REQUIRE(again.LoadFromMemory(sOther.data(), sOther.size()));
    return 0;
}
