#include "host/module/moduleloader.h"

#include "base/component/componentmanager.h"
#include "host/files/contenthash.h"
#include "host/text/hosterror.h"
#include "os/sharedlibrary.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <set>
#include <vector>

namespace Host
{

namespace fs = std::filesystem;

namespace
{

constexpr const char ENTRY[] = "ImportZResourceAnimationModule";

} // namespace

std::string DefaultModulePath()
{
    return LibraryPath("resource.animation");
}

std::string LibraryPath(const std::string& sName)
{
    return (fs::path(Os::ProgramPath()).parent_path().parent_path() / "lib" / ("lib" + sName + ".so")).string();
}

void LoadModule(const std::string& sPath)
{
    LoadModule(sPath, ENTRY, "module", "--module");
}

void LoadModule(const std::string& sPath, const char* szEntry, const char* szWhat, const char* szOption)
{
    static std::set<std::pair<std::string, std::string>> s_loaded;
    if (s_loaded.contains({sPath, szEntry}))
        return;
    const std::string sWhat = szWhat;
    std::error_code error;
    if (!fs::exists(sPath, error))
        throw ZHostError("the " + sWhat + " '" + sPath + "' is not there",
                         std::string("build or install it, or name the library with ") + szOption);
    std::string sWhy;
    void* pLibrary = Os::LoadSharedLibrary(sPath, sWhy);
    if (pLibrary == nullptr)
        throw ZHostError("the " + sWhat + " cannot be loaded: " + sWhy,
                         "its libraries must be of the same build as this program");
    auto* pEntry = reinterpret_cast<void (*)()>(Os::FindSymbol(pLibrary, szEntry));
    if (pEntry == nullptr)
        throw ZHostError("'" + sPath + "' has no entry " + szEntry,
                         "it is no " + sWhat + " of this program; see " + szOption);
    const auto modules = [] { return GetComponentManager()->Modules(); };
    const size_t nBefore = modules().Size();
    pEntry();
    for (size_t n = nBefore; n < modules().Size(); ++n)
        if (!modules()[n]->Initialize() || !modules()[n]->Activate())
            throw ZHostError("the module '" + std::string(modules()[n]->Name().View()) + "' does not start");
    s_loaded.emplace(sPath, szEntry);
}

namespace
{

std::vector<Os::SLoadedLibrary> Tools(const std::string& sModulePath)
{
    std::error_code error;
    const fs::path module = fs::canonical(sModulePath, error);
    std::vector<Os::SLoadedLibrary> tools = Os::LoadedLibraries();
    if (!tools.empty())
        tools.erase(std::remove_if(tools.begin() + 1, tools.end(),
                                   [&module](const Os::SLoadedLibrary& library)
                                   { return fs::path(library.sPath).parent_path() != module.parent_path(); }),
                    tools.end());
    return tools;
}

} // namespace

std::vector<std::string> ToolFiles(const std::string& sModulePath)
{
    std::vector<std::string> files;
    for (const Os::SLoadedLibrary& library : Tools(sModulePath))
        files.push_back(library.sPath);
    return files;
}

std::string HashOfTools(const std::string& sModulePath)
{
    // Of the files' names too, so that two libraries cannot swap places unseen; not of their folder, which may move.
    std::vector<std::string> parts;
    ZFileHashes hashes;
    for (const Os::SLoadedLibrary& library : Tools(sModulePath))
        parts.push_back(fs::path(library.sPath).filename().string() + ' ' +
                        (library.sBuildId.empty() ? std::to_string(hashes.Of(library.sPath, StampOf(library.sPath)))
                                                  : library.sBuildId));
    std::sort(parts.begin(), parts.end());
    ZContentHash hash;
    for (const std::string& sPart : parts)
        hash.Add(sPart.data(), sPart.size() + 1);
    char buffer[20];
    return {buffer, std::to_chars(buffer, buffer + sizeof buffer, hash.Get(), 16).ptr};
}

} // namespace Host
