#include "resource/_shared/fxscan.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdlib>

namespace FXCompilerUtil
{

namespace
{

/// strtod reads the decimal point of the locale in force, which a host may have set to a comma.
locale_t PlainLocale()
{
    static const locale_t s_locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
    return s_locale;
}

} // namespace

SLocation FindLocation(const char* pText, size_t nPosition, size_t nSize)
{
    std::string_view file = SOURCE_FILE;
    uint32_t nLine = 1;
    SLineDirective directive;
    for (size_t n = 0; n < std::min(nPosition, nSize); ++n)
    {
        if (pText[n] == '\n')
            ++nLine;
        else if (pText[n] == '#')
        {
            if (FindLineDirective(pText, n, nSize, directive))
            {
                file = directive.name;
                nLine = directive.nNumber - 1; // the number is that of the line behind
                n = directive.nEnd - 1;
            }
            else
                while (n + 1 < nSize && pText[n + 1] != '\n')
                    ++n;
        }
    }
    return {ZString::FromView(file), nLine};
}

ZString NormalizeReferencePath(const ZString& path)
{
    ZString result;
    char cLast = '\0';
    for (const char cOriginal : path.View())
    {
        const char c = cOriginal == '\\' ? '/' : FoldCase(cOriginal);
        if (c != '/' || cLast != '/')
            result.Append(c);
        cLast = c;
    }
    return result;
}

uint32_t ParseUnsigned(const char* szText)
{
    const bool bNegative = *szText == '-';
    if (bNegative && (szText[1] == '-' || szText[1] == '+'))
        return 0;
    const unsigned long long nMagnitude = std::strtoull(szText + (bNegative ? 1 : 0), nullptr, 0);
    if (nMagnitude > UINT32_MAX)
        return UINT32_MAX;
    const auto nValue = static_cast<uint32_t>(nMagnitude);
    return bNegative ? 0u - nValue : nValue;
}

int32_t ParseInteger(const char* szText)
{
    return static_cast<int32_t>(std::clamp<long long>(std::strtoll(szText, nullptr, 10), INT32_MIN, INT32_MAX));
}

double ParseReal(const char* szText)
{
    return ::strtod_l(szText, nullptr, PlainLocale());
}

uint32_t TruncateToUnsigned(double fValue)
{
    constexpr double fLimit = 9223372036854775808.0;
    if (!(fValue > -fLimit && fValue < fLimit))
        return 0;
    return static_cast<uint32_t>(static_cast<int64_t>(fValue));
}

} // namespace FXCompilerUtil
