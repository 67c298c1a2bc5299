#pragma once

#include "fbx/file/fbxinput.h"
#include "fbx/file/fbxrecord.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

/// A whole scene file as a tree of records, to be changed and written again.
///
/// Complete   known or not, every record and value is there, with its width; only comments of text files are lost.
///            What is written and read again is the same tree, every number in all its bits. Text files have one
///            not-a-number only.
/// Versions   6.0 to 7.7, text, and binary of either byte order; binary files are written little-endian.
/// Changing   records are linked lists: unlink, relink, and make new ones here. They live as long as the document.
/// Failures   a method returns false and Error() tells why; after a failed Load the document is not to be used.
/// Safety     any bytes may be given; the bounds are those of the importer.
class FbxDocument
{
public:
    FbxDocument() = default;

    /// Once. The bytes of LoadFromMemory must stay.
    bool Load(const char* szPath);
    bool LoadFromMemory(const void* pData, size_t nSize);
    const std::string& Error() const { return m_sError; }

    bool IsBinary() const { return m_tree.bBinary; }
    int GetVersion() const { return m_tree.nVersion; }
    /// What Write will write from now on. A file stays on its side of version 7, where the layout of objects changed,
    /// and one of version 6 stays binary or text, for its lists of numbers have no widths. Between text and binary,
    /// values change to what the other kind has in their place: letters for booleans, texts for raw bytes, classes
    /// before or behind names, widths by a record's meaning.
    bool SetFormat(bool bBinary, int nVersion);

    /// Its children are the file's records; it has no name and no values.
    SFbxRecord& Root() { return m_tree.root; }
    const SFbxRecordTree& Tree() const { return m_tree; }

    /// Stands nowhere until it is linked: see FbxRecordList.
    SFbxRecord* NewRecord(std::string_view name, std::initializer_list<SFbxValue> values = {}, bool bBlock = false);
    void SetValues(SFbxRecord& record, const std::vector<SFbxValue>& values);
    static SFbxValue Int(int32_t n);
    static SFbxValue Long(int64_t n);
    static SFbxValue Double(double f);
    /// As the file's kind has it: a letter, or a one.
    static SFbxValue Flag(bool b);
    SFbxValue Text(std::string_view text);
    SFbxValue Ints(const std::vector<int32_t>& numbers);
    SFbxValue Longs(const std::vector<int64_t>& numbers);
    SFbxValue Doubles(const std::vector<double>& numbers);
    SFbxValue Floats(const std::vector<float>& numbers);
    /// An object's name with its class, in the way of the file's kind.
    SFbxValue Name(std::string_view name, std::string_view className);

    bool Write(std::string& sOut);

private:
    bool Read();
    template <class T>
    SFbxValue Array(char type, const std::vector<T>& numbers);
    bool Fail(std::string sWhat);
    void ToText();
    void ToBinary();

    FbxInput m_input;
    SFbxRecordTree m_tree;
    std::string m_sError;
};

/// Adds to the end of a record's children, whose number does not matter.
class FbxRecordList
{
public:
    explicit FbxRecordList(SFbxRecord& parent) : m_ppTail(&parent.pChild)
    {
        parent.bBlock = true;
        while (*m_ppTail)
            m_ppTail = &(*m_ppTail)->pNext;
    }
    SFbxRecord* Append(SFbxRecord* pRecord)
    {
        *m_ppTail = pRecord;
        m_ppTail = &pRecord->pNext;
        return pRecord;
    }

private:
    SFbxRecord** m_ppTail;
};

/// Both append to sOut, and fail with a text: a binary file of more than 4 GB before version 7500, names and texts that
/// a text file has no way to write, an array whose bytes are damaged and have to be unpacked.
bool FbxWriteBinary(const SFbxRecordTree& tree, std::string_view file, std::string& sOut, std::string& sError);
bool FbxWriteText(const SFbxRecordTree& tree, size_t nFileBytes, std::string& sOut, std::string& sError);
