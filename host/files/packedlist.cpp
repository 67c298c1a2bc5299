#include "host/files/packedlist.h"

#include "host/files/derivedkinds.h"
#include "host/files/outputfile.h"
#include "host/files/outputpath.h"
#include "host/text/hosterror.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <tuple>

namespace Host
{

namespace fs = std::filesystem;

namespace
{

bool BeginsAsAnimation(const fs::path& path)
{
    char code[4] = {};
    std::ifstream file(path, std::ios::binary);
    file.read(code, sizeof code);
    const std::string_view text(code, sizeof code);
    return file.good() && (text == "ARTY" || text == "YTRA");
}

bool IsAnimation(const fs::path& path)
{
    if (IsPassingName(path.filename().string()))
        return false; // of a run at work
    const std::string sExtension = path.extension().string();
    if (sExtension == ".animation")
        return true;
    const bool bOther = !sExtension.empty() && FindDerivedKind(std::string_view(sExtension).substr(1)) != nullptr;
    return !bOther && BeginsAsAnimation(path);
}

} // namespace

std::vector<SPackedAnimation> FindPackedAnimations(const std::string& sOut, const std::vector<std::string>& platforms,
                                                   const std::function<std::string(const std::string&)>& idOfFile)
{
    std::error_code error;
    if (!fs::is_directory(sOut, error))
        throw ZHostError("there is no output folder '" + sOut + "'", "name the folder of packed resources with --out");
    std::vector<SPackedAnimation> found;
    for (fs::recursive_directory_iterator it(sOut, fs::directory_options::skip_permission_denied, error), end;
         !error && it != end; it.increment(error))
    {
        std::error_code ignored;
        if (it.depth() == 0 && it->is_directory(ignored) && !platforms.empty() &&
            std::find(platforms.begin(), platforms.end(), it->path().filename().string()) == platforms.end())
            it.disable_recursion_pending();
        if (it.depth() == 0 || !it->is_regular_file(ignored) || !IsAnimation(it->path()))
            continue;
        const std::string sRelative = it->path().lexically_relative(sOut).generic_string();
        std::string sId = IdOfOutputPath(sRelative);
        if (sId.empty())
            sId = idOfFile(sRelative);
        found.push_back({sId.empty() ? sRelative : sId, sRelative.substr(0, sRelative.find('/')), it->path().string()});
    }
    if (error)
        throw ZHostError("the output folder '" + sOut + "' can't be read: " + error.message());
    std::sort(found.begin(), found.end(),
              [](const auto& a, const auto& b)
              { return std::tie(a.sPlatform, a.sId, a.sPath) < std::tie(b.sPlatform, b.sId, b.sPath); });
    return found;
}

} // namespace Host
