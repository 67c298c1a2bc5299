#include "fbx/load/fbxfiletime.h"

FbxFileTime::FbxFileTime(const SFbxRecord& root)
{
    constexpr int64_t kDefinitionOfScenes = 127;
    const SFbxRecord* pHeader = root.Find("FBXHeaderExtension");
    const SFbxRecord* pFlags = pHeader ? pHeader->Find("OtherFlags") : nullptr;
    const SFbxRecord* pDefinition = pFlags ? pFlags->Find("TCDefinition") : nullptr;
    if (pDefinition && pDefinition->Int(0, kDefinitionOfScenes) != kDefinitionOfScenes)
        m_nPerSecond = 141120000;
}

int64_t FbxFileTime::Ticks(int64_t nFileTicks) const
{
    if (IsOfScenes())
        return nFileTicks;
    // The seconds and the rest apart, so that neither product is too large.
    const int64_t nSeconds = nFileTicks / m_nPerSecond;
    const int64_t nRest = nFileTicks % m_nPerSecond;
    const int64_t nHalf = nRest < 0 ? -m_nPerSecond / 2 : m_nPerSecond / 2;
    int64_t nTicks;
    if (__builtin_mul_overflow(nSeconds, FbxTime::kTicksPerSecond, &nTicks) ||
        __builtin_add_overflow(nTicks, (nRest * FbxTime::kTicksPerSecond + nHalf) / m_nPerSecond, &nTicks))
        return nFileTicks < 0 ? INT64_MIN : INT64_MAX;
    return nTicks;
}
