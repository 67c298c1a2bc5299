#pragma once

#include "host/show/commandline.h"
#include "host/show/console.h"

namespace Host
{

/// Compiles one effect by the compiler of a library (options.sCompiler: a path, or the name of a library beside the
/// module) and shows what it collected: the flat source, references in order, samplers, shared parameters, techniques.
///
/// JSON, one line, with everything there on failure too, as far as it came:
///   {"file","ok","error","warnings":[],"messages":[{"severity","text"}],"references":[],"flat","samplers":[{"name",
///   "borderColor","flags","addressU","addressV","addressW","filter","maxAnisotropy","mipLODBias"}],
///   "sharedParameters":[],"techniques":[{"name","passes":[{"name","states":[{"name","value"}]}]}]}
int RunEffect(const SOptions& options, ZConsole& console);

} // namespace Host
