#pragma once

#include "resource/_shared/fxreflection.h"

/// What reading effect text takes beyond fxcompilerutil.h: the compiler base's own, which does not leave the module.
namespace FXCompilerUtil
{

/// The place of a position as the #line directives before it tell: SOURCE_FILE and counting from 1 without any. Reads
/// the text from its start, so it is for failures only.
struct SLocation
{
    ZString file;
    uint32_t nLine = 1;
};
SLocation FindLocation(const char* pText, size_t nPosition, size_t nSize);

/// Backslashes become slashes, letters lower case, and every run of slashes one slash.
ZString NormalizeReferencePath(const ZString& path);

// Numbers as C reads the start of a text, in the C locale whatever the program has set, and defined for every input.

/// Base 0, so 0x and 0 choose the base; beyond 32 bits it stays at the highest number; a minus sign negates.
uint32_t ParseUnsigned(const char* szText);
/// Beyond 32 bits it stays at the nearest number.
int32_t ParseInteger(const char* szText);
double ParseReal(const char* szText);
/// Cuts off the fraction and keeps the low 32 bits of a 64-bit integer; what does not fit that, NaN included, gives 0.
uint32_t TruncateToUnsigned(double fValue);

/// A walk over effect text.
struct SScan
{
    const char* pText = nullptr;
    size_t nSize = 0;
    size_t nPosition = 0;
    uint32_t nLine = static_cast<uint32_t>(-1);
    ZString within; ///< what is being read, for a failure's text; empty between declarations
    char token[TOKEN_SIZE] = {};
};

/// Reads a sampler's settings from the opening brace to the semicolon behind the closing one. Keys and words are
/// compared exactly; keys that are not known are passed over, words that are not known fail. #line directives may stand
/// between settings.
void ReadSamplerBody(SScan& scan, SFXSamplerState& sampler);

} // namespace FXCompilerUtil
