#pragma once

#include "base/collections/tarray.h"
#include "resource/_shared/fxscan.h"

#include <functional>
#include <vector>

/// Replaces the #include lines of effect text by what they name, and keeps #line information right. One text; call
/// Run() once.
///
/// The result is that of the plain algorithm: scan for "#"; at a #line take over line and file; at an #include replace
/// the directive by
///
///   #line 1 "PATH FOUND"          the file's bytes          #line COUNTER-1 "FILE SO FAR"
///
/// and go on scanning at the first byte of that; at any other directive step over its line. Comments, strings and
/// conditions are not looked at. The counter starts at 2, so that it is one ahead of the line that is being read.
///
/// The plain algorithm copies the whole text for each include. Here the text stands in two parts: what has been scanned
/// is appended to one buffer, and what has not is right-aligned in another with free space in front, into which a file
/// is put. Time is in proportion to what is read and written; the scanner sees contiguous text, so words that span the
/// seam of a file come out as they do in the plain way.
///
/// A text that includes itself would never end. Two bounds stop it, far beyond what a real source reaches: MAX_DEPTH
/// includes inside each other, MAX_SPLICED bytes added by includes.
class ZFXFlattener
{
public:
    static constexpr size_t MAX_DEPTH = 1024;
    static constexpr size_t MAX_SPLICED = size_t(64) << 20;

    /// True when the path names a file that opens; then up to nMost of its bytes are in `bytes`, which comes empty.
    using FReadFile = std::function<bool(const ZString& path, size_t nMost, std::vector<char>& bytes)>;
    /// The path of a file that differs from this one in case only, or empty.
    using FFindAnyCase = std::function<ZString(const ZString& path)>;
    using FReference = std::function<void(const ZString& path)>;

    /// The text and the directories stay the caller's and have to outlive this. When no directory has a file of a name
    /// as it is spelled, findAnyCase, if there is one, is asked for it in each.
    ZFXFlattener(const char* pText, size_t nSize, const TArray<ZString>& directories, FReadFile readFile,
                 FFindAnyCase findAnyCase = {});
    ZFXFlattener(const ZFXFlattener&) = delete;
    ZFXFlattener& operator=(const ZFXFlattener&) = delete;
    ~ZFXFlattener();

    /// False when a file is not found or a bound is met: Error() tells. Malformed directives throw SFXScanFailure; each
    /// file that is put in is told with its path as found, in order, before that.
    bool Run(const FReference& onReference);

    const ZString& Error() const { return m_error; }
    /// Where the directive stands that Run() ended at.
    FXCompilerUtil::SLocation Location() const { return {m_file, m_nDirectiveLine - 1}; }

    size_t Size() const { return m_done.size() + m_nSize; }
    /// Size() bytes and a zero byte from the engine's heap, the caller's to free there.
    char* CopyFlat() const;

    /// A regular file on disk; a folder or a device does not count as opened.
    static bool ReadFromDisk(const ZString& path, size_t nMost, std::vector<char>& bytes);

private:
    /// Position of the next such character, or the size.
    size_t FindFrom(char c) const;
    bool FindHash();
    bool Splice(size_t nFrom, size_t nTo, std::string_view name, const FReference& onReference);
    bool FindFile(std::string_view name, ZString& path, std::vector<char>& bytes);
    void PutInFront(std::string_view text);
    void MakeRoom(size_t nFront);

    const TArray<ZString>& m_directories;
    FReadFile m_readFile;
    FFindAnyCase m_findAnyCase;
    ZString m_error;

    std::vector<char, TZAllocator<char>> m_done; ///< scanned, final
    const char* m_pText;                         ///< the rest: in the caller's text at first, then in m_pBuffer
    size_t m_nSize;                              ///< of the rest
    size_t m_nPosition = 0;                      ///< in the rest
    char* m_pBuffer = nullptr;
    size_t m_nCapacity = 0;

    uint32_t m_nLine = 2;
    uint32_t m_nDirectiveLine = 2;
    ZString m_file = FXCompilerUtil::SOURCE_FILE;
    /// Of each include that the position is inside of, how much stands behind it: the end of the text never moves.
    std::vector<size_t> m_openEnds;
    size_t m_nSpliced = 0;
};
