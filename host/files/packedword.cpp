#include "host/files/packedword.h"

#include "host/files/derivedkinds.h"
#include "host/files/outputpath.h"
#include "host/files/resourceids.h"
#include "host/text/hosterror.h"

#include <filesystem>

namespace Host
{

namespace fs = std::filesystem;

SPackedWord FindPackedWord(const std::string& sWord, const std::string& sOut, const std::string& sPlatform)
{
    const auto place = [&sOut](const std::string& sId)
    {
        const std::string sPath = OutputPathOf(ToId(sId));
        if (sPath.empty())
            throw ZUsageError("'" + sId + "' names no packed resource");
        return SPackedWord{sOut + '/' + sPath, ToStd(ToId(sId).GetPlatformFromExtension())};
    };
    if (sWord.starts_with('<'))
        return place(sWord);
    if (sWord.find(":/") != std::string::npos)
    {
        const ZResourceID id = ToId(sWord);
        for (const SDerivedKind& kind : DerivedKinds())
            if (!kind.builtFrom.empty() && id.GetExtension().View() == kind.builtFrom)
                return place(ToStd(id.CreateDerivedResourceID(ToZString(kind.extension), "", ToZString(sPlatform))));
        throw ZUsageError("'" + sWord + "' is a source; name what is packed of it");
    }
    SPackedWord file{sWord, {}};
    std::error_code error;
    const fs::path below = fs::weakly_canonical(sWord, error).lexically_relative(fs::weakly_canonical(sOut, error));
    if (!below.empty() && below.begin()->string() != "..")
        file.sPlatform = below.begin()->string();
    return file;
}

} // namespace Host
