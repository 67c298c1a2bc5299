#pragma once

#include "fbx/file/fbxarraybytes.h"
#include "fbx/load/fbxfiletime.h"
#include "fbx/scene/fbxscene.h"

#include <memory>
#include <string>
#include <vector>

/// Decodes the arrays of a file into a scene's memory. Arrays whose stored bytes are equal are decoded once: curves
/// that were keyed together have the same key times, and most files have a handful of key attributes.
///
/// Failures   a method returns false and Error() tells why; out parameters are not to be used then.
/// Bounds     all decoded arrays together, with what is later made of their keys, stay below 32 times the file's
///            size plus 128 MB.
class FbxArrayReader
{
public:
    FbxArrayReader(FbxScene& scene, size_t nFileBytes, bool bBigEndian, const FbxFileTime& fileTime);

    bool Floats(const SFbxValue* pValue, const float*& pOut, uint32_t& nCount);
    /// 32-bit words: integers, or the bits of floats.
    bool Words(const SFbxValue* pValue, const uint32_t*& pOut, uint32_t& nCount);
    /// Shared with every earlier timeline of the same times. bAscending is false when the times go backwards.
    bool Timeline(const SFbxValue* pValue, const SFbxTimeline*& pOut, bool& bAscending);
    /// Sets aside memory for what is made of arrays: nCount elements of nBytes each. False when that is too much.
    bool Claim(size_t nCount, size_t nBytes);
    /// Times already in the scene's memory.
    const SFbxTimeline* AddTimeline(const int64_t* pTimes, uint32_t nCount);

    const std::string& Error() const { return m_sError; }

private:
    struct SShared
    {
        SFbxStoredArray payload;
        const void* pDecoded;
        const SFbxTimeline* pTimeline;
        bool bAscending;
        char want;
        uint64_t nHash;
        int32_t nNext;
    };

    bool Open(const SFbxValue* pValue, SFbxStoredArray& payload);
    bool Fail() { return Fail("the arrays of the file inflate to more than is reasonable for its size"); }
    bool Decode(const SFbxStoredArray& payload, void* pOut);
    template <class T>
    bool Convert(const SFbxStoredArray& payload, T* pOut);
    /// Shared by all arrays of the same stored bytes that are wanted as the same; sameTypes need no conversion.
    template <class T>
    bool Elements(const SFbxValue* pValue, char want, std::string_view sameTypes, const T*& pOut, uint32_t& nCount);
    SShared* FindShared(const SFbxStoredArray& payload, char want, uint64_t& nHash);
    void Share(const SFbxStoredArray& payload, char want, uint64_t nHash, const void* pDecoded,
               const SFbxTimeline* pTimeline, bool bAscending);
    bool Fail(const char* szWhat)
    {
        m_sError = szWhat;
        return false;
    }

    FbxScene& m_scene;
    FbxFileTime m_fileTime;
    FbxArena& m_arena;
    FbxArrayDecoder m_decoder;
    uint64_t m_nBudget;
    std::vector<SShared> m_shared;
    std::vector<int32_t> m_buckets; ///< heads of chains by hash; a power of two of them
    std::vector<std::byte> m_scratch;
    std::string m_sError;
};
