#pragma once

#include <cctype>
#include <map>
#include <string>
#include <vector>

/// Flattening the plain way: one text, copied whole for every include. Slow, short, and written apart from the code
/// that it is compared with. Files are a map from path to bytes.
class PlainFlattening
{
public:
    enum EEnd
    {
        eDone,
        eNotFound,
        eMalformed,
        eStopped ///< after nMostSplices
    };

    PlainFlattening(const std::string& source, const std::vector<std::string>& directories,
                    const std::map<std::string, std::string>& files, size_t nMostSplices)
        : flat(source), m_directories(directories), m_files(files), m_nMostSplices(nMostSplices)
    {
        for (size_t p = 0; eEnd == eDone && Skip(p);)
        {
            if (flat[p] != '#')
                ++p;
            else if (IsKeyword(p, "#line"))
                Line(p += 5);
            else if (IsKeyword(p, "#include"))
                Include(p);
            else
                p = std::min(flat.find('\n', p), flat.size());
        }
    }

    EEnd eEnd = eDone;
    std::string flat;
    std::vector<std::string> found; ///< paths in order

private:
    bool Skip(size_t& n)
    {
        for (; n < flat.size() && (flat[n] == ' ' || flat[n] == '\t' || flat[n] == '\r' || flat[n] == '\n'); ++n)
            m_nLine += flat[n] == '\n';
        return n < flat.size();
    }
    bool IsKeyword(size_t p, const std::string& word) const
    {
        if (p + word.size() >= flat.size())
            return false;
        for (size_t n = 0; n < word.size(); ++n)
            if (std::tolower(static_cast<unsigned char>(flat[p + n])) != word[n])
                return false;
        const auto cNext = static_cast<unsigned char>(flat[p + word.size()]);
        return !(cNext < 128 && (std::isalnum(cNext) || cNext == '_'));
    }
    /// Leaves n on the closing mark.
    bool Quoted(size_t& n, std::string& name)
    {
        const size_t nEnd =
            Skip(n) && (flat[n] == '"' || flat[n] == '<') ? flat.find_first_of("\">", n + 1) : flat.npos;
        if (nEnd == flat.npos)
        {
            eEnd = eMalformed;
            return false;
        }
        name = flat.substr(n + 1, nEnd - n - 1);
        for (const char c : name)
            m_nLine += c == '\n';
        name = name.c_str(); // it ends at a zero byte
        n = nEnd;
        return true;
    }
    void Line(size_t& p)
    {
        Skip(p);
        for (m_nLine = 0; p < flat.size() && flat[p] >= '0' && flat[p] <= '9'; ++p)
            m_nLine = m_nLine * 10 + static_cast<unsigned int>(flat[p] - '0');
        Quoted(p, m_current);
    }
    static std::string WithSlashes(std::string path)
    {
        for (char& c : path)
            c = c == '\\' ? '/' : c;
        return path;
    }
    void Include(size_t p)
    {
        size_t q = p + 8;
        std::string name;
        if (!Quoted(q, name))
            return;
        const std::string current = WithSlashes(m_current);
        const size_t nSlash = current.rfind('/');
        std::vector<std::string> folders = m_directories;
        if (nSlash != current.npos)
            folders.insert(folders.begin(), current.substr(0, nSlash == 0 ? 1 : nSlash));
        auto file = m_files.end();
        for (size_t n = 0; n < folders.size() && file == m_files.end(); ++n)
            file = m_files.find(WithSlashes(folders[n] + "/" + name));
        if (file == m_files.end() || found.size() == m_nMostSplices)
        {
            eEnd = file == m_files.end() ? eNotFound : eStopped;
            return;
        }
        found.push_back(file->first);
        flat = flat.substr(0, p) + "#line 1 \"" + file->first + "\"\n" + file->second + "#line " +
               std::to_string(m_nLine - 1) + " \"" + m_current + "\"\n" + flat.substr(q + 1);
    }

    const std::vector<std::string> m_directories;
    const std::map<std::string, std::string>& m_files;
    size_t m_nMostSplices;
    std::string m_current = "sourcefile";
    unsigned int m_nLine = 2;
};
