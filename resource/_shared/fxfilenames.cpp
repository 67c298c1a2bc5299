#include "resource/_shared/fxfilenames.h"

#include "base/misc/hash.h"

#include <algorithm>
#include <climits>
#include <dirent.h>
#include <string_view>
#include <unistd.h>

namespace
{

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
    if (text.size() >= PATH_MAX)
        return {};
    std::string sFound;
    for (size_t nStart = 0; nStart < text.size();)
    {
        const size_t nEnd = std::min(text.find('/', nStart), text.size());
        const std::string_view part = text.substr(nStart, nEnd - nStart);
        std::string sNext = sFound;
        sNext += part;
        if (!part.empty() && ::access(sNext.c_str(), F_OK) != 0)
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
    DIR* pFolder = ::opendir(sFolder.c_str());
    if (pFolder == nullptr)
        return names;
    while (const dirent* pEntry = m_nNames < MOST_NAMES ? ::readdir(pFolder) : nullptr)
    {
        ++m_nNames;
        std::string& sName = names[Lowered(pEntry->d_name)];
        if (sName.empty() || pEntry->d_name < sName)
            sName = pEntry->d_name;
    }
    ::closedir(pFolder);
    return names;
}
