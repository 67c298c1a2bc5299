#pragma once

#include <string>

namespace Host
{

/// The module that stands beside this program: ../lib/libresource.animation.so.
std::string DefaultModulePath();

/// Loads the shared library, calls its entry and brings up the modules that it registers. ZHostError, with what to do,
/// when that does not work. A library stays loaded until the process ends.
void LoadModule(const std::string& sPath);

/// Content hash, as text, of what decides over packed bytes: this program, the module and the libraries beside it.
/// A rebuilt tool packs everything again.
std::string HashOfTools(const std::string& sModulePath);

} // namespace Host
