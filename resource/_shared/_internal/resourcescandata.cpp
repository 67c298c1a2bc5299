#include "resource/_shared/_internal/resourcescandata.h"

#include "base/misc/assert.h"
#include "base/misc/memory.h"

#include <algorithm>
#include <cstring>

namespace
{

// The least that the smallest element of its kind takes.
constexpr size_t TEXT_BYTES = sizeof(int32_t);
constexpr size_t SUB_RESOURCE_BYTES = 4 * sizeof(int32_t);

void CheckTextLength(int32_t nLength)
{
    ZASSERT(nLength < 1024 * 1024);
    ZASSERT_OR_HALT_TEXT((static_cast<size_t>(nLength) + 1) * sizeof(char) <= C_MAX_STACK_ARRAY_ALLOCATION,
                         "(nLength + 1) * sizeof(char) <= C_MAX_STACK_ARRAY_ALLOCATION");
}

void ReadIDs(ZScanDataReader& reader, int32_t nCount, TArray<ZResourceID>& ids)
{
    ids.Reserve(reader.CapacityFor(nCount, TEXT_BYTES));
    for (int32_t i = 0; i < nCount && !reader.IsAtEnd(); ++i)
        ids.Add(ReadScanResourceID(reader));
}

void ReadProperties(ZScanDataReader& reader, int32_t nCount, TMap<ZString, ZString>& properties)
{
    for (int32_t i = 0; i < nCount && !reader.IsAtEnd(); ++i)
    {
        const ZString key = ReadScanString(reader);
        properties[key] = ReadScanString(reader);
    }
}

void WriteIDs(IOutputStream* pStream, const TArray<ZResourceID>& ids)
{
    for (const ZResourceID& id : ids)
        WriteScanResourceID(pStream, id);
}

void WriteProperties(IOutputStream* pStream, const TMap<ZString, ZString>& properties)
{
    for (const auto& [key, value] : properties)
    {
        WriteScanString(pStream, key);
        WriteScanString(pStream, value);
    }
}

} // namespace

void ZScanDataReader::Read(void* pBuffer, size_t nSize)
{
    std::memset(pBuffer, 0, nSize);
    const size_t nRead = m_pStream->Read(pBuffer, nSize);
    m_nLeft = nRead == nSize ? m_nLeft - std::min(nRead, m_nLeft) : 0;
}

uint32_t ZScanDataReader::CapacityFor(int32_t nCount, size_t nBytes) const
{
    return nCount > 0 ? static_cast<uint32_t>(std::min<size_t>(static_cast<size_t>(nCount), m_nLeft / nBytes)) : 0;
}

int32_t ReadScanCount(ZScanDataReader& reader)
{
    int32_t nCount;
    reader.Read(&nCount, sizeof nCount);
    return nCount;
}

ZString ReadScanString(ZScanDataReader& reader)
{
    const int32_t nLength = ReadScanCount(reader);
    if (nLength == -1) // its terminator would fill it
        return {};
    CheckTextLength(nLength);
    char* const pBuffer = Z_STACK_ARRAY(char, static_cast<size_t>(nLength) + 1,
                                        "(nLength + 1) * sizeof(char) <= C_MAX_STACK_ARRAY_ALLOCATION");
    reader.Read(pBuffer, static_cast<size_t>(nLength));
    pBuffer[nLength] = '\0';
    return ZString::AllocateFromCString(pBuffer, static_cast<size_t>(nLength) + 1);
}

ZResourceID ReadScanResourceID(ZScanDataReader& reader)
{
    return ZResourceID(ReadScanString(reader));
}

SSubResourceScanData ReadSubResourceScanData(ZScanDataReader& reader)
{
    SSubResourceScanData data;
    data.resourceID = ReadScanResourceID(reader);
    data.sourceResourceID = ReadScanResourceID(reader);
    const int32_t referencedResourceCount = ReadScanCount(reader);
    ZASSERT(referencedResourceCount < 1024 * 1024);
    ReadIDs(reader, referencedResourceCount, data.referencedResources);
    const int32_t propertyCount = ReadScanCount(reader);
    ZASSERT(propertyCount < 1024 * 1024);
    ReadProperties(reader, propertyCount, data.properties);
    return data;
}

SResourceScanData ReadResourceScanData(ZScanDataReader& reader)
{
    SResourceScanData data;
    const int32_t fileReferencedResourceCount = ReadScanCount(reader);
    ZASSERT(fileReferencedResourceCount < 1024 * 1024);
    ReadIDs(reader, fileReferencedResourceCount, data.fileReferencedResources);
    const int32_t filePropertyCount = ReadScanCount(reader);
    ZASSERT(filePropertyCount < 1024 * 1024);
    ReadProperties(reader, filePropertyCount, data.fileProperties);
    const int32_t subResourceCount = ReadScanCount(reader);
    ZASSERT(subResourceCount < 1024 * 1024);
    data.subResources.Reserve(reader.CapacityFor(subResourceCount, SUB_RESOURCE_BYTES));
    for (int32_t i = 0; i < subResourceCount && !reader.IsAtEnd(); ++i)
        data.subResources.Add(ReadSubResourceScanData(reader));
    return data;
}

void WriteScanCount(IOutputStream* pStream, int32_t nCount)
{
    pStream->Write(&nCount, sizeof nCount);
}

void WriteScanString(IOutputStream* pStream, const ZString& text)
{
    const auto nLength = static_cast<int32_t>(text.Length());
    CheckTextLength(nLength);
    WriteScanCount(pStream, nLength);
    pStream->Write(text.ToCString(), text.Length());
}

void WriteScanResourceID(IOutputStream* pStream, const ZResourceID& id)
{
    WriteScanString(pStream, id.ToString());
}

void WriteSubResourceScanData(IOutputStream* pStream, const SSubResourceScanData& data)
{
    WriteScanResourceID(pStream, data.resourceID);
    WriteScanResourceID(pStream, data.sourceResourceID);
    const auto referencedResourceCount = static_cast<int32_t>(data.referencedResources.Size());
    ZASSERT(referencedResourceCount < 1024 * 1024);
    WriteScanCount(pStream, referencedResourceCount);
    WriteIDs(pStream, data.referencedResources);
    const auto propertyCount = static_cast<int32_t>(data.properties.Size());
    ZASSERT(propertyCount < 1024 * 1024);
    WriteScanCount(pStream, propertyCount);
    WriteProperties(pStream, data.properties);
}

void WriteResourceScanData(IOutputStream* pStream, const SResourceScanData& data)
{
    const auto fileReferencedResourceCount = static_cast<int32_t>(data.fileReferencedResources.Size());
    ZASSERT(fileReferencedResourceCount < 1024 * 1024);
    WriteScanCount(pStream, fileReferencedResourceCount);
    WriteIDs(pStream, data.fileReferencedResources);
    const auto filePropertyCount = static_cast<int32_t>(data.fileProperties.Size());
    ZASSERT(filePropertyCount < 1024 * 1024);
    WriteScanCount(pStream, filePropertyCount);
    WriteProperties(pStream, data.fileProperties);
    const auto subResourceCount = static_cast<int32_t>(data.subResources.Size());
    ZASSERT(subResourceCount < 1024 * 1024);
    WriteScanCount(pStream, subResourceCount);
    for (const SSubResourceScanData& entry : data.subResources)
        WriteSubResourceScanData(pStream, entry);
}
