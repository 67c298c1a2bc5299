#pragma once

#include "fbx/file/fbxrecord.h"
#include "fbx/scene/fbxtime.h"

/// The ticks that a file counts in. Those whose header has a time code definition other than 127 count 141120000 to the
/// second; all others count as scenes do.
class FbxFileTime
{
public:
    FbxFileTime() = default;
    explicit FbxFileTime(const SFbxRecord& root);

    bool IsOfScenes() const { return m_nPerSecond == FbxTime::kTicksPerSecond; }
    /// Rounded to the nearest tick; what does not fit is held at the ends.
    int64_t Ticks(int64_t nFileTicks) const;
    FbxTime Time(int64_t nFileTicks) const { return FbxTime::FromTicks(Ticks(nFileTicks)); }

private:
    int64_t m_nPerSecond = FbxTime::kTicksPerSecond;
};
