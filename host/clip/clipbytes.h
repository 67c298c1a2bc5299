#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>

namespace Host
{

static_assert(std::endian::native == std::endian::little, "glTF and pages hold little-endian numbers");

/// Appends a number as glTF and pages have it.
template <class T>
void AppendBytes(std::string& sBytes, T value)
{
    char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    sBytes.append(bytes, sizeof bytes);
}

} // namespace Host
