#include "host/files/packedlist.h"

#include "host/build/buildstate.h"
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

/// Identifiers of places that do not tell them, from the build state where there is one.
class ZIdFinder
{
public:
    explicit ZIdFinder(const std::string& sOut) : m_sFile(sOut + '/' + STATE_FILE) {}

    std::string Of(const std::string& sRelative)
    {
        std::string sId = IdOfOutputPath(sRelative);
        if (!sId.empty())
            return sId;
        Open();
        if (m_pState)
            sId = m_pState->IdOfFile(sRelative);
        return sId.empty() ? sRelative : sId;
    }

private:
    void Open()
    {
        if (std::exchange(m_bOpened, true) || !fs::exists(m_sFile))
            return;
        try
        {
            m_pState = std::make_unique<ZBuildState>(m_sFile);
        }
        catch (const ZHostError&)
        {
            // The path has to do.
        }
    }

    std::string m_sFile;
    bool m_bOpened = false;
    std::unique_ptr<ZBuildState> m_pState;
};

} // namespace

std::vector<SPackedAnimation> FindPackedAnimations(const std::string& sOut, const std::vector<std::string>& platforms)
{
    std::error_code error;
    if (!fs::is_directory(sOut, error))
        throw ZHostError("there is no output folder '" + sOut + "'", "name the folder of packed resources with --out");
    ZIdFinder ids(sOut);
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
        found.push_back({ids.Of(sRelative), sRelative.substr(0, sRelative.find('/')), it->path().string()});
    }
    if (error)
        throw ZHostError("the output folder '" + sOut + "' can't be read: " + error.message());
    std::sort(found.begin(), found.end(),
              [](const auto& a, const auto& b)
              { return std::tie(a.sPlatform, a.sId, a.sPath) < std::tie(b.sPlatform, b.sId, b.sPath); });
    return found;
}

} // namespace Host
