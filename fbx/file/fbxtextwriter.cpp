#include "fbx/file/fbxarraybytes.h"
#include "fbx/file/fbxdocument.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace
{

/// Letters that no name and no bare word may have.
constexpr bool IsBreak(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == ',' || c == ':' || c == '{' || c == '}' ||
           c == '"' || c == ';' || c == '*' || c == '\0';
}

bool IsWord(std::string_view text)
{
    for (const char c : text)
        if (IsBreak(c))
            return false;
    return !text.empty() && text.size() <= 1024;
}

class TextWriter
{
public:
    TextWriter(const SFbxRecordTree& tree, size_t nFileBytes, std::string& sOut, std::string& sError)
        : m_tree(tree), m_sOut(sOut), m_sError(sError), m_arrays(nFileBytes, tree.bBigEndian)
    {
    }

    bool Write();

private:
    void PutInteger(int64_t n)
    {
        char buffer[24];
        const auto end = std::to_chars(buffer, buffer + sizeof buffer, n);
        m_sOut.append(buffer, end.ptr);
    }
    void PutDouble(double f);
    void PutFloat(uint32_t nBits);
    bool PutText(std::string_view text);
    bool PutValue(const SFbxRecord& record, const SFbxValue& value, size_t nDepth);
    bool PutArray(const SFbxRecord& record, const SFbxValue& value, size_t nDepth);
    bool PutRecord(const SFbxRecord& record, size_t nDepth);
    void PutSpecial(double f)
    {
        m_sOut += std::isinf(f) ? (f < 0.0 ? "-1.#INF" : "1.#INF") : (std::signbit(f) ? "-1.#IND" : "1.#QNAN");
    }
    bool Fail(const char* szWhat)
    {
        m_sError = szWhat;
        return false;
    }

    const SFbxRecordTree& m_tree;
    std::string& m_sOut;
    std::string& m_sError;
    FbxArrayBytes m_arrays;
};

/// The shortest digits that read back exactly, always with a sign of being no integer.
void TextWriter::PutDouble(double f)
{
    if (!std::isfinite(f))
        return PutSpecial(f);
    char buffer[40];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, f);
    const std::string_view digits(buffer, static_cast<size_t>(end.ptr - buffer));
    m_sOut += digits;
    if (digits.find_first_of(".e") == std::string_view::npos)
        m_sOut += ".0";
}

void TextWriter::PutFloat(uint32_t nBits)
{
    const double fWide = FbxWiden(nBits);
    if (!std::isfinite(fWide))
        return PutSpecial(fWide);
    char buffer[40];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, std::bit_cast<float>(nBits));
    // Readers go by way of a double, which can round the shortest digits of a float to its neighbour.
    double fRead = 0.0;
    std::from_chars(buffer, end.ptr, fRead);
    if (FbxNarrow(fRead) != nBits)
        return PutDouble(fWide);
    const std::string_view digits(buffer, static_cast<size_t>(end.ptr - buffer));
    m_sOut += digits;
    if (digits.find_first_of(".e") == std::string_view::npos)
        m_sOut += ".0";
}

bool TextWriter::PutText(std::string_view text)
{
    for (const std::string_view escape : {"&quot;", "&lf;", "&cr;"})
        if (text.find(escape) != std::string_view::npos)
            return Fail("a text holds what a text file would read as a quote or the end of a line");
    if (text.find('\0') != std::string_view::npos)
        return Fail("a text holds a zero byte, which a text file can't");
    m_sOut += '"';
    for (const char c : text)
    {
        if (c == '"')
            m_sOut += "&quot;";
        else if (c == '\n')
            m_sOut += "&lf;";
        else if (c == '\r')
            m_sOut += "&cr;";
        else
            m_sOut += c;
    }
    m_sOut += '"';
    return true;
}

