#pragma once

#include "host/verify/takeverifier.h"

#include <string>
#include <vector>

namespace Host
{

/// Why an animation that could be compared is not as good as asked for; empty when it is.
std::string BoundsText(const SVerified& result, double fMaxMillimetres, double fMaxDegrees);

/// sError, which may be empty, may say more than that of the result.
std::string VerifyLine(const SPackedAnimation& packed, const std::string& sError, const SVerified& result);

/// What was compared, as a table with the worst of all behind it.
class ZVerifyTable
{
public:
    void Add(const SPackedAnimation& packed, const SVerified& result);
    bool IsEmpty() const { return m_rows.empty(); }
    std::string Text() const;
    /// ", at most … mm (…) and … degrees (…)"; empty without rows.
    std::string WorstText() const;

private:
    struct SRow
    {
        std::string sId;
        SVerified result;
    };
    std::vector<SRow> m_rows;
    size_t m_nWorst = 0;
    size_t m_nWorstTurned = 0;
};

} // namespace Host
