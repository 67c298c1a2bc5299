#include "resource/_shared/fxflattener.h"

#include "base/misc/zsystem.h"
#include "os/files.h"

#include <algorithm>

using namespace FXCompilerUtil;

ZFXFlattener::ZFXFlattener(const char* pText, size_t nSize, const TArray<ZString>& directories, FReadFile readFile,
                           FFindAnyCase findAnyCase)
    : m_directories(directories),
      m_readFile(std::move(readFile)),
      m_findAnyCase(std::move(findAnyCase)),
      m_pText(pText),
      m_nSize(nSize)
{
}

ZFXFlattener::~ZFXFlattener()
{
    GetMemoryManager()->Free(m_pBuffer);
}

bool ZFXFlattener::Run(const FReference& onReference)
{
    size_t nLength = 0;
    while (FindHash())
    {
        m_nDirectiveLine = m_nLine;
        if (MatchKeyword(m_pText, m_nPosition, m_nSize, m_nLine, "#line", nLength) != 0)
        {
            m_nPosition += nLength;
            ReadDecimal(m_pText, m_nPosition, m_nSize, m_nLine, m_nLine);
            std::string_view name;
            ReadQuotedString(m_pText, m_nPosition, m_nSize, m_nLine, name);
            m_file = ZString::FromView(name);
        }
        else if (MatchKeyword(m_pText, m_nPosition, m_nSize, m_nLine, "#include", nLength) != 0)
        {
            const size_t nFrom = m_nPosition;
            m_nPosition += nLength;
            std::string_view name;
            ReadQuotedString(m_pText, m_nPosition, m_nSize, m_nLine, name);
            if (!Splice(nFrom, m_nPosition + 1, name, onReference))
                return false;
        }
        else
            m_nPosition = FindFrom('\n');
    }
    return true;
}

size_t ZFXFlattener::FindFrom(char c) const
{
    const size_t nLeft = m_nSize - m_nPosition;
    const void* pFound = nLeft != 0 ? std::memchr(m_pText + m_nPosition, c, nLeft) : nullptr;
    return pFound != nullptr ? static_cast<size_t>(static_cast<const char*>(pFound) - m_pText) : m_nSize;
}

/// What stands between matters for its newlines only.
bool ZFXFlattener::FindHash()
{
    const size_t nFound = FindFrom('#');
    m_nLine += static_cast<uint32_t>(std::count(m_pText + m_nPosition, m_pText + nFound, '\n'));
    m_nPosition = nFound;
    return nFound < m_nSize;
}

bool ZFXFlattener::Splice(size_t nFrom, size_t nTo, std::string_view name, const FReference& onReference)
{
    while (!m_openEnds.empty() && m_nSize - nFrom <= m_openEnds.back())
        m_openEnds.pop_back();
    ZString path;
    std::vector<char> bytes;
    if (!FindFile(name, path, bytes))
        return false;

    const ZString entryLine = ZString::Format("#line 1 \"{0}\"\n", path);
    const ZString returnLine = ZString::Format("#line {0} \"{1}\"\n", m_nLine - 1, m_file);
    const size_t nAdded = entryLine.Length() + bytes.size() + returnLine.Length();
    if (m_openEnds.size() >= MAX_DEPTH)
        m_error = ZString::Format("'{0}' stands inside {1} includes: does a file include itself?", path,
                                  static_cast<uint64_t>(MAX_DEPTH));
    else if (nAdded > MAX_SPLICED - m_nSpliced)
        m_error = ZString::Format("With '{0}', includes add more than {1} MB: does a file include itself?", path,
                                  static_cast<uint64_t>(MAX_SPLICED >> 20));
    if (!m_error.IsEmpty())
        return false;
    m_nSpliced += nAdded;
    onReference(path);

    m_done.insert(m_done.end(), m_pText, m_pText + nFrom);
    m_pText += nTo;
    m_nSize -= nTo;
    m_nPosition = 0;
    // Up to the end of the return line: what a broken file makes of that line is its own doing, too.
    m_openEnds.push_back(m_nSize);
    MakeRoom(nAdded);
    PutInFront(returnLine.View());
    PutInFront({bytes.data(), bytes.size()});
    PutInFront(entryLine.View());
    return true;
}

bool ZFXFlattener::FindFile(std::string_view name, ZString& path, std::vector<char>& bytes)
{
    TArray<ZString> directories;
    const ZPath parent = ZPath(m_file).GetParentPath();
    if (!parent.IsEmpty())
        directories.Add(parent.ToString());
    directories.Append(m_directories.GetStart(), m_directories.Size());

    const ZString fileName = ZString::FromView(name);
    // One byte beyond what may be added, so that the bound sees that there is more.
    const size_t nMost = MAX_SPLICED - m_nSpliced + 1;
    for (const ZString& directory : directories)
    {
        // Slashes forward before the file is looked for: sources written elsewhere spell folders with backslashes.
        path = ZPath(directory + "/" + fileName).ToString();
        if (m_readFile(path, nMost, bytes))
            return true;
    }
    for (const ZString& directory : directories)
    {
        path = m_findAnyCase ? m_findAnyCase(ZPath(directory + "/" + fileName).ToString()) : ZString();
        if (!path.IsEmpty() && m_readFile(path, nMost, bytes))
            return true;
    }
    ZString tried;
    for (const ZString& directory : directories)
    {
        if (!tried.IsEmpty())
            tried.Append(", ");
        tried.Append(directory);
    }
    m_error = ZString::Format("Could not find file '{0}' while looking into following directories: {1}", fileName,
                              directories.IsEmpty() ? ZString("no valid directories found") : tried);
    return false;
}

void ZFXFlattener::PutInFront(std::string_view text)
{
    char* pTo = const_cast<char*>(m_pText) - text.size();
    std::copy(text.begin(), text.end(), pTo);
    m_pText = pTo;
    m_nSize += text.size();
}

void ZFXFlattener::MakeRoom(size_t nFront)
{
    if (m_pBuffer != nullptr && static_cast<size_t>(m_pText - m_pBuffer) >= nFront)
        return;
    // At least doubled, so that what is copied here stays in proportion to what is put in.
    const size_t nCapacity = std::max(2 * m_nCapacity, 2 * (nFront + m_nSize));
    auto* pBuffer = static_cast<char*>(GetMemoryManager()->Allocate(nCapacity));
    if (pBuffer == nullptr)
        throw std::bad_alloc();
    char* pText = pBuffer + nCapacity - m_nSize;
    std::copy(m_pText, m_pText + m_nSize, pText);
    GetMemoryManager()->Free(m_pBuffer);
    m_pBuffer = pBuffer;
    m_nCapacity = nCapacity;
    m_pText = pText;
}

char* ZFXFlattener::CopyFlat() const
{
    auto* pFlat = static_cast<char*>(GetMemoryManager()->Allocate(Size() + 1));
    if (pFlat == nullptr)
        throw std::bad_alloc();
    char* pEnd = std::copy(m_done.begin(), m_done.end(), pFlat);
    *std::copy(m_pText, m_pText + m_nSize, pEnd) = '\0';
    return pFlat;
}

bool ZFXFlattener::ReadFromDisk(const ZString& path, size_t nMost, std::vector<char>& bytes)
{
    Os::ZInputFile file;
    if (file.Open(path.ToCString()) || !file.IsOpen())
        return false;
    bytes.resize(static_cast<size_t>(std::min<uint64_t>(nMost, file.Size())));
    std::error_code error;
    bytes.resize(file.Read(bytes.data(), bytes.size(), error));
    return !error;
}