bool TextWriter::PutArray(const SFbxRecord& record, const SFbxValue& value, size_t nDepth)
{
    const char* p = m_arrays.Decode(value);
    if (!p)
        return Fail("an array's compressed bytes are damaged");
    // Words that are not numbers are written as their bits.
    const bool bBits = value.type == 'f' && record.Is("KeyAttrDataFloat");
    m_sOut += '*';
    PutInteger(value.n);
    m_sOut += " {\n";
    m_sOut.append(nDepth + 1, '\t');
    m_sOut += "a: ";
    const auto load = [&p]<class T>(T& t)
    {
        std::memcpy(&t, p, sizeof t);
        p += sizeof t;
    };
    for (uint32_t n = 0; n < value.n; ++n)
    {
        if (n > 0)
            m_sOut += ',';
        uint32_t nWord = 0;
        int64_t nLong = 0;
        double f = 0.0;
        switch (value.type)
        {
        case 'i':
            load(nWord);
            PutInteger(static_cast<int32_t>(nWord));
            break;
        case 'f':
            load(nWord);
            if (bBits)
                PutInteger(static_cast<int32_t>(nWord));
            else
                PutFloat(nWord);
            break;
        case 'l':
            load(nLong);
            PutInteger(nLong);
            break;
        case 'd':
            load(f);
            PutDouble(f);
            break;
        default:
            PutInteger(static_cast<uint8_t>(*p++));
            break;
        }
    }
    m_sOut += '\n';
    m_sOut.append(nDepth, '\t');
    m_sOut += '}';
    return true;
}

bool TextWriter::PutValue(const SFbxRecord& record, const SFbxValue& value, size_t nDepth)
{
    if (value.IsArray())
        return PutArray(record, value, nDepth);
    switch (value.type)
    {
    case 'S':
        return PutText(value.AsText());
    case 'W':
        if (!IsWord(value.AsText()))
            return Fail("a word can't be written to a text file");
        m_sOut += value.AsText();
        return true;
    case 'R':
        return Fail("raw bytes can't be written to a text file");
    case 'U':
        return Fail("values of an unknown type can't be written to a text file");
    case 'D':
        if (value.letter == 'F')
            PutFloat(FbxNarrow(value.d));
        else
            PutDouble(value.d);
        return true;
    default:
        if ((value.letter == 'C' || value.letter == 'B') && value.i >= 'A' && value.i <= 'Z')
            m_sOut += static_cast<char>(value.i);
        else
            PutInteger(value.i);
        return true;
    }
}

/// Without what is nested in it.
bool TextWriter::PutRecord(const SFbxRecord& record, size_t nDepth)
{
    if (!IsWord(record.Name()))
        return Fail("a record's name can't be written to a text file");
    m_sOut.append(nDepth, '\t');
    m_sOut += record.Name();
    m_sOut += ": ";
    for (uint32_t n = 0; n < record.nValues; ++n)
    {
        if (n > 0)
            m_sOut += ", ";
        if (!PutValue(record, record.pValues[n], nDepth))
            return false;
    }
    return true;
}

bool TextWriter::Write()
{
    const int n = m_tree.nVersion;
    m_sOut += "; FBX ";
    for (const int nDigit : {n / 1000, n / 100 % 10, n / 10 % 10})
        m_sOut.append(std::to_string(nDigit)).append(1, '.');
    m_sOut.pop_back();
    m_sOut += " project file\n; ----------------------------------------------------\n\n";
    const size_t nComments = m_sOut.size() - 1;
    std::vector<const SFbxRecord*> open{m_tree.root.pChild};
    for (;;)
    {
        const SFbxRecord* pRecord = open.back();
        if (!pRecord)
        {
            open.pop_back();
            if (open.empty())
                break;
            m_sOut.append(open.size() - 1, '\t');
            m_sOut += "}\n";
            continue;
        }
        open.back() = pRecord->pNext;
        if (!PutRecord(*pRecord, open.size() - 1))
            return false;
        if (pRecord->bBlock || pRecord->pChild)
        {
            m_sOut += " {\n";
            open.push_back(pRecord->pChild);
        }
        else
            m_sOut += '\n';
    }
    // A reader goes by the first version that it meets, which may be that of some other thing.
    const SFbxHead head = FbxReadHead(reinterpret_cast<const uint8_t*>(m_sOut.data()), m_sOut.size());
    if (head.nVersion != n)
        m_sOut.insert(nComments, std::string("; FBXVersion: ").append(std::to_string(n)).append(1, '\n'));
    return true;
}

} // namespace

bool FbxWriteText(const SFbxRecordTree& tree, size_t nFileBytes, std::string& sOut, std::string& sError)
{
    return TextWriter(tree, nFileBytes, sOut, sError).Write();
}
