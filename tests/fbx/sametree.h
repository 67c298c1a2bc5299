#pragma once

#include "fbx/file/fbxarraybytes.h"
#include "fbx/file/fbxdocument.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

/// A tree of records as lines, one a record, and what two trees differ in. Knows the tree and nothing of the writers.
/// bAcross: one of them has been in a file of the other kind. Then numbers that are no integers are compared as 32-bit
/// floats, words as letters, names of objects by their parts; what text files have no record of is left out.
class TreeText
{
public:
    TreeText(const SFbxRecordTree& tree, size_t nBytes, bool bAcross)
        : m_arrays(nBytes, tree.bBigEndian), m_bAcross(bAcross), m_bText(!tree.bBinary)
    {
        std::vector<std::pair<const SFbxRecord*, size_t>> pending{{&tree.root, 0}};
        while (!pending.empty())
        {
            const auto [pRecord, nDepth] = pending.back();
            pending.pop_back();
            std::string sLine = std::to_string(nDepth) + std::string(pRecord->Name());
            sLine += pRecord->bBlock || pRecord->pChild ? " {" : "";
            for (uint32_t n = 0; n < pRecord->nValues; ++n)
                sLine += ' ' + TextOf(pRecord->pValues[n], pRecord->Is("KeyAttrDataFloat"));
            m_lines.push_back(sLine);
            for (const SFbxRecord* p = pRecord->pChild; p; p = p->pNext)
                if (!bAcross || !(p->Is("FileId") || p->Is("CreationTime") || p->Is("FBXVersion")))
                    pending.emplace_back(p, nDepth + 1);
        }
    }
    /// Empty when they are the same.
    std::string Difference(const TreeText& other) const
    {
        for (size_t n = 0; n < std::max(m_lines.size(), other.m_lines.size()); ++n)
            if (n >= m_lines.size() || n >= other.m_lines.size() || m_lines[n] != other.m_lines[n])
                return (n < m_lines.size() ? m_lines[n] : "none") + "\n" +
                       (n < other.m_lines.size() ? other.m_lines[n] : "none");
        return {};
    }

    const std::vector<std::string>& Lines() const { return m_lines; }

private:
    std::string Real(double f) const
    {
        char text[40];
        if (m_bAcross && std::abs(f) < 16777216.0 && f == std::floor(f))
            return std::to_string(static_cast<int64_t>(f));
        if (std::isnan(f) && (m_bAcross || m_bText))
            return "nan";
        std::snprintf(text, sizeof text, m_bAcross ? "%.9g" : "%a",
                      m_bAcross ? static_cast<double>(static_cast<float>(f)) : f);
        return text;
    }
    std::string TextOf(const SFbxValue& value, bool bBits)
    {
        if (value.type == 'U')
            return std::string(value.p, value.n);
        if (!value.IsArray() && m_bAcross)
        {
            const std::string sText(value.AsText());
            const size_t nAt = sText.find(std::string("\0\1", 2));
            return value.type == 'I'          ? std::to_string(value.i)
                   : value.type == 'D'        ? Real(value.d)
                   : value.type == 'W'        ? std::to_string(*value.p)
                   : nAt == std::string::npos ? sText
                                              : sText.substr(nAt + 2) + "::" + sText.substr(0, nAt);
        }
        std::string s = m_bAcross || value.bNative ? "" : std::string(1, value.letter);
        if (!value.IsArray())
            return s + value.type +
                   (value.type == 'I'   ? std::to_string(value.i)
                    : value.type == 'D' ? Real(value.d)
                                        : std::string(value.AsText()));
        s += '*' + std::to_string(value.n) + (m_bAcross || value.n == 0 ? ' ' : value.type);
        const char* p = m_arrays.Decode(value);
        if (!p || (m_bAcross && bBits)) // damaged bytes are handed on; words among numbers are the scene's to tell
            return s;
        for (uint32_t n = 0; n < value.n; ++n, p += FbxElementSize(value.type))
        {
            int64_t nWord = value.type == 'b' ? static_cast<uint8_t>(*p) : 0;
            double f = 0.0;
            float fNarrow = 0.0f;
            if (value.type == 'l' || value.type == 'd')
                std::memcpy(&nWord, p, 8), std::memcpy(&f, p, 8);
            else if (value.type != 'b')
                std::memcpy(&fNarrow, p, 4), nWord = std::bit_cast<int32_t>(fNarrow), f = static_cast<double>(fNarrow);
            const bool bReal = value.type == 'd' || value.type == 'f';
            s += ' ' + (bReal && (m_bAcross || std::isnan(f)) ? Real(f) : std::to_string(nWord));
        }
        return s;
    }

    FbxArrayBytes m_arrays;
    bool m_bAcross;
    bool m_bText;
    std::vector<std::string> m_lines;
};
