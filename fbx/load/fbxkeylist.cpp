#include "fbx/load/fbxkeylist.h"

#include "fbx/load/fbxcurverecord.h"

#include <algorithm>
#include <bit>

namespace
{

/// The mixed list of numbers and letters that old keys are written in.
class KeyStream
{
public:
    explicit KeyStream(const SFbxRecord& record) : m_p(record.pValues), m_pEnd(record.pValues + record.nValues) {}
    bool Number(double& f)
    {
        if (m_p == m_pEnd || !m_p->IsNumber())
            return false;
        f = m_p++->AsDouble();
        return true;
    }
    bool Ticks(int64_t& n)
    {
        if (m_p == m_pEnd || !m_p->IsNumber())
            return false;
        n = m_p++->AsInt64();
        return true;
    }
    bool Letter(char& c)
    {
        if (m_p == m_pEnd)
            return false;
        c = m_p++->AsLetter();
        return c != '\0';
    }
    bool IsLetterNext() const { return m_p != m_pEnd && m_p->AsLetter() != '\0' && !m_p->IsNumber(); }

private:
    const SFbxValue* m_p;
    const SFbxValue* m_pEnd;
};

struct SOldKey
{
    int64_t nTicks = 0;
    float fValue = 0;
    uint32_t nFlags = 0;
    float fSlopeRight = 0;
    float fSlopeNextLeft = 0;
    float fWeightRight = 1.0f / 3.0f;
    float fWeightNextLeft = 1.0f / 3.0f;

    bool HasAttributesOf(const SOldKey& o) const
    {
        return nFlags == o.nFlags && fSlopeRight == o.fSlopeRight && fSlopeNextLeft == o.fSlopeNextLeft &&
               fWeightRight == o.fWeightRight && fWeightNextLeft == o.fWeightNextLeft;
    }
};

bool ReadWeights(KeyStream& stream, SOldKey& key)
{
    char c;
    double a = 0;
    double b = 0;
    if (!stream.Letter(c))
        return false;
    switch (c)
    {
    case 'a':
        if (!stream.Number(a) || !stream.Number(b))
            return false;
        key.fWeightRight = static_cast<float>(a);
        key.fWeightNextLeft = static_cast<float>(b);
        return true;
    case 'r':
    case 'l':
        if (!stream.Number(a))
            return false;
        (c == 'r' ? key.fWeightRight : key.fWeightNextLeft) = static_cast<float>(a);
        return true;
    case 'n':
    case 'c':
        return true;
    default:
        return false;
    }
}

bool ReadKey(KeyStream& stream, int nKeyVersion, SOldKey& key)
{
    double fValue = 0;
    char cMode;
    if (!stream.Ticks(key.nTicks) || !stream.Number(fValue) || !stream.Letter(cMode))
        return false;
    key.fValue = static_cast<float>(fValue);
    if (cMode == 'L')
    {
        key.nFlags = eFbxKey_Linear;
        return true;
    }
    if (cMode == 'C')
    {
        key.nFlags = eFbxKey_Constant;
        char c = 's';
        if (nKeyVersion >= 4004 && !stream.Letter(c))
            return false;
        if (c == 'n')
            key.nFlags |= eFbxKey_ConstantNext;
        return true;
    }
    char cSlope;
    if (cMode != 'U' || !stream.Letter(cSlope))
        return false;
    key.nFlags = eFbxKey_Cubic;
    double a = 0;
    double b = 0;
    double c = 0;
    int nWeights = 1;
    switch (cSlope)
    {
    case 's':
    case 'b':
        if (!stream.Number(a) || !stream.Number(b))
            return false;
        key.nFlags |= eFbxKey_User | (cSlope == 'b' ? eFbxKey_Break : 0u);
        key.fSlopeRight = static_cast<float>(a);
        key.fSlopeNextLeft = static_cast<float>(b);
        nWeights = nKeyVersion == 4003 ? 0 : 1;
        break;
    case 'a':
        nWeights = nKeyVersion <= 4004 ? 0 : 1;
        break;
    case 'p':
    case 'q':
        if (!stream.Number(a) || !stream.Number(b))
            return false;
        nWeights = nKeyVersion <= 4004 ? 1 : 2;
        break;
    case 't':
        if (!stream.Number(a) || !stream.Number(b) || !stream.Number(c))
            return false;
        // The weights' place holds the bias; tangents of this kind have no weights of their own.
        key.nFlags |= eFbxKey_Tcb;
        key.fSlopeRight = static_cast<float>(a);
        key.fSlopeNextLeft = static_cast<float>(b);
        key.fWeightRight = static_cast<float>(c);
        return true;
    case 'd':
        if (!stream.Number(a))
            return false;
        break;
    default:
        return false;
    }
    for (; nWeights > 0; --nWeights)
        if (!ReadWeights(stream, key))
            return false;
    return true;
}

} // namespace

