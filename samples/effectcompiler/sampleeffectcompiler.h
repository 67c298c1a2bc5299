#pragma once

#include "resource/_shared/fxcompilerbase.h"

#include <atomic>

namespace Samples
{

/// An effect compiler without a backend: what the base collects is the result. The preprocessor is GNU cpp; passes are
/// read by ReadPasses().
class ZSampleEffectCompiler final : public ZFXCompilerBase
{
public:
    ZObjectRef GetVariantRef() override;
    size_t AddRef() override;
    size_t Release() override;
    void* QueryInterface(STypeID* pInterface) override;

protected:
    ICompiledEffect* CompileFlatEffect(const TArray<SFXCompilerDefine>& defines,
                                       const TArray<ZString>& includeDirectories, TArrayRef<const char> flatSource,
                                       TArray<ZString>& references) override;
    bool RunPreprocessor(const char* pFlat, size_t nFlatSize, char** ppPreprocessed, size_t& preprocessedSize,
                         const TArray<ZString>& includeDirectories, const TArray<SFXCompilerDefine>& defines) override;
    void ParseTechniqueBody(const char* pText, size_t nSize, uint32_t& nLine, char* pToken, ZString* profiles,
                            size_t& nLength, size_t& nPosition, SFXTechnique& technique) override;

private:
    std::atomic<size_t> m_nReferences{1};
};

} // namespace Samples
