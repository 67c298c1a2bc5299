#pragma once

#include "base/misc/zresourceid.h"

#include <ostream>

// Texts in failure messages, instead of the bytes of their objects.
inline void PrintTo(const ZString& text, std::ostream* pStream)
{
    *pStream << '"' << text.View() << '"';
}
inline void PrintTo(const ZResourceID& id, std::ostream* pStream)
{
    *pStream << id.ToString().View();
}
