#pragma once

#include <string>
#include <vector>

namespace Os
{

/// Where the program that runs stands; empty when the system does not tell.
std::string ProgramPath();

/// Loads a library, or finds it loaded; it stays so to the end of the process, since what it makes has its code there.
/// Null with the reason when it can't be loaded.
void* LoadSharedLibrary(const std::string& sPath, std::string& sWhy);
/// Null when the library has no such symbol.
void* FindSymbol(void* pLibrary, const char* szName);

struct SLoadedLibrary
{
    std::string sPath;    ///< without links; of the program itself in the first place
    std::string sBuildId; ///< a hash of all that the linker has linked; empty when it has left none
};
std::vector<SLoadedLibrary> LoadedLibraries();

} // namespace Os
