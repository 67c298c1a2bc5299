#pragma once

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
        std::string sTemplate = (std::filesystem::temp_directory_path() / "hosttest-XXXXXX").string();
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

    void Write(const std::string& sName, const std::string& sContent) const
    {
        std::filesystem::create_directories(std::filesystem::path(m_sPath + '/' + sName).parent_path());
        std::ofstream(m_sPath + '/' + sName, std::ios::binary) << sContent;
    }
    /// "(none)" when there is no such file.
    std::string Read(const std::string& sName) const
    {
        std::ifstream file(m_sPath + '/' + sName, std::ios::binary);
        return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "(none)";
    }
    /// Files below the folder.
    size_t FileCount() const
    {
        size_t nFiles = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_sPath))
            nFiles += entry.is_regular_file() ? 1 : 0;
        return nFiles;
    }

private:
    std::string m_sPath;
};
