#include "host/text/safenames.h"

#include "host/text/words.h"

#include <algorithm>

namespace Host
{

namespace
{

constexpr size_t MOST_LETTERS = 64;

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsSafe(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || IsDigit(c) || c == '-';
}

/// Names of devices, which no folder of some systems can hold a file of.
bool IsDevice(const std::string& sLower)
{
    if (sLower == "con" || sLower == "prn" || sLower == "aux" || sLower == "nul")
        return true;
    return sLower.size() == 4 && (sLower.starts_with("com") || sLower.starts_with("lpt")) && IsDigit(sLower[3]);
}

} // namespace

std::string SafeName(std::string_view name, std::string_view fallback)
{
    std::string sSafe;
    for (const char c : name)
    {
        if (IsSafe(c))
            sSafe += c;
        else if (!sSafe.empty() && sSafe.back() != '_')
            sSafe += '_';
    }
    sSafe.resize(std::min(sSafe.size(), MOST_LETTERS));
    while (sSafe.ends_with('_'))
        sSafe.pop_back();
    if (sSafe.empty())
        return std::string(fallback);
    return IsDevice(ToLower(sSafe)) ? sSafe + "_" + std::string(fallback) : sSafe;
}

std::string BareName(std::string_view name)
{
    const std::string_view bare = name.substr(name.rfind(':') + 1);
    return bare.empty() ? std::string("bone") : std::string(bare);
}

std::string_view PlainStackName(std::string_view name)
{
    std::string_view plain = name;
    while (plain.find('|') != std::string_view::npos)
    {
        const std::string_view last = plain.substr(plain.rfind('|') + 1);
        const std::string sLower = ToLower(last);
        if (!last.empty() && !sLower.starts_with("baselayer") && !sLower.starts_with("layer"))
            return last;
        plain = plain.substr(0, plain.rfind('|'));
    }
    return plain;
}

bool IsIdleStackName(std::string_view name)
{
    std::string sLetters;
    for (const char c : ToLower(PlainStackName(name)))
        if (IsSafe(c) && !IsDigit(c))
            sLetters += c;
    constexpr std::string_view IDLE[] = {"",         "take",      "mixamocom",      "unrealtake",     "default",
                                         "anim",     "animation", "animationstack", "animstack",      "scene",
                                         "action",   "armature",  "timeline",       "armatureaction", "defaulttake",
                                         "untitled", "clip"};
    return std::find(std::begin(IDLE), std::end(IDLE), sLetters) != std::end(IDLE);
}

std::string ZNameSet::Take(std::string_view name)
{
    std::string sName(name);
    for (size_t n = 2; !m_taken.insert(ToLower(sName)).second; ++n)
        sName = std::string(name) + '_' + std::to_string(n);
    return sName;
}

bool ZNameSet::Has(std::string_view name) const
{
    return m_taken.contains(ToLower(name));
}

} // namespace Host
