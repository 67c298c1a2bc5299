#pragma once

#include "base/component/componentbase.h"
#include "base/component/componentcreateinfo.h"
#include "base/misc/endian.h"
#include "system/io/streams.h"

class ZBinaryWriter final : public TCountedComponent<ZBinaryWriter, IBinaryWriter>
{
public:
    explicit ZBinaryWriter(ZComponentCreateInfo& info);

    void WriteUInt8(const uint8_t* pValues, size_t nCount) override { Write(pValues, nCount); }
    void WriteUInt16(const uint16_t* pValues, size_t nCount) override { Write(pValues, nCount); }
    void WriteUInt32(const uint32_t* pValues, size_t nCount) override { Write(pValues, nCount); }
    void WriteUInt64(const uint64_t* pValues, size_t nCount) override { Write(pValues, nCount); }
    void WriteFloat32(const float* pValues, size_t nCount) override { Write(pValues, nCount); }

private:
    template <class T>
    void Write(const T* pValues, size_t nCount);

    IOutputStream* m_pStream = nullptr;
    bool m_bSwap = false;
};
