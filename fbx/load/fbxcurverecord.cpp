#include "fbx/load/fbxcurverecord.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>

namespace
{

/// Keys out of order are put in order, each with the attributes it came with.
bool SortKeys(FbxAnimCurve& curve, FbxSceneBuilder& builder)
{
    FbxArena& arena = builder.Arena();
    const uint32_t nKeys = curve.pTimeline->nKeys;
    constexpr size_t kBytesPerKey = 60; // what is kept of a key, and its place among the sorted ones
    if (!builder.Arrays().Claim(nKeys, kBytesPerKey))
        return false;
    std::vector<uint32_t> order(nKeys);
    std::iota(order.begin(), order.end(), 0u);
    const int64_t* pTimes = curve.pTimeline->pTimes;
    std::stable_sort(order.begin(), order.end(), [pTimes](uint32_t a, uint32_t b) { return pTimes[a] < pTimes[b]; });

    int64_t* pSorted = arena.AllocateArray<int64_t>(nKeys);
    float* pValues = arena.AllocateArray<float>(nKeys);
    for (uint32_t n = 0; n < nKeys; ++n)
    {
        pSorted[n] = pTimes[order[n]];
        pValues[n] = curve.pValues[order[n]];
    }
    if (curve.attributes.nEntries > 0)
    {
        std::vector<uint32_t> entries(nKeys);
        uint32_t nEntry = 0;
        int32_t nLeft = curve.attributes.pCounts[0];
        for (uint32_t n = 0; n < nKeys; ++n)
        {
            while (nLeft <= 0 && nEntry + 1 < curve.attributes.nEntries)
                nLeft = curve.attributes.pCounts[++nEntry];
            --nLeft;
            entries[n] = nEntry;
        }
        uint32_t* pFlags = arena.AllocateArray<uint32_t>(nKeys);
        uint32_t* pWords = arena.AllocateArray<uint32_t>(size_t(nKeys) * 4);
        int32_t* pCounts = arena.AllocateArray<int32_t>(nKeys);
        for (uint32_t n = 0; n < nKeys; ++n)
        {
            const uint32_t nFrom = entries[order[n]];
            pFlags[n] = curve.attributes.pFlags[nFrom];
            std::memcpy(pWords + size_t(n) * 4, curve.attributes.pWords + size_t(nFrom) * 4, 16);
            pCounts[n] = 1;
        }
        curve.attributes.pFlags = pFlags;
        curve.attributes.pWords = pWords;
        curve.attributes.pCounts = pCounts;
        curve.attributes.nEntries = nKeys;
    }
    curve.pTimeline = builder.Arrays().AddTimeline(pSorted, nKeys);
    curve.pValues = pValues;
    return true;
}

/// A record's array, which home-made writers spell as a plain list of numbers. Null where there is neither.
const SFbxValue* ArrayOf(const SFbxRecord& record, FbxArena& arena)
{
    const SFbxValue* pFirst = record.Value(0);
    if (!pFirst || !pFirst->IsNumber())
        return pFirst;
    const bool bIntegers = std::all_of(pFirst, pFirst + record.nValues, [](const auto& v) { return v.type == 'I'; });
    int64_t* pNumbers = arena.AllocateArray<int64_t>(record.nValues);
    for (uint32_t n = 0; n < record.nValues; ++n)
        pNumbers[n] = bIntegers ? pFirst[n].i : std::bit_cast<int64_t>(pFirst[n].AsDouble());
    SFbxValue& array = *arena.New<SFbxValue>();
    array.type = bIntegers ? 'l' : 'd';
    array.bNative = true;
    array.n = record.nValues;
    array.p = reinterpret_cast<const char*>(pNumbers);
    return &array;
}

} // namespace

