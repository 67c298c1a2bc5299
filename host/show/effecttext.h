#pragma once

#include "host/module/effectrun.h"

#include <string>

namespace Host
{

/// One line, with everything there on failure too, as far as it came:
///   {"file","ok","error","warnings":[],"messages":[{"severity","text"}],"references":[],"flat","samplers":[{"name",
///   "borderColor","flags","addressU","addressV","addressW","filter","maxAnisotropy","mipLODBias"}],
///   "sharedParameters":[],"techniques":[{"name","passes":[{"name","states":[{"name","value"}]}]}]}
std::string EffectLine(const std::string& sFile, const SEffectRun& run);
/// For people, of an effect that compiled.
std::string EffectText(const std::string& sFile, const ICompiledEffect& effect, const TArray<ZString>& references);

} // namespace Host
