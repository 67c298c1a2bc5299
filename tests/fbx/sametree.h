#pragma once

#include "fbx/file/fbxarraybytes.h"
#include "fbx/file/fbxdocument.h"

#include <cmath>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

/// Compares trees of records to the last bit. Knows the tree and nothing of the writers.
class SameTree
{
public:
    /// bAcross: one of them has been in a file of the other kind, so numbers are compared as numbers, whatever their
    /// width, words as letters, and names of objects by their parts.
    SameTree(const SFbxRecordTree& a, size_t nBytesA, const SFbxRecordTree& b, size_t nBytesB, bool bAcross)
        : m_a(nBytesA, a.bBigEndian), m_b(nBytesB, b.bBigEndian), m_bAcross(bAcross), m_bText(!a.bBinary)
    {
        Compare(a.root, b.root);
    }

    /// Empty when they are the same; else the place and what is different there.
    const std::string& Difference() const { return m_sDifference; }

private:
    struct SNumbers
    {
        std::vector<double> reals; ///< integers too where they are below 2^53
        std::vector<int64_t> integers;
        bool bFloat = false;
        bool bIntegers = true;
    };

    void Compare(const SFbxRecord& rootA, const SFbxRecord& rootB)
    {
        std::vector<std::pair<const SFbxRecord*, const SFbxRecord*>> pending{{&rootA, &rootB}};
        while (!pending.empty() && m_sDifference.empty())
        {
            const auto [pA, pB] = pending.back();
            pending.pop_back();
            CompareOne(*pA, *pB);
            const SFbxRecord* p = Known(pA->pChild);
            const SFbxRecord* q = Known(pB->pChild);
            for (; p && q; p = Known(p->pNext), q = Known(q->pNext))
                pending.emplace_back(p, q);
            if (p || q)
                m_sDifference = std::string(pA->Name()) + ": not the same number of records";
        }
    }

    /// Text files have no such records.
    const SFbxRecord* Known(const SFbxRecord* p) const
    {
        while (m_bAcross && p && (p->Is("FileId") || p->Is("CreationTime") || p->Is("FBXVersion")))
            p = p->pNext;
        return p;
    }

    void CompareOne(const SFbxRecord& a, const SFbxRecord& b)
    {
        const auto fail = [&](const std::string& sWhat)
        { m_sDifference = std::string(a.Name()) + " (" + std::string(a.Text(0)) + "): " + sWhat; };
        if (a.Name() != b.Name() || (a.bBlock || a.pChild) != (b.bBlock || b.pChild) || a.nValues != b.nValues)
            return fail("another name, block or number of values: " + std::string(b.Name()));
        for (uint32_t n = 0; n < a.nValues; ++n)
            if (!Same(a, a.pValues[n], b.pValues[n]))
                return fail("value " + std::to_string(n) + " of type " + a.pValues[n].type + " and " +
                            b.pValues[n].type + ", written " + std::to_string(a.pValues[n].letter) + " and " +
                            std::to_string(b.pValues[n].letter));
    }

    bool Same(const SFbxRecord& record, const SFbxValue& a, const SFbxValue& b)
    {
        if (m_bAcross)
            return SameAcross(record, a, b);
        const bool bEmptyArrays = a.IsArray() && b.IsArray() && a.n == 0 && b.n == 0;
        if ((a.type != b.type && !(bEmptyArrays && m_bText)) || (!a.bNative && a.letter != b.letter))
            return false;
        if (a.IsArray())
            return SameArray(a, b);
        if (a.type == 'D')
            return std::memcmp(&a.d, &b.d, 8) == 0 || (m_bText && std::isnan(a.d) && std::isnan(b.d));
        if (a.type == 'U')
            return std::string_view(a.p, a.n) == std::string_view(b.p, b.n);
        return a.type == 'I' ? a.i == b.i : a.AsText() == b.AsText();
    }

