#pragma once

#include "host/view/pageclip.h"

#include <string>
#include <vector>

namespace Host
{

/// The page with takes on it: a list of them, then each with its details and poses, which are looked at when it is
/// chosen.
class ZPageFile
{
public:
    void Add(const SPageClip& clip);
    /// A take that can't be shown, by its row.
    void AddFailed(const std::string& sRow) { AddRow(sRow, -1); }

    /// The title says what is shown.
    std::string Take(const std::string& sTitle) const;

private:
    void AddRow(const std::string& sRow, int64_t nRig);

    std::vector<std::string> m_rigs;
    std::string m_sRows;
    std::string m_sTakes;
    size_t m_nTakes = 0;
};

} // namespace Host
