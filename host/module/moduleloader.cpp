#include "host/module/moduleloader.h"

#include "base/component/componentmanager.h"
#include "host/files/contenthash.h"
#include "host/text/hosterror.h"
#include "host/text/jsonwriter.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <link.h>
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

struct SLoaded
{
    fs::path path;
    std::string sBuildId; ///< empty when the linker has left none
};

/// The note that linkers leave: a hash of all that they have linked. Reading it takes no time, while the file of a
/// library with debug information takes longer to read than a take to pack.
std::string BuildIdOf(const struct dl_phdr_info& info)
{
    for (int i = 0; i < info.dlpi_phnum; ++i)
    {
        const ElfW(Phdr)& segment = info.dlpi_phdr[i];
        if (segment.p_type != PT_NOTE)
            continue;
        // The loader tells addresses as numbers.
        const auto* p = reinterpret_cast<const char*>(info.dlpi_addr + segment.p_vaddr); // NOLINT(*-no-int-to-ptr)
        const char* const pEnd = p + segment.p_memsz;
        ElfW(Nhdr) note;
        const auto padded = [](size_t n) { return (n + 3) & ~size_t(3); };
        while (p + sizeof note <= pEnd)
        {
            std::memcpy(&note, p, sizeof note);
            const char* const pDescription = p + sizeof note + padded(note.n_namesz);
            if (note.n_type == NT_GNU_BUILD_ID && note.n_namesz == 4 && std::memcmp(p + sizeof note, "GNU", 4) == 0)
                return std::string(pDescription, note.n_descsz);
            p = pDescription + padded(note.n_descsz);
        }
    }
    return {};
}

int CollectLibrary(struct dl_phdr_info* pInfo, size_t, void* pUser)
{
    // The program itself has no name there.
    const bool bProgram = pInfo->dlpi_name == nullptr || pInfo->dlpi_name[0] == '\0';
    std::error_code error;
    const fs::path path = bProgram ? ProgramPath() : fs::canonical(pInfo->dlpi_name, error);
    auto& loaded = *static_cast<std::vector<SLoaded>*>(pUser);
    if (!error && (!bProgram || loaded.empty()))
        loaded.push_back({path, BuildIdOf(*pInfo)});
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
    const fs::path module = fs::canonical(sModulePath, error);
    std::vector<SLoaded> loaded;
    ::dl_iterate_phdr(&CollectLibrary, &loaded);
    // Of the files' names too, so that two libraries cannot swap places unseen; not of their folder, which may move.
    std::vector<std::string> parts;
    ZFileHashes hashes;
    for (const SLoaded& library : loaded)
    {
        const std::string sPath = library.path.string();
        if (library.path.parent_path() != module.parent_path() && &library != loaded.data())
            continue;
        parts.push_back(
            library.path.filename().string() + ' ' +
            (library.sBuildId.empty() ? std::to_string(hashes.Of(sPath, StampOf(sPath))) : library.sBuildId));
    }
    std::sort(parts.begin(), parts.end());
    ZContentHash hash;
    for (const std::string& sPart : parts)
        hash.Add(sPart.data(), sPart.size() + 1);
    char buffer[20];
    return {buffer, std::to_chars(buffer, buffer + sizeof buffer, hash.Get(), 16).ptr};
}

} // namespace Host
