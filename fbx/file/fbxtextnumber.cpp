#include "fbx/file/fbxtextnumber.h"

#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>

namespace
{

inline bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                              1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr int kMaxPower = static_cast<int>(std::size(kPowers)) - 1;
/// Whole numbers up to here are exact.
constexpr uint64_t kMaxExact = uint64_t(1) << 53;

/// Numbers that a double holds as a whole number times or by a power of ten, both exact: one rounding, which is the
/// right one. False for all others.
bool ParseShortDouble(const char* p, const char* pEnd, double& f)
{
    if (pEnd - p > 24)
        return false;
    uint64_t nDigits = 0; // all digits as one number
    const char* pBegin = p;
    for (; p != pEnd && IsDigit(*p); ++p)
        nDigits = nDigits * 10 + static_cast<uint64_t>(*p - '0');
    int nCount = static_cast<int>(p - pBegin);
    int nPower = 0;
    if (p != pEnd && *p == '.')
    {
        const char* pFraction = ++p;
        for (; p != pEnd && IsDigit(*p); ++p)
            nDigits = nDigits * 10 + static_cast<uint64_t>(*p - '0');
        nPower = -static_cast<int>(p - pFraction);
        nCount -= nPower;
    }
    if (nCount == 0 || nCount > 18 || nDigits > kMaxExact)
        return false;
    if (p != pEnd && (*p | 0x20) == 'e')
    {
        const bool bNegative = ++p != pEnd && *p == '-';
        if (p != pEnd && (*p == '-' || *p == '+'))
            ++p;
        if (p == pEnd || pEnd - p > 3)
            return false;
        int nExponent = 0;
        for (; p != pEnd && IsDigit(*p); ++p)
            nExponent = nExponent * 10 + (*p - '0');
        nPower += bNegative ? -nExponent : nExponent;
    }
    if (p != pEnd || nPower > kMaxPower || nPower < -kMaxPower)
        return false;
    f = static_cast<double>(nDigits);
    f = nPower < 0 ? f / kPowers[-nPower] : f * kPowers[nPower];
    return true;
}

bool EqualsIgnoringCase(std::string_view text, std::string_view lower)
{
    if (text.size() < lower.size())
        return false;
    for (size_t n = 0; n < lower.size(); ++n)
        if ((text[n] | 0x20) != lower[n])
            return false;
    return true;
}

} // namespace

bool FbxParseNumber(std::string_view text, SFbxValue& value)
{
    const char* p = text.data();
    const char* pEnd = p + text.size();
    if (p != pEnd && *p == '+')
        ++p;
    const bool bNegative = p != pEnd && *p == '-';
    const char* pDigits = bNegative ? p + 1 : p;
    if (pDigits == pEnd)
        return false;

    // Almost all numbers are short integers.
    if (pEnd - pDigits <= 18)
    {
        int64_t nValue = 0;
        const char* q = pDigits;
        while (q != pEnd && IsDigit(*q))
            nValue = nValue * 10 + (*q++ - '0');
        if (q == pEnd)
        {
            value.type = 'I';
            value.i = bNegative ? -nValue : nValue;
            if (bNegative && nValue == 0)
            {
                value.type = 'D';
                value.d = -0.0;
            }
            return true;
        }
    }
    if (pEnd - pDigits > 18 && text.find('.') == std::string_view::npos)
    {
        int64_t nInteger = 0;
        const auto asInteger = std::from_chars(p, pEnd, nInteger);
        if (asInteger.ec == std::errc() && asInteger.ptr == pEnd)
        {
            value.type = 'I';
            value.i = nInteger;
            return true;
        }
    }
    const std::string_view rest(pDigits, static_cast<size_t>(pEnd - pDigits));
    value.type = 'D';
    if (ParseShortDouble(pDigits, pEnd, value.d))
    {
        value.d = bNegative ? -value.d : value.d;
        return true;
    }
    if (rest.size() > 3 && rest.substr(1, 2) == ".#")
    {
        const bool bInfinite = EqualsIgnoringCase(rest.substr(3), "inf");
        const double f = bInfinite ? std::numeric_limits<double>::infinity() : std::numeric_limits<double>::quiet_NaN();
        value.d = bNegative ? -f : f;
        return true;
    }
    if (EqualsIgnoringCase(rest, "inf") || EqualsIgnoringCase(rest, "nan"))
    {
        const double f = (rest[0] | 0x20) == 'i' ? std::numeric_limits<double>::infinity()
                                                 : std::numeric_limits<double>::quiet_NaN();
        value.d = bNegative ? -f : f;
        return true;
    }
    double fValue = 0.0;
    const auto asDouble = std::from_chars(p, pEnd, fValue);
    if (asDouble.ptr != pEnd)
        return false;
    if (asDouble.ec == std::errc::result_out_of_range)
    {
        // Too small or too large for a double; where a wider type can't tell which, the exponent's sign does.
        long double fWide = 0.0L;
        const bool bSmall =
            std::from_chars(p, pEnd, fWide).ec == std::errc()
                ? std::fabs(fWide) < 1.0L
                : rest.find("e-") != std::string_view::npos || rest.find("E-") != std::string_view::npos;
        fValue = bSmall ? 0.0 : std::numeric_limits<double>::infinity();
        if (bNegative)
            fValue = -fValue;
    }
    else if (asDouble.ec != std::errc())
        return false;
    value.d = fValue;
    return true;
}

const char* FbxParsePlainNumber(const char* p, const char* pEnd, SFbxValue& value)
{
    const bool bNegative = p != pEnd && *p == '-';
    p += bNegative;
    uint64_t nDigits = 0; // all digits as one number
    const char* pBegin = p;
    for (; p != pEnd && IsDigit(*p); ++p)
        nDigits = nDigits * 10 + static_cast<uint64_t>(*p - '0');
    std::ptrdiff_t nCount = p - pBegin;
    std::ptrdiff_t nFraction = 0;
    const bool bPoint = p != pEnd && *p == '.';
    if (bPoint)
    {
        for (++p; p != pEnd && IsDigit(*p); ++p)
            nDigits = nDigits * 10 + static_cast<uint64_t>(*p - '0');
        nFraction = p - pBegin - nCount - 1;
        nCount += nFraction;
    }
    const bool bEnds = p != pEnd && (*p == ',' || *p == '\n' || *p == '\r' || *p == '}');
    if (!bEnds || nCount == 0 || nCount > 18 || (bPoint && nDigits > kMaxExact) || (bNegative && nDigits == 0))
        return nullptr;
    value.type = bPoint ? 'D' : 'I';
    if (bPoint)
    {
        const double f = static_cast<double>(nDigits) / kPowers[nFraction];
        value.d = bNegative ? -f : f;
    }
    else
        value.i = bNegative ? -static_cast<int64_t>(nDigits) : static_cast<int64_t>(nDigits);
    return p;
}

bool FbxLooksLikeNumber(std::string_view word)
{
    const char c = word.empty() ? '\0' : word[0];
    return IsDigit(c) || c == '-' || c == '+' || c == '.' || EqualsIgnoringCase(word, "nan") ||
           EqualsIgnoringCase(word, "inf");
}
