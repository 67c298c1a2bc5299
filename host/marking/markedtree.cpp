#include "host/marking/markedtree.h"

#include "base/misc/zresourceid.h"
#include "host/text/safenames.h"
#include "host/text/words.h"

#include <filesystem>

namespace Host
{

namespace fs = std::filesystem;

std::string FileOfStack(const std::string& sFile, const std::string& sStack)
{
    if (sStack.empty())
        return sFile;
    fs::path path = sFile;
    const std::string sExtension = path.extension().string();
    return path.replace_extension().string() + '_' + SafeName(PlainStackName(sStack), "stack") + sExtension;
}

std::string TreeOfMarked(const std::string& sFile, const SMarks& marks, const std::string& sAssets)
{
    std::error_code error;
    const fs::path file = fs::weakly_canonical(sFile, error);
    for (const SNodeMarks& node : marks.nodes)
        for (const SPropertyMark& mark : node.properties)
        {
            constexpr std::string_view START = "assembly:";
            const std::string sRig = ToLower(mark.sText).substr(0, mark.sText.find('?'));
            if (ToLower(mark.sName) != "rigresource" || !sRig.starts_with(START))
                continue;
            // "/characters/runner.fbx", of which the file's path must have the end.
            const std::string sEnd = sRig.substr(START.size());
            const std::string sPath = file.string();
            if (sEnd.size() > 1 && sEnd.size() < sPath.size() && ToLower(sPath).ends_with(sEnd))
                return sPath.substr(0, sPath.size() - sEnd.size());
        }
    const fs::path inside = file.lexically_relative(fs::weakly_canonical(sAssets, error));
    return !inside.empty() && *inside.begin() != ".." ? sAssets : std::string();
}

} // namespace Host
