#include "os/sharedlibrary.h"

#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <link.h>

namespace Os
{

namespace fs = std::filesystem;

namespace
{

/// The note that linkers leave. Reading it takes no time, while the file of a library with debug information takes
/// longer to read than a take to pack.
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
    const fs::path path = bProgram ? fs::path(ProgramPath()) : fs::canonical(pInfo->dlpi_name, error);
    auto& loaded = *static_cast<std::vector<SLoadedLibrary>*>(pUser);
    if (!error && (!bProgram || loaded.empty()))
        loaded.push_back({path.string(), BuildIdOf(*pInfo)});
    return 0;
}

} // namespace

std::string ProgramPath()
{
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error).string();
}

void* LoadSharedLibrary(const std::string& sPath, std::string& sWhy)
{
    void* pLibrary = ::dlopen(sPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (pLibrary == nullptr)
        sWhy = ::dlerror();
    return pLibrary;
}

void* FindSymbol(void* pLibrary, const char* szName)
{
    return ::dlsym(pLibrary, szName);
}

std::vector<SLoadedLibrary> LoadedLibraries()
{
    std::vector<SLoadedLibrary> loaded;
    ::dl_iterate_phdr(&CollectLibrary, &loaded);
    return loaded;
}

} // namespace Os
