// Any bytes behind any head: records come out whole, or a text says why not.
#include "fuzz/fbx/recordwalk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    SFbxHead head = FbxReadHead(pData, nSize);
    if (head.eFormat != EFbxFormat::eBinary)
        return 0;
    SFbxRecordTree tree;
    std::string sError;
    if (FbxReadBinary(pData, nSize, head, tree, sError))
        WalkRecords(tree, nSize);
    else
        FUZZ_REQUIRE(!sError.empty());
    return 0;
}
