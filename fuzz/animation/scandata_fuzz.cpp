// Any bytes as a blob of scan data: a record no larger than they can justify, which is the same once written and read.
#include "fuzz/animation/fuzzinput.h"
#include "resource/_shared/_internal/resourcescandata.h"
#include "tests/support/memorystreams.h"

namespace
{

TArray<uint8_t> Write(const SResourceScanData& data)
{
    return BytesOf([&data](IOutputStream* pStream) { WriteResourceScanData(pStream, data); });
}

void Run(const uint8_t* pData, size_t nSize)
{
    const ZFuzzInput input(pData, nSize);
    try
    {
        ZScanDataReader reader(input.Stream());
        const SResourceScanData data = ReadResourceScanData(reader);
        FUZZ_REQUIRE(data.subResources.Size() <= nSize);
        const TArray<uint8_t> bytes = Write(data);
        const ZFuzzInput again(bytes.GetStart(), bytes.Size());
        ZScanDataReader second(again.Stream());
        FUZZ_REQUIRE(Write(ReadResourceScanData(second)) == bytes);
    }
    catch (const zhalt_exception&)
    {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    return FuzzWithoutLeaks(pData, nSize, &Run);
}
