#include "fbx/load/fbxarrays.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <type_traits>

namespace
{

/// Of the two ends and the length: enough to tell arrays apart that are not equal, as a rule.
uint64_t HashOf(const char* p, size_t nBytes, char type, char want)
{
    uint64_t nHash = nBytes * 0x9e3779b97f4a7c15u + static_cast<uint64_t>(type) * 131 + static_cast<uint64_t>(want);
    const auto mix = [&nHash](const char* q, size_t n)
    {
        for (; n >= 8; n -= 8, q += 8)
        {
            uint64_t nWord;
            std::memcpy(&nWord, q, 8);
            nHash = (nHash ^ nWord) * 0xff51afd7ed558ccdu;
            nHash ^= nHash >> 32;
        }
        for (; n > 0; --n, ++q)
            nHash = (nHash ^ static_cast<uint8_t>(*q)) * 0x100000001b3u;
    };
    if (nBytes <= 256)
        mix(p, nBytes);
    else
    {
        mix(p, 128);
        mix(p + nBytes - 128, 128);
    }
    return nHash;
}

bool IsAscending(const int64_t* pTimes, uint32_t nCount)
{
    for (uint32_t n = 1; n < nCount; ++n)
        if (pTimes[n] < pTimes[n - 1])
            return false;
    return true;
}

} // namespace

FbxArrayReader::FbxArrayReader(FbxScene& scene, size_t nFileBytes, bool bBigEndian, const FbxFileTime& fileTime)
    : m_scene(scene),
      m_fileTime(fileTime),
      m_arena(scene.GetMemory()),
      m_decoder(bBigEndian),
      m_nBudget(uint64_t(nFileBytes) * 32 + (uint64_t(128) << 20)),
      m_buckets(256, -1)
{
}

bool FbxArrayReader::Open(const SFbxValue* pValue, SFbxStoredArray& payload)
{
    if (!pValue || !pValue->IsArray())
        return Fail("an array is missing");
    payload = m_decoder.Open(*pValue);
    return true;
}

bool FbxArrayReader::Claim(size_t nCount, size_t nBytes)
{
    if (nCount > m_nBudget / nBytes)
        return Fail();
    m_nBudget -= uint64_t(nCount) * nBytes;
    return true;
}

bool FbxArrayReader::Decode(const SFbxStoredArray& payload, void* pOut)
{
    return m_decoder.Decode(payload, pOut) || Fail("an array's compressed bytes are damaged");
}

namespace
{

template <class To, class From>
To ConvertElement(From value)
{
    if constexpr (std::is_integral_v<From>)
        return static_cast<To>(value);
    else
    {
        const double f = static_cast<double>(value);
        if constexpr (std::is_same_v<To, uint32_t>)
        {
            // Text files write the bits as integers; in a list with fractions they stand among plain numbers.
            const bool bBits = std::fabs(f) >= 16777216.0 && std::fabs(f) < 4294967296.0 && f == std::floor(f);
            return bBits ? static_cast<uint32_t>(static_cast<int64_t>(f))
                         : std::bit_cast<uint32_t>(static_cast<float>(f));
        }
        else if constexpr (std::is_integral_v<To>)
            return f > -9.2e18 && f < 9.2e18 ? static_cast<To>(f) : To(0);
        else
            return static_cast<To>(f);
    }
}

template <class To, class From>
void ConvertElements(const std::byte* pFrom, uint32_t nCount, To* pTo)
{
    for (uint32_t n = 0; n < nCount; ++n)
    {
        From value;
        std::memcpy(&value, pFrom + n * sizeof(From), sizeof value);
        pTo[n] = ConvertElement<To>(value);
    }
}

} // namespace

template <class T>
bool FbxArrayReader::Convert(const SFbxStoredArray& payload, T* pOut)
{
    if (payload.nDecoded > m_scratch.size())
    {
        if (!Claim(payload.nDecoded - m_scratch.size(), 1))
            return false;
        m_scratch = std::vector<std::byte>(payload.nDecoded);
    }
    if (!Decode(payload, m_scratch.data()))
        return false;
    switch (payload.type)
    {
    case 'i':
        ConvertElements<T, int32_t>(m_scratch.data(), payload.nCount, pOut);
        break;
    case 'l':
        ConvertElements<T, int64_t>(m_scratch.data(), payload.nCount, pOut);
        break;
    case 'f':
        ConvertElements<T, float>(m_scratch.data(), payload.nCount, pOut);
        break;
    case 'd':
        ConvertElements<T, double>(m_scratch.data(), payload.nCount, pOut);
        break;
    default:
        ConvertElements<T, uint8_t>(m_scratch.data(), payload.nCount, pOut);
        break;
    }
    return true;
}

