#include "host/moduleloader.h"

#include "base/component/componentmanager.h"
#include "host/contenthash.h"
#include "host/hosterror.h"
#include "host/jsonwriter.h"

#include <algorithm>
#include <charconv>
#include <dlfcn.h>
#include <filesystem>
#include <link.h>
#include <set>
#include <vector>

namespace Host
{

namespace fs = std::filesystem;

namespace
{

constexpr const char ENTRY[] = "ImportZResourceAnimationModule";

fs::path ProgramPath()
{
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error);
}

int CollectLibrary(struct dl_phdr_info* pInfo, size_t, void* pUser)
{
    if (pInfo->dlpi_name != nullptr && pInfo->dlpi_name[0] == '/')
        static_cast<std::vector<fs::path>*>(pUser)->emplace_back(pInfo->dlpi_name);
    return 0;
}

} // namespace

std::string DefaultModulePath()
{
    return LibraryPath("resource.animation");
}

std::string LibraryPath(const std::string& sName)
{
    return (ProgramPath().parent_path().parent_path() / "lib" / ("lib" + sName + ".so")).string();
}

void LoadModule(const std::string& sPath)
{
    LoadModule(sPath, ENTRY, "module", "--module");
}

void LoadModule(const std::string& sPath, const char* szEntry, const char* szWhat, const char* szOption)
{
    const std::string sWhat = szWhat;
    std::error_code error;
    if (!fs::exists(sPath, error))
        throw ZHostError("the " + sWhat + " '" + sPath + "' is not there",
                         std::string("build or install it, or name the library with ") + szOption);
    void* pLibrary = ::dlopen(sPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (pLibrary == nullptr)
        throw ZHostError("the " + sWhat + " cannot be loaded: " + ::dlerror(),
                         "its libraries must be of the same build as this program");
    auto* pEntry = reinterpret_cast<void (*)()>(::dlsym(pLibrary, szEntry));
    if (pEntry == nullptr)
        throw ZHostError("'" + sPath + "' has no entry " + szEntry,
                         "it is no " + sWhat + " of this program; see " + szOption);
    const auto modules = [] { return GetComponentManager()->Modules(); };
    const size_t nBefore = modules().Size();
    pEntry();
    for (size_t n = nBefore; n < modules().Size(); ++n)
        if (!modules()[n]->Initialize() || !modules()[n]->Activate())
            throw ZHostError("the module '" + std::string(modules()[n]->Name().View()) + "' does not start");
}

std::string HashOfTools(const std::string& sModulePath)
{
    std::error_code error;
    const fs::path program = ProgramPath();
    const fs::path module = fs::canonical(sModulePath, error);
    std::vector<fs::path> loaded;
    ::dl_iterate_phdr(&CollectLibrary, &loaded);
    std::set<std::string> ours{program.string(), module.string()};
    for (const fs::path& path : loaded)
    {
        const fs::path real = fs::canonical(path, error);
        if (!error && (real.parent_path() == module.parent_path() || real.parent_path() == program.parent_path()))
            ours.insert(real.string());
    }
    // Of the files' names too, so that two libraries cannot swap places unseen; not of their folder, which may move.
    std::vector<std::string> parts;
    ZFileHashes hashes;
    for (const std::string& sPath : ours)
        parts.push_back(fs::path(sPath).filename().string() + ' ' + std::to_string(hashes.Of(sPath, StampOf(sPath))));
    std::sort(parts.begin(), parts.end());
    ZContentHash hash;
    for (const std::string& sPart : parts)
        hash.Add(sPart.data(), sPart.size() + 1);
    char buffer[20];
    return {buffer, std::to_chars(buffer, buffer + sizeof buffer, hash.Get(), 16).ptr};
}

} // namespace Host
