#include "host/files/outputplace.h"

#include <filesystem>

namespace Host
{

namespace fs = std::filesystem;

namespace
{

constexpr int MOST_LINKS = 40; // as the system has it

} // namespace

std::string FindOutputPlace(const std::string& sWord, const std::vector<std::string>& inputs,
                            const std::string& sMayReplace, std::string& sPath)
{
    std::error_code error;
    fs::path path = fs::absolute(sWord, error);
    for (int n = 0; !error && fs::is_symlink(path, error); ++n)
    {
        if (n == MOST_LINKS)
            return "links lead round in a circle";
        const fs::path target = fs::read_symlink(path, error);
        path = path.parent_path() / target;
    }
    const fs::file_status status = fs::symlink_status(path, error);
    if (path.filename().empty() || fs::is_directory(status))
        return "is a folder, no place for a file";
    if (fs::exists(status) && !fs::is_regular_file(status))
        return "is no regular file and not replaced";
    for (const std::string& sInput : inputs)
        if (fs::equivalent(path, sInput, error) && !(sWord == sInput && sWord == sMayReplace))
            return sWord == sInput ? "is read and not written over"
                                   : "is the input '" + sInput + "' by another name and not written over";
    sPath = path.string();
    return {};
}

} // namespace Host