FbxArrayReader::SShared* FbxArrayReader::FindShared(const SFbxStoredArray& payload, char want, uint64_t& nHash)
{
    nHash = HashOf(payload.p, payload.nBytes, payload.type, want);
    int32_t nEntry = m_buckets[nHash >> 20 & (m_buckets.size() - 1)];
    // A few tries only: a file made to collide costs memory then, not time.
    for (int nTry = 0; nEntry >= 0 && nTry < 8; ++nTry, nEntry = m_shared[static_cast<size_t>(nEntry)].nNext)
    {
        SShared& shared = m_shared[static_cast<size_t>(nEntry)];
        if (shared.nHash == nHash && shared.want == want && shared.payload.type == payload.type &&
            shared.payload.nCount == payload.nCount && shared.payload.nBytes == payload.nBytes &&
            shared.payload.bDeflated == payload.bDeflated && shared.payload.bNative == payload.bNative &&
            (payload.nBytes == 0 || std::memcmp(shared.payload.p, payload.p, payload.nBytes) == 0))
            return &shared;
    }
    return nullptr;
}

void FbxArrayReader::Share(const SFbxStoredArray& payload, char want, uint64_t nHash, const void* pDecoded,
                           const SFbxTimeline* pTimeline, bool bAscending)
{
    if (m_shared.size() >= m_buckets.size())
    {
        m_buckets.assign(m_buckets.size() * 2, -1);
        for (size_t n = 0; n < m_shared.size(); ++n)
        {
            int32_t& nHead = m_buckets[m_shared[n].nHash >> 20 & (m_buckets.size() - 1)];
            m_shared[n].nNext = nHead;
            nHead = static_cast<int32_t>(n);
        }
    }
    int32_t& nHead = m_buckets[nHash >> 20 & (m_buckets.size() - 1)];
    m_shared.push_back({payload, pDecoded, pTimeline, bAscending, want, nHash, nHead});
    nHead = static_cast<int32_t>(m_shared.size()) - 1;
}

template <class T>
bool FbxArrayReader::Elements(const SFbxValue* pValue, char want, std::string_view sameTypes, const T*& pOut,
                              uint32_t& nCount)
{
    SFbxStoredArray payload;
    if (!Open(pValue, payload))
        return false;
    nCount = payload.nCount;
    uint64_t nHash;
    if (const SShared* pShared = FindShared(payload, want, nHash))
    {
        pOut = static_cast<const T*>(pShared->pDecoded);
        return true;
    }
    if (!Claim(nCount, sizeof(T)))
        return false;
    T* pElements = m_arena.AllocateArray<T>(nCount);
    pOut = pElements;
    const bool bSame = sameTypes.find(payload.type) != std::string_view::npos;
    if (!(bSame ? Decode(payload, pElements) : Convert(payload, pElements)))
        return false;
    Share(payload, want, nHash, pElements, nullptr, true);
    return true;
}

bool FbxArrayReader::Floats(const SFbxValue* pValue, const float*& pOut, uint32_t& nCount)
{
    return Elements(pValue, 'f', "f", pOut, nCount);
}

bool FbxArrayReader::Words(const SFbxValue* pValue, const uint32_t*& pOut, uint32_t& nCount)
{
    return Elements(pValue, 'w', "if", pOut, nCount);
}

bool FbxArrayReader::Timeline(const SFbxValue* pValue, const SFbxTimeline*& pOut, bool& bAscending)
{
    SFbxStoredArray payload;
    if (!Open(pValue, payload))
        return false;
    uint64_t nHash;
    if (const SShared* pShared = FindShared(payload, 't', nHash))
    {
        pOut = pShared->pTimeline;
        bAscending = pShared->bAscending;
        return true;
    }
    if (!Claim(payload.nCount, sizeof(int64_t)))
        return false;
    int64_t* pTimes = m_arena.AllocateArray<int64_t>(payload.nCount);
    if (!(payload.type == 'l' ? Decode(payload, pTimes) : Convert(payload, pTimes)))
        return false;
    if (!m_fileTime.IsOfScenes())
        for (uint32_t n = 0; n < payload.nCount; ++n)
            pTimes[n] = m_fileTime.Ticks(pTimes[n]);
    bAscending = IsAscending(pTimes, payload.nCount);
    pOut = m_scene.AddTimeline(pTimes, payload.nCount);
    Share(payload, 't', nHash, pTimes, pOut, bAscending);
    return true;
}

const SFbxTimeline* FbxArrayReader::AddTimeline(const int64_t* pTimes, uint32_t nCount)
{
    SFbxValue value{};
    value.type = 'l';
    value.bNative = true;
    value.n = nCount;
    value.p = reinterpret_cast<const char*>(pTimes);
    SFbxStoredArray payload;
    uint64_t nHash = 0;
    const SShared* pShared = Open(&value, payload) ? FindShared(payload, 't', nHash) : nullptr;
    if (pShared)
        return pShared->pTimeline;
    const SFbxTimeline* pTimeline = m_scene.AddTimeline(pTimes, nCount);
    Share(payload, 't', nHash, pTimes, pTimeline, true);
    return pTimeline;
}
