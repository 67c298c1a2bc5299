#pragma once

#include <string>
#include <vector>

namespace Host
{

/// The module that stands beside this program: ../lib/libresource.animation.so.
std::string DefaultModulePath();
/// Of a library beside it: ../lib/lib<NAME>.so.
std::string LibraryPath(const std::string& sName);

/// Loads the shared library, calls its entry and brings up the modules that it registers. ZHostError, with what to do,
/// when that does not work. A library stays loaded until the process ends.
void LoadModule(const std::string& sPath);
/// The same for a library with another entry, that the user named with another option; `szWhat` is what it is.
void LoadModule(const std::string& sPath, const char* szEntry, const char* szWhat, const char* szOption);

/// Content hash, as text, of what decides over packed bytes: this program, the module and the libraries beside it.
/// A rebuilt tool packs everything again.
std::string HashOfTools(const std::string& sModulePath);
/// Absolute paths of these files, the program's first.
std::vector<std::string> ToolFiles(const std::string& sModulePath);

} // namespace Host