    bool SameArray(const SFbxValue& a, const SFbxValue& b)
    {
        if (a.n != b.n)
            return false;
        const char* p = m_a.Decode(a);
        const char* q = m_b.Decode(b);
        if (!p || !q)
            return !p == !q; // damaged bytes are handed on
        const size_t nElement = FbxElementSize(a.type);
        for (uint32_t n = 0; n < a.n; ++n)
        {
            double f, g;
            if (std::memcmp(p + n * nElement, q + n * nElement, nElement) == 0)
                continue;
            if (!m_bText || a.type != 'd')
                return false;
            std::memcpy(&f, p + n * nElement, 8);
            std::memcpy(&g, q + n * nElement, 8);
            if (!std::isnan(f) || !std::isnan(g))
                return false;
        }
        return true;
    }

    static SNumbers NumbersOf(FbxArrayBytes& arrays, const SFbxRecord& record, const SFbxValue& value)
    {
        SNumbers numbers;
        const auto integer = [&numbers](int64_t n)
        {
            numbers.integers.push_back(n);
            numbers.reals.push_back(static_cast<double>(n));
        };
        const auto real = [&numbers](double f)
        {
            numbers.bIntegers = false;
            numbers.reals.push_back(f);
        };
        if (value.type == 'I')
            integer(value.i);
        else if (value.type == 'D')
            real(value.d);
        else if (value.type == 'W')
            integer(*value.p);
        numbers.bFloat = value.letter == 'F' || value.type == 'f';
        if (!value.IsArray())
            return numbers;
        const char* p = arrays.Decode(value);
        const bool bBits = record.Is("KeyAttrDataFloat");
        for (uint32_t n = 0; p && n < value.n; ++n)
        {
            int32_t nWord = 0;
            int64_t nLong = 0;
            double f = 0.0;
            const size_t nElement = FbxElementSize(value.type);
            if (nElement == 4)
                std::memcpy(&nWord, p + n * size_t(4), 4);
            else if (nElement == 8)
                std::memcpy(&nLong, p + n * size_t(8), 8), std::memcpy(&f, &nLong, 8);
            if (value.type == 'i' || (value.type == 'f' && bBits))
                integer(nWord);
            else if (value.type == 'f')
                real(FbxWiden(static_cast<uint32_t>(nWord)));
            else if (value.type == 'l')
                integer(bBits ? static_cast<int32_t>(nLong) : nLong);
            else if (value.type == 'd' && bBits) // words among numbers, as the scene's reader tells them apart
                integer(std::fabs(f) >= 16777216.0 && std::fabs(f) < 4294967296.0 && f == std::floor(f)
                            ? static_cast<int32_t>(static_cast<int64_t>(f))
                            : static_cast<int32_t>(FbxNarrow(f)));
            else if (value.type == 'd')
                real(f);
            else
                integer(static_cast<uint8_t>(p[n]));
        }
        return numbers;
    }

    bool SameAcross(const SFbxRecord& record, const SFbxValue& a, const SFbxValue& b)
    {
        if (a.type == 'R' || b.type == 'R')
            return true; // told by a test of its own
        if (a.type == 'S' && b.type == 'S')
            return a.AsText() == b.AsText() || NameOf(a.AsText()) == NameOf(b.AsText());
        const SNumbers x = NumbersOf(m_a, record, a);
        const SNumbers y = NumbersOf(m_b, record, b);
        if (x.bIntegers && y.bIntegers)
            return x.integers == y.integers;
        if (x.reals.size() != y.reals.size())
            return false;
        for (size_t n = 0; n < x.reals.size(); ++n)
        {
            const double f = x.reals[n];
            const double g = y.reals[n];
            if (std::isnan(f) && std::isnan(g))
                continue;
            if (x.bFloat || y.bFloat ? FbxNarrow(f) != FbxNarrow(g) : std::memcmp(&f, &g, 8) != 0)
                return false;
        }
        return true;
    }

    static std::string NameOf(std::string_view text)
    {
        const size_t nAt = text.find(std::string_view("\0\1", 2));
        return nAt == std::string_view::npos
                   ? std::string(text)
                   : std::string(text.substr(nAt + 2)) + "::" + std::string(text.substr(0, nAt));
    }

    FbxArrayBytes m_a, m_b;
    bool m_bAcross;
    bool m_bText;
    std::string m_sDifference;
};
