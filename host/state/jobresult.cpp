#include "host/state/jobresult.h"

namespace Host
{

std::string_view NameOf(EJobStatus eStatus)
{
    constexpr std::string_view names[] = {"packed", "upToDate", "failed", "crashed", "removed", "toPack", "toRemove"};
    return names[static_cast<int>(eStatus)];
}

const std::string* SJobResult::FirstError() const
{
    for (const SMessage& message : messages)
        if (message.eSeverity == ESeverity::eError)
            return &message.sText;
    return nullptr;
}

} // namespace Host
