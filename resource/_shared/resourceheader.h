#pragma once

#include "base/collections/tmap.h"
#include "base/misc/endian.h"
#include "base/misc/zresourceid.h"
#include "system/io/streams.h"

constexpr uint32_t RESOURCE_CODE_ANIMATION = 0x41525459; ///< "ARTY"
constexpr uint32_t RESOURCE_CODE_RIG = 0x52525459;       ///< "RRTY"
constexpr uint32_t RESOURCE_CODE_DATABASE = 0x43687254;  ///< "ChrT"

/// Every reference of this module's resources carries these flags.
constexpr uint32_t REFERENCE_FLAGS = 0x80000000;

/// Header of every packed file; the resource's data follow at once.
///
///   offset size field                          every number is 32 bits in the target's byte order
///        0    4 type code
///        4    4 size of the reference block; 0 when there are no references
///        8    4 always 0
///       12    4 size of the data behind the header
///       16    4 second size
///       20    4 third size
///       24      reference block for n references:
///               n; n third words; 4n + 12; 8n + 12; n words of flags | offset of the name in the text block;
///               the texts, lower-cased, each with a zero byte
class ZResourceHeader
{
public:
    struct SReferenceInfo
    {
        uint32_t nPosition = 0;
        uint32_t nFlags = 0;
        uint32_t nThird = 0; ///< the runtime's; written as it stands
    };
    using TReferences = TMap<ZResourceID, SReferenceInfo>;

    /// Offsets of names share their word with the flags, of which bit 20 is the lowest.
    static constexpr uint32_t MAX_TEXT_BLOCK = 1u << 20;

    ZResourceHeader() = default;
    /// The code's four bytes, most significant first, are the type's four characters.
    Z_EXPORT ZResourceHeader(uint32_t nCode, const ZString& platform);

    /// Position of the reference. The identifier gets this header's platform first, if there is one. One that the table
    /// holds keeps its position, and its flags are merged. Assertions: "id.IsValid()", "id.IsDerived()".
    Z_EXPORT uint32_t AddReference(const ZResourceID& id, uint32_t nFlags);

    void SetSizes(uint64_t nData, uint64_t nSecond, uint64_t nThird)
    {
        m_nDataSize = nData;
        m_nSecondSize = nSecond;
        m_nThirdSize = nThird;
    }

    /// False, and nothing written, when the names do not fit MAX_TEXT_BLOCK or a size does not fit 32 bits.
    Z_EXPORT bool Write(IOutputStream* pStream, EEndian eEndian) const;
    /// False when the stream ends early or the block contradicts itself. Platform is left as it is.
    Z_EXPORT bool Read(IInputStream* pStream, EEndian eEndian);

    const ZString& Type() const { return m_type; }
    const TReferences& References() const { return m_references; }
    uint64_t DataSize() const { return m_nDataSize; }
    uint64_t SecondSize() const { return m_nSecondSize; }
    uint64_t ThirdSize() const { return m_nThirdSize; }
    uint32_t ReferenceBlockSize() const { return m_nReferenceBlockSize; } ///< as read

private:
    /// The table's entries in position order.
    TArray<const TReferences::TTree::value_type*> InPositionOrder() const;
    bool ReadReferences(TArrayRef<const uint8_t> block, EEndian eEndian);

    ZString m_type;
    ZString m_platform;
    TReferences m_references;
    uint64_t m_nDataSize = 0;
    uint64_t m_nSecondSize = static_cast<uint64_t>(-1);
    uint64_t m_nThirdSize = static_cast<uint64_t>(-1);
    uint32_t m_nReferenceBlockSize = 0;
};
