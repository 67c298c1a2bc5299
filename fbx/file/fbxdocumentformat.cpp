#include "fbx/file/fbxarraybytes.h"
#include "fbx/file/fbxbase64.h"
#include "fbx/file/fbxdocument.h"
#include "fbx/file/fbxobjectname.h"
#include "fbx/types/fbxpropertytypes.h"

#include <cmath>
#include <cstring>

// Binary files say how wide every number is, and hold bytes; text files say neither. Between the two, a value's place
// decides.
namespace
{

/// These two belong together with the footer that the writer has: readers check them against each other.
constexpr unsigned char kFileId[16] = {0x28, 0xb3, 0x2a, 0xeb, 0xb6, 0x24, 0xcc, 0xc2,
                                       0xbf, 0xc8, 0xb0, 0x2a, 0xa9, 0x2b, 0xfc, 0xf1};
constexpr std::string_view kCreationTime = "1970-01-01 10:00:00:000";

/// All records with what stands around them, first to last; without recursion.
template <class TVisit>
void ForEachRecord(SFbxRecord& root, TVisit visit)
{
    struct SLevel
    {
        SFbxRecord* pParent;
        SFbxRecord* pNext;
    };
    std::vector<SLevel> open{{&root, root.pChild}};
    while (!open.empty())
    {
        SFbxRecord* pRecord = open.back().pNext;
        if (!pRecord)
        {
            open.pop_back();
            continue;
        }
        open.back().pNext = pRecord->pNext;
        visit(*open.back().pParent, *pRecord, open.size() - 1);
        open.push_back({pRecord, pRecord->pChild});
    }
}

SFbxValue* Values(SFbxRecord& record)
{
    return const_cast<SFbxValue*>(record.pValues); // in the document's own memory
}

bool HasObjectName(const SFbxRecord& parent, const SFbxRecord& record, size_t nDepth)
{
    return (nDepth == 1 && parent.Is("Objects")) || (nDepth == 1 && parent.Is("Documents") && record.Is("Document"));
}

/// Letter of an integer of a text file.
char LetterOf(const SFbxRecord& parent, const SFbxRecord& record, size_t nDepth, uint32_t nValue, int64_t n)
{
    const char fitting = n >= INT32_MIN && n <= INT32_MAX ? 'I' : 'L';
    if (record.Is("P") && nValue >= 4)
    {
        const SFbxTypeInfo* pType = FbxFindType(record.Text(1));
        switch (pType ? pType->eType : EFbxType::eUndefined)
        {
        case EFbxType::eFloat:
        case EFbxType::eDouble:
        case EFbxType::eDouble2:
        case EFbxType::eDouble3:
        case EFbxType::eDouble4:
        case EFbxType::eDouble4x4:
        case EFbxType::eDistance:
            return 'D';
        case EFbxType::eUChar:
            return n >= 0 && n <= 255 ? 'Z' : fitting;
        case EFbxType::eTime:
        case EFbxType::eLongLong:
        case EFbxType::eULongLong:
            return 'L';
        default:
            return fitting;
        }
    }
    const bool bNumber = (HasObjectName(parent, record, nDepth) && nValue == 0) || parent.Is("Connections") ||
                         record.Is("RootNode") || record.Is("LocalTime") || record.Is("ReferenceTime");
    if (bNumber)
        return 'L';
    return record.Is("Default") && parent.Is("AnimationCurve") ? 'D' : fitting;
}

/// Letter of an array of a text file.
char ArrayLetterOf(const SFbxRecord& record)
{
    const std::string_view name = record.Name();
    if (name == "KeyTime")
        return 'l';
    if (name == "KeyValueFloat" || name == "KeyAttrDataFloat")
        return 'f';
    for (const std::string_view known : {"Edges", "Materials", "Smoothing", "KeyAttrFlags", "KeyAttrRefCount"})
        if (name == known)
            return 'i';
    return name.ends_with("Index") || name.ends_with("Indexes") ? 'i' : 'd';
}

struct SNumber
{
    bool bInteger;
    int64_t n;
    double f;
};

bool IsWord(double f)
{
    return std::fabs(f) >= 16777216.0 && std::fabs(f) < 4294967296.0 && f == std::floor(f);
}

/// Whether every element keeps its value in the type.
bool Fits(const SNumber& number, char letter, bool bBits)
{
    constexpr int64_t kExact = int64_t(1) << 53;
    switch (letter)
    {
    case 'i':
        return number.bInteger && number.n >= INT32_MIN && number.n <= INT32_MAX;
    case 'l':
        return number.bInteger;
    case 'f':
        if (number.bInteger)
            return bBits ? number.n >= INT32_MIN && number.n <= UINT32_MAX
                         : number.n >= -(1 << 24) && number.n <= (1 << 24);
        return std::isnan(number.f) || FbxWiden(FbxNarrow(number.f)) == number.f ||
               std::fabs(number.f) < 3.4028234e38; // digits of a float, which are fewer than a double's
    default:
        return !number.bInteger || (number.n >= -kExact && number.n <= kExact);
    }
}

} // namespace

