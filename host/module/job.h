#pragma once

#include "host/files/contenthash.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Host
{

/// One thing to do, done in a worker process.
struct SJob
{
    enum EKind
    {
        eScan, ///< sId is a source's identifier
        ePack  ///< sId is a derived identifier in its canonical spelling
    };
    EKind eKind = ePack;
    std::string sId;

    /// The source that diagnostics name: for a packed resource what it is made from.
    std::string Source() const;
    /// Empty when nothing here makes it.
    std::string Component() const;
};

enum class ESeverity
{
    eInfo,
    eWarning,
    eError
};
std::string_view NameOf(ESeverity eSeverity);

struct SMessage
{
    ESeverity eSeverity = ESeverity::eInfo;
    std::string sText;
};

/// Something that a job looked at. When it is not the same any more, the job's result is stale.
struct SDependency
{
    enum EKind
    {
        eSource,  ///< a file of the asset tree, there or not
        eDerived, ///< a packed resource; nHash is that of its file
    };
    EKind eKind = eSource;
    std::string sId; ///< identifier of the file, or canonical derived identifier
    SFileStamp stamp;
    uint64_t nHash = 0; ///< 0: unknown, size and time decide
};

} // namespace Host
