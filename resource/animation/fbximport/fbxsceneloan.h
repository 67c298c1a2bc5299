#pragma once

#include "os/filestamp.h"
#include "resource/animation/fbximport/fbxanimationscenereader.h"

namespace ResourceAnimation
{

/// The scene reader of a source, lent out for as long as this stands. Takes of one file are mostly packed one after the
/// other, and reading the file is the larger part of packing one, so the reader that came back last is kept and lent
/// out again while its file is the same: path, size, times and place on the disk.
///
/// Memory     one scene is kept for the whole process; it goes before another file is read.
/// Threads    a reader is lent to one at a time; a second thread reads the file anew.
/// Not kept   scenes of the old layout, since their conversion looks at other files; a reader that an exception passed.
class ZFbxSceneLoan
{
public:
    /// ZAnimationException as the reader's.
    explicit ZFbxSceneLoan(const ZResourceID& id);
    ZFbxSceneLoan(const ZFbxSceneLoan&) = delete;
    ZFbxSceneLoan& operator=(const ZFbxSceneLoan&) = delete;
    ~ZFbxSceneLoan();

    ZFbxSceneReader* operator->() const { return m_lent.pReader.Get(); }
    ZFbxSceneReader& operator*() const { return *m_lent.pReader; }

    static void DropKept();

private:
    struct SKept
    {
        ZString path;
        Os::SFileIdentity file;
        TUniquePtr<ZFbxSceneReader> pReader;
    };
    static SKept& Kept();

    SKept m_lent;
    int m_nExceptions = 0; ///< under way when it was lent out
};

} // namespace ResourceAnimation