SFbxExtrapolation FbxReadExtrapolation(const SFbxRecord* pRecord)
{
    SFbxExtrapolation result;
    const SFbxRecord* pType = pRecord ? pRecord->Find("Type") : nullptr;
    if (!pType || !pType->Value(0))
        return result;
    switch (pType->pValues[0].AsLetter())
    {
    case 'R':
        result.eType = EFbxExtrapolation::eRepeat;
        break;
    case 'M':
        result.eType = EFbxExtrapolation::eMirror;
        break;
    case 'K':
        result.eType = EFbxExtrapolation::eSlope;
        break;
    case 'A':
        result.eType = EFbxExtrapolation::eRepeatRelative;
        break;
    default:
        break;
    }
    if (const SFbxRecord* pRepetition = pRecord->Find("Repetition"))
    {
        const int64_t n = pRepetition->Int(0, -1);
        result.nRepetition = n < 0 ? -1 : static_cast<int32_t>(std::min<int64_t>(n, INT32_MAX));
    }
    return result;
}

bool FbxReadCurve(const SFbxRecord& record, FbxSceneBuilder& builder, const FbxAnimCurve*& pOut)
{
    const SFbxValue* pTimes = nullptr;
    const SFbxValue* pValues = nullptr;
    const SFbxValue* pFlags = nullptr;
    const SFbxValue* pWords = nullptr;
    const SFbxValue* pCounts = nullptr;
    const SFbxRecord* pPre = nullptr;
    const SFbxRecord* pPost = nullptr;
    for (const SFbxRecord* p = record.pChild; p; p = p->pNext)
    {
        const std::string_view name = p->Name();
        if (name == "KeyTime")
            pTimes = ArrayOf(*p, builder.Arena());
        else if (name == "KeyValueFloat")
            pValues = ArrayOf(*p, builder.Arena());
        else if (name == "KeyAttrFlags")
            pFlags = ArrayOf(*p, builder.Arena());
        else if (name == "KeyAttrDataFloat")
            pWords = ArrayOf(*p, builder.Arena());
        else if (name == "KeyAttrRefCount")
            pCounts = ArrayOf(*p, builder.Arena());
        else if (name == "Pre-Extrapolation")
            pPre = p;
        else if (name == "Post-Extrapolation")
            pPost = p;
    }
    if (!pTimes && !pValues)
        return true;

    FbxArrayReader& arrays = builder.Arrays();
    const auto fail = [&](const std::string& sWhat)
    { return builder.Fail("animation curve " + std::to_string(record.Int(0)) + ": " + sWhat); };
    FbxAnimCurve* pCurve = builder.Scene().AddCurve();
    bool bAscending = true;
    uint32_t nValues = 0;
    if (!arrays.Timeline(pTimes, pCurve->pTimeline, bAscending) || !arrays.Floats(pValues, pCurve->pValues, nValues))
        return fail(arrays.Error());
    if (nValues != pCurve->pTimeline->nKeys)
        return fail("has " + std::to_string(pCurve->pTimeline->nKeys) + " key times and " + std::to_string(nValues) +
                    " key values");
    SFbxKeyAttributes& attributes = pCurve->attributes;
    if (pFlags && pWords && pCounts)
    {
        uint32_t nWords = 0;
        uint32_t nCounts = 0;
        const uint32_t* pCountWords = nullptr;
        if (!arrays.Words(pFlags, attributes.pFlags, attributes.nEntries) ||
            !arrays.Words(pWords, attributes.pWords, nWords) || !arrays.Words(pCounts, pCountWords, nCounts))
            return fail(arrays.Error());
        attributes.pCounts = reinterpret_cast<const int32_t*>(pCountWords);
        attributes.nEntries = std::min({attributes.nEntries, nWords / 4, nCounts});
    }
    pCurve->pre = FbxReadExtrapolation(pPre);
    pCurve->post = FbxReadExtrapolation(pPost);
    if (!bAscending && !SortKeys(*pCurve, builder))
        return fail(arrays.Error());
    bool bCubic = false;
    for (uint32_t n = 0; n < attributes.nEntries; ++n)
        bCubic |= (attributes.pFlags[n] & eFbxKey_Cubic) != 0;
    if (bCubic && !arrays.Claim(nValues, kFbxEvaluatedKeyBytes))
        return fail(arrays.Error());
    pOut = pCurve;
    return true;
}
