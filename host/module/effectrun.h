#pragma once

#include "host/module/job.h"
#include "resource/_shared/ifxcompiler.h"

#include <string>
#include <vector>

namespace Host
{

/// What came of one effect.
struct SEffectRun
{
    std::vector<SMessage> messages;
    TArray<ZString> references;
    std::vector<std::string> warnings;
    std::string sError;
    ICompiledEffect* pEffect = nullptr;

    SEffectRun() = default;
    SEffectRun(const SEffectRun&) = delete;
    SEffectRun& operator=(const SEffectRun&) = delete;
    ~SEffectRun()
    {
        if (pEffect != nullptr)
            pEffect->Release();
    }
};

/// What to compile, and how.
struct SEffectSource
{
    std::string sPath;
    std::string sName;                       ///< as the user wrote it
    std::vector<std::string> includeFolders; ///< searched behind the effect's own
    std::vector<std::string> defines;        ///< NAME=VALUE, or NAME
};

/// Where a compiler's library stands: a path, or the bare name of a library beside the module; empty: the sample's.
std::string EffectCompilerPath(const std::string& sCompiler);

/// Loads the library and compiles one effect. What the effect lacks is told in the run; ZHostError when there is no
/// such compiler.
void CompileEffect(const std::string& sLibrary, const SEffectSource& source, SEffectRun& run);

} // namespace Host
