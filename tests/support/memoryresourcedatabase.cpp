#include "tests/support/memoryresourcedatabase.h"

#include "base/component/componentbase.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace
{

/// Bytes that the stream owns.
class ZOwnedInput final : public TCountedComponent<ZOwnedInput, IInputStream>
{
public:
    explicit ZOwnedInput(ZMemoryResourceDatabase::TBytes&& bytes) : m_bytes(std::move(bytes)) {}

    bool IsOpen() const override { return true; }
    size_t GetSize() const override { return m_bytes.Size(); }
    size_t Read(void* pBuffer, size_t nSize) override
    {
        const size_t nRead = std::min(nSize, m_bytes.Size() - m_nPosition);
        if (nRead != 0)
            std::memcpy(pBuffer, m_bytes.GetStart() + m_nPosition, nRead);
        m_nPosition += nRead;
        return nRead;
    }

private:
    ZMemoryResourceDatabase::TBytes m_bytes;
    size_t m_nPosition = 0;
};

} // namespace

/// Its bytes become the resource when it goes.
class ZMemoryOutput final : public TCountedComponent<ZMemoryOutput, IOutputStream>
{
public:
    ZMemoryOutput(ZMemoryResourceDatabase& database, const ZResourceID& id,
                  ZMemoryResourceDatabase::EOutputFault eFault)
        : m_database(database), m_id(id), m_eFault(eFault)
    {
    }
    ~ZMemoryOutput() override
    {
        if (m_eFault == ZMemoryResourceDatabase::EOutputFault::eNone)
            m_database.m_outputs[m_id] = std::move(m_bytes);
    }

    bool IsOpen() const override { return m_eFault != ZMemoryResourceDatabase::EOutputFault::eNotOpen; }
    size_t Write(const void* pBuffer, size_t nSize) override
    {
        if (m_eFault != ZMemoryResourceDatabase::EOutputFault::eNone)
            return 0;
        if (m_bytes.Size() + nSize > m_bytes.Capacity())
            m_bytes.Reserve(2 * (m_bytes.Size() + nSize));
        m_bytes.Append(static_cast<const uint8_t*>(pBuffer), nSize);
        return nSize;
    }

private:
    ZMemoryResourceDatabase& m_database;
    ZResourceID m_id;
    ZMemoryResourceDatabase::TBytes m_bytes;
    ZMemoryResourceDatabase::EOutputFault m_eFault;
};

ZMemoryResourceDatabase::ZMemoryResourceDatabase() : m_pOuter(GetResourceDatabase())
{
    SetResourceDatabase(this);
}

ZMemoryResourceDatabase::~ZMemoryResourceDatabase()
{
    SetResourceDatabase(m_pOuter);
}

void ZMemoryResourceDatabase::AddSource(const ZResourceID& id, const ZString& text)
{
    TBytes bytes;
    bytes.Append(reinterpret_cast<const uint8_t*>(text.ToCString()), text.Length());
    m_sources[id] = bytes;
}

ZMemoryResourceDatabase::TBytes ZMemoryResourceDatabase::Output(const ZResourceID& id) const
{
    const TBytes* pBytes = m_outputs.Find(id);
    return pBytes != nullptr ? *pBytes : TBytes();
}

uint32_t ZMemoryResourceDatabase::CountCalls(const ZString& start) const
{
    uint32_t nCount = 0;
    for (const ZString& call : m_calls)
        nCount += call.StartsWith(start) ? 1 : 0;
    return nCount;
}

void ZMemoryResourceDatabase::Record(const char* szCall, const ZResourceID& id)
{
    m_calls.Add(ZString::Format("{0} {1}", szCall, id));
}

bool ZMemoryResourceDatabase::Find(const ZResourceID& id, TBytes& bytes) const
{
    for (const TMap<ZResourceID, TBytes>* pTable : {&m_sources, &m_outputs})
    {
        if (const TBytes* pBytes = pTable->Find(id))
        {
            bytes = *pBytes;
            return true;
        }
    }
    if (id.IsDerived())
        return false;
    if (const ZResourceID root = id.GetRoot(); !(root == id))
        return Find(root, bytes);
    const ZString path = m_folder.IsEmpty() ? ZString() : m_folder + "/" + id.ToString().Substring(10);
    std::error_code error;
    if (path.IsEmpty() || !std::filesystem::is_regular_file(path.ToCString(), error))
        return false;
    std::ifstream file(path.ToCString(), std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    bytes.Clear();
    bytes.Append(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    return true;
}

void ZMemoryResourceDatabase::AddSourceDependency(const ZResourceID& id)
{
    Record("AddSourceDependency", id);
}

void* ZMemoryResourceDatabase::OpenInputStream(const ZResourceID& id, STypeID* pInterface, int, int)
{
    Record("OpenInputStream", id);
    if (pInterface != GetTypeID<IInputStream>())
        return m_loader ? m_loader(id, pInterface) : nullptr;
    TBytes bytes;
    if (!Find(id, bytes) && !(id.IsDerived() && m_maker && m_maker(id) && Find(id, bytes)))
        return nullptr;
    return static_cast<IInputStream*>(new ZOwnedInput(std::move(bytes)));
}

IOutputStream* ZMemoryResourceDatabase::OpenOutputStream(const ZResourceID& id)
{
    Record("OpenOutputStream", id);
    return m_eOutputFault == EOutputFault::eNull ? nullptr : new ZMemoryOutput(*this, id, m_eOutputFault);
}

SResourceInfo ZMemoryResourceDatabase::QuerySourceResource(const ZResourceID& id)
{
    Record("QuerySourceResource", id);
    SResourceInfo info;
    TBytes bytes;
    info.bExists = Find(id, bytes);
    return info;
}

ZFilePath ZMemoryResourceDatabase::GetResourceFilePath(const ZResourceID& id)
{
    Record("GetResourceFilePath", id);
    return m_folder.IsEmpty() ? ZFilePath() : ZFilePath(m_folder + "/" + id.GetRoot().ToString().Substring(10));
}

bool ZMemoryResourceDatabase::BeginResourceUpdate(const ZResourceID& id, int)
{
    Record("BeginResourceUpdate", id);
    ++m_nOpenUpdates;
    return true;
}

void ZMemoryResourceDatabase::EndResourceUpdate(int)
{
    Record("EndResourceUpdate", ZResourceID());
    --m_nOpenUpdates;
}
