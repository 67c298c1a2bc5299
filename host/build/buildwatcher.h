#pragma once

#include "host/module/job.h"

#include <cstddef>
#include <string_view>

namespace Host
{

class ZHostError;

/// Who wants to know how a session goes on.
class IBuildWatcher
{
public:
    /// Of the run as a whole.
    virtual void Notice(std::string_view text) = 0;
    virtual void Error(const ZHostError& error) = 0;
    /// Of one asset.
    virtual void Diagnostic(ESeverity eSeverity, std::string_view source, std::string_view text) = 0;
    /// Called often.
    virtual void Progress(size_t nDone, size_t nAll, std::string_view what) = 0;

protected:
    ~IBuildWatcher() = default;
};

} // namespace Host