bool FbxDocument::SetFormat(bool bBinary, int nVersion)
{
    if (m_tree.nVersion < 7000 && (nVersion != m_tree.nVersion || bBinary != m_tree.bBinary))
        return Fail("a file of version " + std::to_string(m_tree.nVersion) + " keeps its version and kind");
    if (m_tree.nVersion >= 7000 && (nVersion < 7000 || nVersion > kFbxMaxVersion))
        return Fail("version " + std::to_string(nVersion) + " can't be written: 7000 to 7700 can");
    m_tree.nVersion = nVersion;
    for (SFbxRecord* p = m_tree.root.pChild; p; p = p->pNext)
        if (p->Is("FBXHeaderExtension"))
            for (SFbxRecord* pVersion = p->pChild; pVersion; pVersion = pVersion->pNext)
                if (pVersion->Is("FBXVersion"))
                    SetValues(*pVersion, {Int(nVersion)});
    if (bBinary == m_tree.bBinary)
        return true;
    if (bBinary)
        ToBinary();
    else
        ToText();
    m_tree.bBinary = bBinary;
    return true;
}

void FbxDocument::ToText()
{
    ForEachRecord(m_tree.root,
                  [this](const SFbxRecord&, SFbxRecord& record, size_t)
                  {
                      SFbxValue* pValues = Values(record);
                      for (uint32_t n = 0; n < record.nValues; ++n)
                      {
                          const std::string_view text = pValues[n].AsText();
                          if (pValues[n].type == 'R')
                              pValues[n] = Text(FbxToBase64(text));
                          else if (text.find(std::string_view("\0\1", 2)) != std::string_view::npos)
                          {
                              const SFbxObjectName name = FbxSplitName(text);
                              pValues[n] = Text(std::string(name.className) + "::" + std::string(name.name));
                          }
                      }
                  });
    for (SFbxRecord** pp = &m_tree.root.pChild; *pp;)
    {
        // Only binary files say this.
        if ((*pp)->Is("FileId"))
            *pp = (*pp)->pNext;
        else
            pp = &(*pp)->pNext;
    }
}

void FbxDocument::ToBinary()
{
    const auto convertArray = [this](const SFbxRecord& record, SFbxValue& value)
    {
        const auto at = [&value](uint32_t n)
        {
            SNumber number{value.type == 'l', 0, 0.0};
            std::memcpy(number.bInteger ? static_cast<void*>(&number.n) : &number.f, value.p + n * size_t(8), 8);
            return number;
        };
        const bool bBits = record.Is("KeyAttrDataFloat");
        char letter = ArrayLetterOf(record);
        for (uint32_t n = 0; n < value.n; ++n)
        {
            if (!Fits(at(n), letter, bBits))
            {
                letter = value.type;
                break;
            }
        }
        const size_t nElement = FbxElementSize(letter);
        char* pOut = static_cast<char*>(m_tree.arena.Allocate(value.n * nElement, 8));
        for (uint32_t n = 0; n < value.n; ++n)
        {
            const SNumber number = at(n);
            const double f = number.bInteger ? static_cast<double>(number.n) : number.f;
            // In a list with fractions the words stand among plain numbers; too large ones are the words.
            const bool bWord = bBits && (number.bInteger || IsWord(f));
            const uint32_t nWord = letter == 'i' || bWord
                                       ? static_cast<uint32_t>(number.bInteger ? number.n : static_cast<int64_t>(f))
                                       : FbxNarrow(f);
            std::memcpy(pOut + n * nElement,
                        nElement == 4   ? static_cast<const void*>(&nWord)
                        : letter == 'l' ? static_cast<const void*>(&number.n)
                                        : &f,
                        nElement);
        }
        value.type = letter;
        value.letter = letter;
        value.p = pOut;
    };
    ForEachRecord(m_tree.root,
                  [&](const SFbxRecord& parent, SFbxRecord& record, size_t nDepth)
                  {
                      SFbxValue* pValues = Values(record);
                      for (uint32_t n = 0; n < record.nValues; ++n)
                      {
                          SFbxValue& value = pValues[n];
                          if (value.IsArray())
                              convertArray(record, value);
                          else if (value.type == 'W' && value.n == 1)
                          {
                              const char c = *value.p;
                              value = Int(c);
                              value.letter = 'C';
                          }
                          else if (value.type == 'W')
                              value.type = 'S';
                          else if (value.type == 'D')
                              value.letter = 'D';
                          else if (value.type == 'I')
                          {
                              value.letter = LetterOf(parent, record, nDepth, n, value.i);
                              constexpr int64_t kExact = int64_t(1) << 53;
                              if (value.letter == 'D' && (value.i < -kExact || value.i > kExact))
                                  value.letter = 'L';
                              if (value.letter == 'D')
                                  value = Double(static_cast<double>(value.i));
                          }
                          else if (value.type == 'S' && n == 1 && HasObjectName(parent, record, nDepth))
                          {
                              const SFbxObjectName name = FbxSplitName(value.AsText());
                              if (!name.className.empty())
                                  value = Text(std::string(name.name) + std::string("\0\1", 2) +
                                               std::string(name.className));
                          }
                      }
                  });
    SFbxRecord** ppAfter = &m_tree.root.pChild;
    SFbxRecord* pCreation = nullptr;
    for (SFbxRecord* p = m_tree.root.pChild; p; p = p->pNext)
    {
        if (p->Is("FBXHeaderExtension"))
            ppAfter = &p->pNext;
        if (p->Is("CreationTime"))
            pCreation = p;
    }
    SFbxValue id = Text({reinterpret_cast<const char*>(kFileId), sizeof kFileId});
    id.type = 'R';
    SFbxRecord* pId = NewRecord("FileId", {id});
    pId->pNext = *ppAfter;
    *ppAfter = pId;
    if (pCreation)
        SetValues(*pCreation, {Text(kCreationTime)});
    else
    {
        pCreation = NewRecord("CreationTime", {Text(kCreationTime)});
        pCreation->pNext = pId->pNext;
        pId->pNext = pCreation;
    }
}
