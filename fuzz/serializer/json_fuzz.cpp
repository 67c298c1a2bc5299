// Any bytes: the text parses, or fails with a place and a reason; what was parsed can be read.
#include "system/serializer/jsonvalue.h"

#include <cstdlib>

namespace
{

size_t Walk(const ZJsonValue& value)
{
    size_t nValues = 1;
    for (const ZJsonValue& element : value.AsArray(EJsonValidationMode::eLenient))
        nValues += Walk(element);
    for (const auto& [key, member] : value.AsObject(EJsonValidationMode::eLenient))
        nValues += Walk(member) + key.Length();
    return nValues + value.AsString(EJsonValidationMode::eLenient).Length() +
           static_cast<size_t>(value.AsInt32(EJsonValidationMode::eLenient) != 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    const size_t nBlocks = GetMemoryManager()->LiveBlockCount();
    try
    {
        const ZString text = ZString::FromView({reinterpret_cast<const char*>(pData), nSize});
        if (Walk(ZJsonValue(text)) > 4 * nSize + 4)
            std::abort(); // more than the text can hold
    }
    catch (const ZJsonException& e)
    {
        if (!e.Message().StartsWith("line "))
            std::abort();
    }
    if (GetMemoryManager()->LiveBlockCount() != nBlocks)
        std::abort();
    return 0;
}
