#pragma once

#include "base/misc/zresourceid.h"
#include "host/text/words.h"

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

/// The one spelling of an identifier under which the host knows a packed resource: packers lower-case theirs, so two
/// spellings that differ in case name one resource.
inline std::string CanonicalId(const ZResourceID& id)
{
    return ToLower(id.ToString().View());
}

} // namespace Host
