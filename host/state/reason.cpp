#include "host/state/reason.h"

#include "host/text/textformat.h"

namespace Host
{

std::string_view NameOf(SReason::EKind eKind)
{
    constexpr std::string_view names[] = {"new",        "forced",        "tools",        "component",
                                          "outputGone", "outputChanged", "inputChanged", "inputNew",
                                          "inputGone",  "inputDoubtful", "needAgain"};
    return names[eKind];
}

std::string TextOf(const SReason& reason)
{
    const auto bytes = [](uint64_t nBytes) { return Formatted("%llu bytes", static_cast<unsigned long long>(nBytes)); };
    const std::string sSizes =
        reason.nBytesBefore == reason.nBytesNow
            ? ", still " + bytes(reason.nBytesNow)
            : ", " + bytes(reason.nBytesBefore) + " before and " + bytes(reason.nBytesNow) + " now";
    switch (reason.eKind)
    {
    case SReason::eNew:
        return "it is new, or failed the last time";
    case SReason::eForced:
        return "--force";
    case SReason::eTools:
        return "the program or the module has changed";
    case SReason::eComponent:
        return "another component makes it";
    case SReason::eOutputGone:
        return reason.sId + " is gone";
    case SReason::eOutputChanged:
        return reason.sId + " is not what was packed" + sSizes;
    case SReason::eInputChanged:
        return reason.sId + " has changed" + sSizes;
    case SReason::eInputNew:
        return reason.sId + " is there now, " + bytes(reason.nBytesNow);
    case SReason::eInputGone:
        return reason.sId + " is gone";
    case SReason::eInputDoubtful:
        return reason.sId + " can't be told from others, or not be read";
    case SReason::eNeedAgain:
        return reason.sId + " has to be packed again";
    }
    return {};
}

} // namespace Host
