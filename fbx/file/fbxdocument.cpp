#include "fbx/file/fbxdocument.h"

#include <algorithm>
#include <cstring>
#include <new>

bool FbxDocument::Fail(std::string sWhat)
{
    m_sError = std::move(sWhat);
    return false;
}

bool FbxDocument::Load(const char* szPath)
{
    return m_input.Open(szPath, m_sError) && Read();
}

bool FbxDocument::LoadFromMemory(const void* pData, size_t nSize)
{
    m_input.Use(pData, nSize);
    return Read();
}

bool FbxDocument::Read()
{
    const SFbxHead head = FbxReadHead(m_input.Data(), m_input.Size());
    if (head.eFormat == EFbxFormat::eNone)
        return Fail(m_input.Size() == 0 ? "the file is empty"
                                        : "not an FBX file: its head is neither the binary nor the text one");
    if (head.nVersion < 6000 || head.nVersion > kFbxMaxVersion)
        return Fail("version " + std::to_string(head.nVersion) + " can't be rewritten: 6000 to 7700 can");
    m_tree.bWhole = true;
    try
    {
        return head.eFormat == EFbxFormat::eBinary
                   ? FbxReadBinary(m_input.Data(), m_input.Size(), head, m_tree, m_sError)
                   : FbxReadText(m_input.Data(), m_input.Size(), head, m_tree, m_sError);
    }
    catch (const std::bad_alloc&)
    {
        return Fail("not enough memory for this file");
    }
}

SFbxRecord* FbxDocument::NewRecord(std::string_view name, std::initializer_list<SFbxValue> values, bool bBlock)
{
    SFbxRecord* pRecord = m_tree.arena.New<SFbxRecord>();
    const std::string_view copy = m_tree.arena.CopyText(name.substr(0, 255));
    pRecord->pName = copy.data();
    pRecord->nName = static_cast<uint16_t>(copy.size());
    pRecord->bBlock = bBlock;
    SetValues(*pRecord, values);
    return pRecord;
}

void FbxDocument::SetValues(SFbxRecord& record, const std::vector<SFbxValue>& values)
{
    SFbxValue* pValues = m_tree.arena.AllocateArray<SFbxValue>(values.size());
    if (!values.empty())
        std::memcpy(static_cast<void*>(pValues), values.data(), values.size() * sizeof(SFbxValue));
    record.pValues = pValues;
    record.nValues = static_cast<uint32_t>(values.size());
}

SFbxValue FbxDocument::Int(int32_t n)
{
    SFbxValue value{};
    value.type = 'I';
    value.letter = 'I';
    value.i = n;
    return value;
}

SFbxValue FbxDocument::Long(int64_t n)
{
    SFbxValue value{};
    value.type = 'I';
    value.letter = 'L';
    value.i = n;
    return value;
}

SFbxValue FbxDocument::Double(double f)
{
    SFbxValue value{};
    value.type = 'D';
    value.letter = 'D';
    value.d = f;
    return value;
}

SFbxValue FbxDocument::Flag(bool b)
{
    SFbxValue value = Int(b ? 'Y' : 'N');
    value.letter = 'C';
    return value;
}

SFbxValue FbxDocument::Text(std::string_view text)
{
    const std::string_view copy = m_tree.arena.CopyText(text);
    SFbxValue value{};
    value.type = 'S';
    value.p = copy.data();
    value.n = static_cast<uint32_t>(copy.size());
    return value;
}

template <class T>
SFbxValue FbxDocument::Array(char type, const std::vector<T>& numbers)
{
    T* pNumbers = m_tree.arena.AllocateArray<T>(numbers.size());
    std::copy(numbers.begin(), numbers.end(), pNumbers);
    SFbxValue value{};
    value.type = type;
    value.letter = type;
    value.bNative = true;
    value.p = reinterpret_cast<const char*>(pNumbers);
    value.n = static_cast<uint32_t>(numbers.size());
    return value;
}

SFbxValue FbxDocument::Ints(const std::vector<int32_t>& numbers)
{
    return Array('i', numbers);
}

SFbxValue FbxDocument::Longs(const std::vector<int64_t>& numbers)
{
    return Array('l', numbers);
}

SFbxValue FbxDocument::Doubles(const std::vector<double>& numbers)
{
    return Array('d', numbers);
}

SFbxValue FbxDocument::Floats(const std::vector<float>& numbers)
{
    return Array('f', numbers);
}

SFbxValue FbxDocument::Name(std::string_view name, std::string_view className)
{
    std::string sWhole;
    if (m_tree.bBinary)
        sWhole.append(name).append(std::string_view("\0\1", 2)).append(className);
    else
        sWhole.append(className).append("::").append(name);
    return Text(sWhole);
}

bool FbxDocument::Write(std::string& sOut)
{
    sOut.clear();
    try
    {
        const std::string_view file(reinterpret_cast<const char*>(m_input.Data()), m_input.Size());
        return m_tree.bBinary ? FbxWriteBinary(m_tree, file, sOut, m_sError)
                              : FbxWriteText(m_tree, file.size(), sOut, m_sError);
    }
    catch (const std::bad_alloc&)
    {
        return Fail("not enough memory to write this file");
    }
}
