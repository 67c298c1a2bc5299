#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// A folder of a test's own, gone with it.
class ZTempFolder
{
public:
    ZTempFolder()
    {
        std::string sTemplate = (std::filesystem::temp_directory_path() / "test-XXXXXX").string();
        m_sPath = ::mkdtemp(sTemplate.data());
    }
    ZTempFolder(const ZTempFolder&) = delete;
    ZTempFolder& operator=(const ZTempFolder&) = delete;
    ~ZTempFolder()
    {
        std::error_code error;
        std::filesystem::remove_all(m_sPath, error);
    }

    std::string operator/(const std::string& sName) const { return m_sPath + '/' + sName; }
    const std::string& Path() const { return m_sPath; }

    /// The path of what was written.
    std::string Write(const std::string& sName, const std::string& sContent) const
    {
        const std::string sPath = m_sPath + '/' + sName;
        std::filesystem::create_directories(std::filesystem::path(sPath).parent_path());
        std::ofstream(sPath, std::ios::binary) << sContent;
        return sPath;
    }
    /// "(none)" when there is no such file.
    std::string Read(const std::string& sName) const
    {
        std::ifstream file(m_sPath + '/' + sName, std::ios::binary);
        return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "(none)";
    }
    /// Files below the folder or one in it.
    size_t FileCount(const std::string& sFolder = {}) const
    {
        const std::filesystem::recursive_directory_iterator all(m_sPath + '/' + sFolder);
        return static_cast<size_t>(
            std::count_if(begin(all), end(all), [](const auto& e) { return e.is_regular_file(); }));
    }

private:
    std::string m_sPath;
};
