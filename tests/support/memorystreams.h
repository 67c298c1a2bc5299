#pragma once

#include "base/component/componentmanager.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "system/io/streams.h"

#include <string_view>

/// A stream over bytes that stay where they are.
inline TComponentScope<IInputStream> OpenBytes(TArrayRef<const uint8_t> bytes)
{
    ImportSystemIOModule();
    return TComponentScope<IInputStream>(CreateComponent<IInputStream>(MEMORY_INPUT_STREAM, bytes));
}

inline TComponentScope<IInputStream> OpenText(std::string_view text)
{
    return OpenBytes({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

/// What the call writes to the stream that it is given.
template <class TWrite>
TArray<uint8_t> BytesOf(TWrite write)
{
    ImportSystemIOModule();
    TArray<uint8_t> bytes;
    TArray<uint8_t>* pBytes = &bytes;
    const TComponentScope<IOutputStream> stream(CreateComponent<IOutputStream>(MEMORY_OUTPUT_STREAM, pBytes));
    write(stream.Get());
    return bytes;
}
