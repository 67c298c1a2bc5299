#pragma once

#include "host/files/assettree.h"
#include "host/verify/takeverifier.h"
#include "host/workers/workerpool.h"

#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace Host
{

/// Whether a word of the command line, as a lower-cased identifier or as a path, stands for a packed animation: itself,
/// its file, its take, its take's file, or a folder of either.
bool IsNamed(const SPackedAnimation& packed, const std::string& sId, const std::string& sPath);

/// Compares many packed animations with their scenes in worker processes, a scene read once for the takes of it. One
/// that crashes its worker fails alone.
class ZVerification
{
public:
    struct SSettings
    {
        const ZAssetTree& tree;
        std::string sOut;
        unsigned int nWorkers = 1;
        SWorkerLimits limits;
        FShowClip showClip = {}; ///< called in the workers; see ZTakeVerifier
    };
    /// The result of the n-th of the list; told in the list's order.
    using FReport = std::function<void(size_t n, const SVerified& result)>;
    /// Called often: how many are compared, and one that just was.
    using FProgress = std::function<void(size_t nDone, const SPackedAnimation& packed)>;

    ZVerification(const SSettings& settings, std::vector<SPackedAnimation> packed)
        : m_settings(settings), m_packed(std::move(packed))
    {
    }

    void Run(const FReport& report, const FProgress& progress);

private:
    /// Ranges of m_order whose animations are of one file; all of one take stay together.
    struct SRange
    {
        size_t nFirst = 0;
        size_t nCount = 0;
    };

    void PlanRanges();
    void WorkerMain(ZLineChannel& channel) const;

    SSettings m_settings;
    std::vector<SPackedAnimation> m_packed;
    std::vector<size_t> m_order; ///< by take; of m_packed
    std::vector<SRange> m_ranges;
};

} // namespace Host
