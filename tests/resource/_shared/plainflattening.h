#pragma once

#include <cctype>
#include <map>
#include <string>
#include <vector>

/// Flattening the plain way: one text, copied whole for every include. Slow, short, and written apart from the code
/// that it is compared with. Files are a map from path to bytes.
struct SPlainFlattening
{
    enum EEnd
    {
        eDone,
        eNotFound,
        eMalformed,
        eStopped ///< after nMostSplices
    };
    EEnd eEnd = eDone;
    std::string flat;
    std::vector<std::string> found; ///< paths in order
};

inline SPlainFlattening FlattenPlainly(const std::string& source, const std::vector<std::string>& directories,
                                       const std::map<std::string, std::string>& files, size_t nMostSplices)
{
    SPlainFlattening result;
    std::string text = source;
    std::string current = "sourcefile";
    unsigned int nLine = 2;
    size_t p = 0;

    const auto skip = [&](size_t& n)
    {
        for (; n < text.size() && (text[n] == ' ' || text[n] == '\t' || text[n] == '\r' || text[n] == '\n'); ++n)
            nLine += text[n] == '\n';
    };
    const auto keyword = [&](const std::string& word)
    {
        if (p + word.size() >= text.size())
            return false;
        for (size_t n = 0; n < word.size(); ++n)
            if (std::tolower(static_cast<unsigned char>(text[p + n])) != word[n])
                return false;
        const auto cNext = static_cast<unsigned char>(text[p + word.size()]);
        return !(cNext < 128 && (std::isalnum(cNext) || cNext == '_'));
    };
    // Leaves n on the closing mark.
    const auto quoted = [&](size_t& n, std::string& name)
    {
        skip(n);
        if (n >= text.size() || (text[n] != '"' && text[n] != '<'))
            return false;
        const size_t nEnd = text.find_first_of("\">", n + 1);
        if (nEnd == std::string::npos)
            return false;
        name = text.substr(n + 1, nEnd - n - 1);
        for (const char c : name)
            nLine += c == '\n';
        name = name.c_str(); // it ends at a zero byte
        n = nEnd;
        return true;
    };

    for (;;)
    {
        skip(p);
        if (p >= text.size())
            break;
        if (text[p] != '#')
            ++p;
        else if (keyword("#line"))
        {
            p += 5;
            skip(p);
            unsigned int nNumber = 0;
            for (; p < text.size() && text[p] >= '0' && text[p] <= '9'; ++p)
                nNumber = nNumber * 10 + static_cast<unsigned int>(text[p] - '0');
            nLine = nNumber;
            if (!quoted(p, current))
            {
                result.eEnd = SPlainFlattening::eMalformed;
                return result;
            }
        }
        else if (keyword("#include"))
        {
            size_t q = p + 8;
            std::string name;
            if (!quoted(q, name))
            {
                result.eEnd = SPlainFlattening::eMalformed;
                return result;
            }
            ++q;
            std::string folder = current;
            for (char& c : folder)
                c = c == '\\' ? '/' : c;
            const size_t nSlash = folder.rfind('/');
            folder = nSlash == std::string::npos ? "" : folder.substr(0, nSlash == 0 ? 1 : nSlash);
            std::vector<std::string> tries;
            if (!folder.empty())
                tries.push_back(folder);
            tries.insert(tries.end(), directories.begin(), directories.end());
            const std::pair<const std::string, std::string>* pFile = nullptr;
            for (const std::string& directory : tries)
            {
                std::string path = directory + "/" + name;
                for (char& c : path)
                    c = c == '\\' ? '/' : c;
                const auto it = files.find(path);
                if (it != files.end())
                {
                    pFile = &*it;
                    break;
                }
            }
            if (pFile == nullptr || result.found.size() == nMostSplices)
            {
                result.eEnd = pFile == nullptr ? SPlainFlattening::eNotFound : SPlainFlattening::eStopped;
                return result;
            }
            result.found.push_back(pFile->first);
            text = text.substr(0, p) + "#line 1 \"" + pFile->first + "\"\n" + pFile->second + "#line " +
                   std::to_string(nLine - 1) + " \"" + current + "\"\n" + text.substr(q);
        }
        else
            while (p < text.size() && text[p] != '\n')
                ++p;
    }
    result.flat = text;
    return result;
}