bool FbxReadKeyList(const SFbxRecord& channel, int nFileVersion, FbxSceneBuilder& builder, const FbxAnimCurve*& pOut)
{
    const SFbxRecord* pKeys = channel.Find("Key");
    const SFbxRecord* pCount = channel.Find("KeyCount");
    if (!pKeys || !pCount)
        return true;
    int64_t nKeyVersion = 0;
    if (const SFbxRecord* pVersion = channel.Find("KeyVer"))
        nKeyVersion = pVersion->Int(0);
    if (nKeyVersion <= 0)
        nKeyVersion = nFileVersion < 6000 ? 4004 : 4005;
    const int64_t nClaimed = pCount->Int(0);
    // A key has three values at least.
    if (nClaimed < 0 || nClaimed > int64_t(pKeys->nValues) / 3 + 1)
        return builder.Fail("a channel claims more keys than it has");

    KeyStream stream(*pKeys);
    std::vector<SOldKey> keys(static_cast<size_t>(nClaimed));
    for (SOldKey& key : keys)
        if (!ReadKey(stream, static_cast<int>(std::min<int64_t>(nKeyVersion, 100000)), key))
            return builder.Fail("the keys of a channel can't be read");
    if (keys.empty())
        return true;
    const auto before = [](const SOldKey& a, const SOldKey& b) { return a.nTicks < b.nTicks; };
    if (!std::is_sorted(keys.begin(), keys.end(), before))
        std::stable_sort(keys.begin(), keys.end(), before);

    FbxArena& arena = builder.Arena();
    const uint32_t nKeys = static_cast<uint32_t>(keys.size());
    int64_t* pTimes = arena.AllocateArray<int64_t>(nKeys);
    float* pValues = arena.AllocateArray<float>(nKeys);
    // Attributes are kept as newer files have them: one entry for all keys in a row that share it.
    uint32_t nEntries = 1;
    for (uint32_t n = 1; n < nKeys; ++n)
        nEntries += !keys[n].HasAttributesOf(keys[n - 1]);
    uint32_t* pFlags = arena.AllocateArray<uint32_t>(nEntries);
    uint32_t* pWords = arena.AllocateArray<uint32_t>(size_t(nEntries) * 4);
    int32_t* pCounts = arena.AllocateArray<int32_t>(nEntries);
    uint32_t nEntry = 0;
    for (uint32_t n = 0; n < nKeys; ++n)
    {
        const SOldKey& key = keys[n];
        pTimes[n] = builder.FileTime().Ticks(key.nTicks);
        pValues[n] = key.fValue;
        if (n > 0 && key.HasAttributesOf(keys[n - 1]))
        {
            ++pCounts[nEntry - 1];
            continue;
        }
        pFlags[nEntry] = key.nFlags;
        uint32_t* pWord = pWords + size_t(nEntry) * 4;
        for (const float f : {key.fSlopeRight, key.fSlopeNextLeft, key.fWeightRight, key.fWeightNextLeft})
            *pWord++ = std::bit_cast<uint32_t>(f);
        pCounts[nEntry++] = 1;
    }
    FbxAnimCurve* pCurve = builder.Scene().AddCurve();
    pCurve->pTimeline = builder.Arrays().AddTimeline(pTimes, nKeys);
    pCurve->pValues = pValues;
    pCurve->attributes = {pFlags, pWords, pCounts, nEntries, true};
    pCurve->pre = FbxReadExtrapolation(channel.Find("Pre-Extrapolation"));
    pCurve->post = FbxReadExtrapolation(channel.Find("Post-Extrapolation"));
    pOut = pCurve;
    return true;
}
