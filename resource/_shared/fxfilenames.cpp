#include "resource/_shared/fxfilenames.h"

#include "base/misc/hash.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

namespace
{

constexpr size_t LONGEST_PATH = 4096;

std::string Lowered(std::string_view text)
{
    std::string result(text);
    for (char& c : result)
        c = FoldCase(c);
    return result;
}

} // namespace

ZString ZFXFileNames::Find(const ZString& path)
{
    const std::string_view text = path.View();
    if (text.size() >= LONGEST_PATH)
        return {};
    std::string sFound;
    for (size_t nStart = 0; nStart < text.size();)
    {
        const size_t nEnd = std::min(text.find('/', nStart), text.size());
        const std::string_view part = text.substr(nStart, nEnd - nStart);
        std::string sNext = sFound;
        sNext += part;
        std::error_code error;
        if (!part.empty() && !std::filesystem::exists(sNext, error))
        {
            const TNames& names = NamesIn(sFound.empty() ? "." : sFound);
            const auto it = names.find(Lowered(part));
            if (it == names.end())
                return {};
            sNext = sFound + it->second;
        }
        sFound = std::move(sNext);
        if (nEnd < text.size())
            sFound += '/';
        nStart = nEnd + 1;
    }
    return ZString::FromView(sFound);
}

const ZFXFileNames::TNames& ZFXFileNames::NamesIn(const std::string& sFolder)
{
    static const TNames s_none;
    const auto itKnown = m_folders.find(sFolder);
    if (itKnown != m_folders.end() || m_nNames >= MOST_NAMES)
        return itKnown != m_folders.end() ? itKnown->second : s_none;
    ++m_nNames;
    TNames& names = m_folders[sFolder];
    std::error_code error;
    for (std::filesystem::directory_iterator entry(sFolder, error), end;
         !error && entry != end && m_nNames < MOST_NAMES; entry.increment(error))
    {
        ++m_nNames;
        const std::string sEntry = entry->path().filename().string();
        std::string& sName = names[Lowered(sEntry)];
        if (sName.empty() || sEntry < sName)
            sName = sEntry;
    }
    return names;
}
