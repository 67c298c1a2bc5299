#pragma once

#include "resource/_shared/fxreflection.h"

namespace Samples
{

/// Reads the passes of a technique:
///
///   pass NAME < annotations > { NAME = VALUE;  FUNCTION(ARGUMENTS);  ... }
///
/// Name and annotations may be left out. A value reaches to the semicolon outside of brackets, braces and quotes, its
/// white space cut down to single blanks. The position stands behind the technique's opening brace and is left before
/// its closing one. What does not fit fails as scanning functions do.
void ReadPasses(const char* pText, size_t nSize, uint32_t& nLine, size_t& nPosition, TArray<SFXPass>& passes);

} // namespace Samples
