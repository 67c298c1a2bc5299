#pragma once

#include <cstddef>

namespace Os
{

/// Of standard error.
struct STerminal
{
    bool bTerminal = false;
    size_t nColumns = 0; ///< 0: not known
};
STerminal ErrorTerminal();

} // namespace Os
