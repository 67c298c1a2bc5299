#pragma once

#include "os/filestamp.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace Host
{

/// 64-bit hash of bytes that arrive in pieces: XXH64 (https://xxhash.com, doc/xxhash_spec.md) with seed 0. Tells
/// whether a file changed; no defence against someone who wants two files to agree.
class ZContentHash
{
public:
    void Add(const void* pBytes, size_t nCount);
    uint64_t Get() const;

    static uint64_t Of(std::string_view bytes);

private:
    void AddStripe(const uint8_t* pStripe);

    static constexpr size_t STRIPE = 32;
    uint64_t m_lanes[4] = {0x60ea27eeadc0b5d6u, 0xc2b2ae3d27d4eb4fu, 0, 0x61c8864e7a143579u};
    uint64_t m_nTotal = 0;
    uint8_t m_pending[STRIPE] = {};
    size_t m_nPending = 0;
};

using Os::SFileStamp;
using Os::StampOf;

/// Larger files are not read for the sake of a hash: the reader skips most of them, and reading all would take longer
/// than packing. For these, size and time decide alone.
constexpr uint64_t HASHED_FILE_LIMIT = uint64_t(256) << 20;

/// Hashes of files, each read once while its size and time stay.
class ZFileHashes
{
public:
    /// 0 when the file can't be read or is larger than HASHED_FILE_LIMIT; a true hash is never 0.
    uint64_t Of(const std::string& sPath, const SFileStamp& stamp);

private:
    struct SKnown
    {
        SFileStamp stamp;
        uint64_t nHash;
    };
    std::unordered_map<std::string, SKnown> m_known;
};

} // namespace Host
