#pragma once

#include "host/diff/posedifference.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Host
{

/// One packed file of two output folders, or the two that were named.
struct SFileDifference
{
    enum EKind
    {
        eNew,
        eGone,
        eChanged,
        eSame
    };
    EKind eKind = eSame;
    std::string sPlace; ///< below the folders
    uint64_t nBytesA = 0, nBytesB = 0;
    uint64_t nBytesOther = 0;            ///< that are not the same at their place, the length's difference among them
    std::optional<SPoseDifference> pose; ///< of two animations that changed
    std::vector<std::string> changes;    ///< of rigs, databases and headers, in words
};
std::string_view NameOf(SFileDifference::EKind eKind);

/// Compares two packed files, or two output folders with all that is packed in them, and reports every file in the
/// order of the places. ZHostError when one is not there, or one is a file and the other a folder.
void DiffPacked(const std::string& sA, const std::string& sB,
                const std::function<void(const SFileDifference&)>& report);

} // namespace Host
