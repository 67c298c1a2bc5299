#include "host/files/contenthash.h"

#include "base/misc/endian.h"
#include "os/files.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>

namespace Host
{

namespace
{

constexpr uint64_t PRIME1 = 0x9e3779b185ebca87u;
constexpr uint64_t PRIME2 = 0xc2b2ae3d27d4eb4fu;
constexpr uint64_t PRIME3 = 0x165667b19e3779f9u;
constexpr uint64_t PRIME4 = 0x85ebca77c2b2ae63u;
constexpr uint64_t PRIME5 = 0x27d4eb2f165667c5u;

uint64_t Round(uint64_t nLane, uint64_t nInput)
{
    return std::rotl(nLane + nInput * PRIME2, 31) * PRIME1;
}

template <class T>
uint64_t Load(const uint8_t* p)
{
    return LoadEndian<T>(p, eEndian_Little);
}

} // namespace

void ZContentHash::AddStripe(const uint8_t* pStripe)
{
    for (size_t i = 0; i < 4; ++i)
        m_lanes[i] = Round(m_lanes[i], Load<uint64_t>(pStripe + 8 * i));
}

void ZContentHash::Add(const void* pBytes, size_t nCount)
{
    const auto* p = static_cast<const uint8_t*>(pBytes);
    m_nTotal += nCount;
    if (m_nPending != 0)
    {
        const size_t nTaken = std::min(nCount, STRIPE - m_nPending);
        std::memcpy(m_pending + m_nPending, p, nTaken);
        m_nPending += nTaken;
        p += nTaken;
        nCount -= nTaken;
        if (m_nPending < STRIPE)
            return;
        AddStripe(m_pending);
        m_nPending = 0;
    }
    for (; nCount >= STRIPE; p += STRIPE, nCount -= STRIPE)
        AddStripe(p);
    if (nCount != 0)
        std::memcpy(m_pending, p, nCount);
    m_nPending = nCount;
}

uint64_t ZContentHash::Get() const
{
    uint64_t n = PRIME5;
    if (m_nTotal >= STRIPE)
    {
        n = std::rotl(m_lanes[0], 1) + std::rotl(m_lanes[1], 7) + std::rotl(m_lanes[2], 12) + std::rotl(m_lanes[3], 18);
        for (const uint64_t nLane : m_lanes)
            n = (n ^ Round(0, nLane)) * PRIME1 + PRIME4;
    }
    n += m_nTotal;
    const uint8_t* p = m_pending;
    size_t nLeft = m_nPending;
    for (; nLeft >= 8; p += 8, nLeft -= 8)
        n = std::rotl(n ^ Round(0, Load<uint64_t>(p)), 27) * PRIME1 + PRIME4;
    if (nLeft >= 4)
    {
        n = std::rotl(n ^ (Load<uint32_t>(p) * PRIME1), 23) * PRIME2 + PRIME3;
        p += 4;
        nLeft -= 4;
    }
    for (; nLeft != 0; ++p, --nLeft)
        n = std::rotl(n ^ (*p * PRIME5), 11) * PRIME1;
    n = (n ^ n >> 33) * PRIME2;
    n = (n ^ n >> 29) * PRIME3;
    return n ^ n >> 32;
}

uint64_t ZContentHash::Of(std::string_view bytes)
{
    ZContentHash hash;
    hash.Add(bytes.data(), bytes.size());
    return hash.Get();
}

uint64_t ZFileHashes::Of(const std::string& sPath, const SFileStamp& stamp)
{
    if (!stamp.bExists || stamp.nSize > HASHED_FILE_LIMIT)
        return 0;
    if (const auto it = m_known.find(sPath); it != m_known.end() && it->second.stamp == stamp)
        return it->second.nHash;
    Os::ZInputFile file;
    std::error_code error = file.Open(sPath);
    if (error || !file.IsOpen())
        return 0;
    constexpr size_t nRoom = size_t(256) << 10;
    const auto pBuffer = std::make_unique_for_overwrite<uint8_t[]>(nRoom);
    ZContentHash hash;
    while (const size_t nRead = file.Read(pBuffer.get(), nRoom, error))
        hash.Add(pBuffer.get(), nRead);
    if (error)
        return 0;
    const uint64_t nHash = std::max<uint64_t>(hash.Get(), 1);
    m_known[sPath] = {stamp, nHash};
    return nHash;
}

} // namespace Host
