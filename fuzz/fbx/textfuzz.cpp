// Any text: records come out whole, or a text says why not.
#include "fuzz/fbx/recordwalk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    SFbxHead head;
    head.eFormat = EFbxFormat::eText;
    head.nVersion = 7400;
    SFbxRecordTree tree;
    std::string sError;
    if (FbxReadText(pData, nSize, head, tree, sError))
        WalkRecords(tree, nSize);
    else
        FUZZ_REQUIRE(!sError.empty());
    return 0;
}
