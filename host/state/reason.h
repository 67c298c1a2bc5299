#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Host
{

/// Why what an earlier run made does not hold.
struct SReason
{
    enum EKind
    {
        eNew,           ///< nothing is known of an earlier run that has made it
        eForced,        ///< everything is packed again
        eTools,         ///< another version of the program or the module has made it
        eComponent,     ///< another component has made it
        eOutputGone,    ///< its packed file is not there
        eOutputChanged, ///< its packed file is not the one that was made
        eInputChanged,
        eInputNew, ///< it was looked for, and was not there
        eInputGone,
        eInputDoubtful, ///< one of several files that differ in case alone, or in a folder that can't be read
        eNeedAgain      ///< a packed resource that it needs is to be packed again
    };
    EKind eKind = eNew;
    std::string sId; ///< the input or need, or the place of the packed file; empty where the job itself is meant
    uint64_t nBytesBefore = 0;
    uint64_t nBytesNow = 0;
};
std::string_view NameOf(SReason::EKind eKind);
/// "assembly:/a/b.fbx has changed, 12.3 kB before, 12.4 kB now"
std::string TextOf(const SReason& reason);

} // namespace Host
