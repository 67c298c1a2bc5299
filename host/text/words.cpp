#include "host/text/words.h"

#include "base/misc/hash.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace Host
{

std::string ToLower(std::string_view text)
{
    std::string sLower(text);
    std::transform(sLower.begin(), sLower.end(), sLower.begin(), FoldCase);
    return sLower;
}

std::string_view Trimmed(std::string_view text)
{
    const size_t nStart = text.find_first_not_of(" \t");
    if (nStart == std::string_view::npos)
        return {};
    return text.substr(nStart, text.find_last_not_of(" \t") - nStart + 1);
}

bool IsNumber(std::string_view text, double& fValue)
{
    text = Trimmed(text);
    if (text.starts_with('+'))
        text.remove_prefix(1);
    const auto [pEnd, error] = std::from_chars(text.data(), text.data() + text.size(), fValue);
    return error == std::errc() && pEnd == text.data() + text.size() && std::isfinite(fValue);
}

std::string NearestName(std::string_view name, const std::vector<std::string>& candidates)
{
    std::string sNearest;
    // A third of the letters may differ, or a piece of the name will do.
    size_t nFewest = name.size() / 3 + 1;
    const std::string sName = ToLower(name);
    for (const std::string& sCandidate : candidates)
    {
        const std::string sLower = ToLower(sCandidate);
        std::vector<size_t> row(sLower.size() + 1);
        for (size_t i = 0; i < row.size(); ++i)
            row[i] = i;
        for (size_t n = 0; n < sName.size(); ++n)
        {
            size_t nDiagonal = row[0]++;
            for (size_t i = 1; i < row.size(); ++i)
            {
                const size_t nChange = nDiagonal + (sName[n] != sLower[i - 1]);
                nDiagonal = row[i];
                row[i] = std::min({row[i] + 1, row[i - 1] + 1, nChange});
            }
        }
        size_t nChanges = row.back();
        if (sName.size() >= 3 && sLower.find(sName) != std::string::npos)
            nChanges = std::min<size_t>(nChanges, 1);
        if (nChanges < nFewest || (nChanges == nFewest && sNearest.empty()))
        {
            nFewest = nChanges;
            sNearest = sCandidate;
        }
    }
    return sNearest;
}

} // namespace Host
