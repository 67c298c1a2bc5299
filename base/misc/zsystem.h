#pragma once

#include "base/misc/export.h"
#include "base/misc/memory.h"
#include "base/misc/zstring.h"

#include <cstdint>

class ZSystem
{
public:
    /// Nanoseconds of a clock that never goes back.
    Z_EXPORT static uint64_t GetSystemTicks();
};

class ZThread
{
public:
    Z_EXPORT static void DoYield();
};

/// Point in time: nanoseconds since 1970, UTC.
struct ZTime
{
    int64_t m_nNanoseconds = 0;
    friend bool operator==(const ZTime&, const ZTime&) = default;
};
Z_TYPE_NAME(ZTime, "ZTime");

/// Block of bytes of a fixed size, not cleared.
class ZBuffer
{
public:
    explicit ZBuffer(size_t nSize) : m_pBlock(GetMemoryManager()->Allocate(nSize)), m_nSize(nSize)
    {
        if (m_pBlock == nullptr)
            throw std::bad_alloc();
    }
    ZBuffer(const ZBuffer&) = delete;
    ZBuffer& operator=(const ZBuffer&) = delete;
    ~ZBuffer() { GetMemoryManager()->Free(m_pBlock); }

    void* Get() const { return m_pBlock; }
    size_t Size() const { return m_nSize; }

private:
    void* m_pBlock;
    size_t m_nSize;
};

/// Place of a folder or file on disk, slashes forward.
class ZPath
{
public:
    ZPath() = default;
    explicit ZPath(const ZString& path) : m_path(path.CopyReplace('\\', '/')) {}

    const ZString& ToString() const { return m_path; }
    bool IsEmpty() const { return m_path.IsEmpty(); }
    /// Empty when there is no folder in front of the last name.
    Z_EXPORT ZPath GetParentPath() const;

private:
    ZString m_path;
};

using ZFilePath = ZPath;
