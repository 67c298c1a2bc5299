#pragma once

#include "base/component/componentmanager.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "fuzz/fbx/fuzzrequire.h"
#include "system/io/streams.h"

/// The input as a stream, with assertions that let the program go on: what a document breaks must be survived.
class ZFuzzInput
{
public:
    ZFuzzInput(const uint8_t* pData, size_t nSize) : m_bytes(pData, nSize)
    {
        ImportSystemIOModule();
        SetAssertHandler(&GoOn);
        m_stream =
            TComponentSharedPtr<IInputStream>::Adopt(CreateComponent<IInputStream>(MEMORY_INPUT_STREAM, m_bytes));
    }
    IInputStream* Stream() const { return m_stream.Get(); }

private:
    static bool GoOn(const char*, int, const char* szExpression, bool*, const char*, const char*)
    {
        FUZZ_REQUIRE(szExpression[0] != '\0');
        return true;
    }

    TArrayRef<const uint8_t> m_bytes;
    TComponentSharedPtr<IInputStream> m_stream;
};

/// Runs the target, and once before for what is made at first use; nothing stays allocated.
template <class TRun>
int FuzzWithoutLeaks(const uint8_t* pData, size_t nSize, TRun run)
{
    static bool s_bFirst = true;
    if (s_bFirst)
        run(pData, nSize);
    s_bFirst = false;
    const size_t nBefore = GetMemoryManager()->LiveBlockCount();
    run(pData, nSize);
    FUZZ_REQUIRE(GetMemoryManager()->LiveBlockCount() == nBefore);
    return 0;
}
