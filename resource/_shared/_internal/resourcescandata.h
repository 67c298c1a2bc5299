#pragma once

#include "base/collections/tarray.h"
#include "base/collections/tmap.h"
#include "base/misc/zresourceid.h"
#include "system/io/streams.h"

/// One thing that a source file holds. All property values are text, numbers too.
struct SSubResourceScanData
{
    ZResourceID resourceID;
    ZResourceID sourceResourceID; ///< the scanned file
    TArray<ZResourceID> referencedResources;
    TMap<ZString, ZString> properties;
};

/// What a scanner fills for one source file; the host owns it.
struct SResourceScanData
{
    TArray<ZResourceID> fileReferencedResources;
    TMap<ZString, ZString> fileProperties;
    TArray<SSubResourceScanData> subResources; ///< in the order in which the scanner found them
};

// The record as a blob: fields in declared order; integers signed, 32 bits, the machine's byte order; nothing between.
//
//   text        length, bytes without a terminator
//   identifier  its text
//   array       count, elements
//   map         count, pairs of key and value, keys ascending
//
// Limits, on both sides: counts and lengths below 1024 * 1024, texts of at most 131,071 bytes. Breaking one is a
// programmer's fault and fails an assertion such as "propertyCount < 1024 * 1024".

/// Raw bytes of a stream, which must outlive it. A blob that ends early reads as zeroes from there on: no count can
/// make a reader loop or allocate beyond what the stream holds.
class ZScanDataReader
{
public:
    explicit ZScanDataReader(IInputStream* pStream) : m_pStream(pStream), m_nLeft(pStream->GetSize()) {}

    Z_EXPORT void Read(void* pBuffer, size_t nSize);
    bool IsAtEnd() const { return m_nLeft == 0; }
    /// At most this many things of at least nBytes each can follow.
    Z_EXPORT uint32_t CapacityFor(int32_t nCount, size_t nBytes) const;

private:
    IInputStream* m_pStream;
    size_t m_nLeft;
};

Z_EXPORT SResourceScanData ReadResourceScanData(ZScanDataReader& reader);
Z_EXPORT SSubResourceScanData ReadSubResourceScanData(ZScanDataReader& reader);
Z_EXPORT ZString ReadScanString(ZScanDataReader& reader);
Z_EXPORT ZResourceID ReadScanResourceID(ZScanDataReader& reader);
/// The four bytes as they stand: a negative count passes every test and reads as no elements.
Z_EXPORT int32_t ReadScanCount(ZScanDataReader& reader);

Z_EXPORT void WriteResourceScanData(IOutputStream* pStream, const SResourceScanData& data);
Z_EXPORT void WriteSubResourceScanData(IOutputStream* pStream, const SSubResourceScanData& data);
Z_EXPORT void WriteScanString(IOutputStream* pStream, const ZString& text);
Z_EXPORT void WriteScanResourceID(IOutputStream* pStream, const ZResourceID& id);
Z_EXPORT void WriteScanCount(IOutputStream* pStream, int32_t nCount);
