#pragma once

#include "base/collections/tarray.h"
#include "base/component/icomponentinterface.h"
#include "base/misc/zstring.h"

/// Bytes to read. A component: whoever opened or created it ends it with Release().
class Z_EXPORT IInputStream : public IComponentInterface
{
public:
    virtual bool IsOpen() const = 0;
    /// Bytes from first to last, however many have been read.
    virtual size_t GetSize() const = 0;
    /// Bytes read: fewer than asked for at the end only.
    virtual size_t Read(void* pBuffer, size_t nSize) = 0;
};
Z_TYPE_NAME(IInputStream, "IInputStream");

/// Bytes to write. On disk they appear when the stream is released, all of them or none.
class Z_EXPORT IOutputStream : public IComponentInterface
{
public:
    virtual bool IsOpen() const = 0;
    virtual size_t Write(const void* pBuffer, size_t nSize) = 0;
};
Z_TYPE_NAME(IOutputStream, "IOutputStream");

/// Typed writes onto a stream in the target's byte order. The stream must outlive the writer.
class Z_EXPORT IBinaryWriter : public IComponentInterface
{
public:
    virtual void WriteUInt8(const uint8_t* pValues, size_t nCount) = 0;
    virtual void WriteUInt16(const uint16_t* pValues, size_t nCount) = 0;
    virtual void WriteUInt32(const uint32_t* pValues, size_t nCount) = 0;
    virtual void WriteUInt64(const uint64_t* pValues, size_t nCount) = 0;
    virtual void WriteFloat32(const float* pValues, size_t nCount) = 0;
};
Z_TYPE_NAME(IBinaryWriter, "IBinaryWriter");

// Creation arguments of the stream components.
Z_TYPE_NAME(TArrayRef<const uint8_t>, "TArrayRef<uint8>");
Z_TYPE_NAME(TArray<uint8_t>*, "TArray<uint8>*");
Z_TYPE_NAME(IInputStream*, "IInputStream*");
Z_TYPE_NAME(IOutputStream*, "IOutputStream*");

constexpr const char MEMORY_INPUT_STREAM[] = "System.IO.MemoryInputStream";   ///< TArrayRef<const uint8_t>
constexpr const char MEMORY_OUTPUT_STREAM[] = "System.IO.MemoryOutputStream"; ///< TArray<uint8_t>*, appended to
constexpr const char BINARY_WRITER[] = "System.IO.BinaryWriter";              ///< IOutputStream*, bool: swap bytes

/// Registers this library's module with the component manager; the first call alone does.
Z_EXPORT void ImportSystemIOModule();
