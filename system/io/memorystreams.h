#pragma once

#include "base/component/componentbase.h"
#include "base/component/componentcreateinfo.h"
#include "system/io/streams.h"

/// Reads bytes that stay with their owner.
class ZMemoryInputStream final : public TCountedComponent<ZMemoryInputStream, IInputStream>
{
public:
    explicit ZMemoryInputStream(ZComponentCreateInfo& info);

    bool IsOpen() const override { return m_bOpen; }
    size_t GetSize() const override { return m_bytes.Size(); }
    size_t Read(void* pBuffer, size_t nSize) override;

private:
    TArrayRef<const uint8_t> m_bytes;
    size_t m_nPosition = 0;
    bool m_bOpen = false;
};

/// Appends to an array of the caller's.
class ZMemoryOutputStream final : public TCountedComponent<ZMemoryOutputStream, IOutputStream>
{
public:
    explicit ZMemoryOutputStream(ZComponentCreateInfo& info);

    bool IsOpen() const override { return m_pBytes != nullptr; }
    size_t Write(const void* pBuffer, size_t nSize) override;

private:
    TArray<uint8_t>* m_pBytes = nullptr;
};
