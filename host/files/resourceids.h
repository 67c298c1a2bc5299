#pragma once

#include "base/misc/hash.h"
#include "base/misc/zresourceid.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace Host
{

inline ZString ToZString(std::string_view text)
{
    return ZString::FromView(text);
}

inline std::string ToStd(const ZString& text)
{
    return std::string(text.View());
}

inline std::string ToStd(const ZResourceID& id)
{
    return ToStd(id.ToString());
}

inline ZResourceID ToId(std::string_view text)
{
    return ZResourceID(ToZString(text));
}

inline std::string ToLower(std::string_view text)
{
    std::string sLower(text);
    std::transform(sLower.begin(), sLower.end(), sLower.begin(), FoldCase);
    return sLower;
}

/// The one spelling of an identifier under which the host knows a packed resource: packers lower-case theirs, so two
/// spellings that differ in case name one resource.
inline std::string CanonicalId(const ZResourceID& id)
{
    return ToLower(id.ToString().View());
}

} // namespace Host
