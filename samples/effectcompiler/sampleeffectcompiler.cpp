#include "samples/effectcompiler/sampleeffectcompiler.h"

#include "base/component/componentbase.h"
#include "samples/effectcompiler/passreader.h"
#include "samples/effectcompiler/preprocessor.h"

#include <algorithm>

namespace Samples
{

namespace
{

std::string ToStd(const ZString& text)
{
    return std::string(text.View());
}

/// Copies of what was collected, so that they live without the compiler.
class ZEffectListing final : public TCountedComponent<ZEffectListing, ICompiledEffect>
{
public:
    ZEffectListing(const ZFXCompilerBase& compiler, TArrayRef<const char> flatSource)
        : m_samplers(compiler.GetSamplers()),
          m_sharedParameters(compiler.GetSharedParameters()),
          m_techniques(compiler.GetTechniques())
    {
        m_flatSource.Append(flatSource.GetStart(), flatSource.Size());
    }

    TArrayRef<const char> GetFlatSource() const override { return m_flatSource.Ref(); }
    const TMap<ZString, SFXSamplerState>& GetSamplers() const override { return m_samplers; }
    const TArray<ZString>& GetSharedParameters() const override { return m_sharedParameters; }
    const TArray<SFXTechnique>& GetTechniques() const override { return m_techniques; }

private:
    TArray<char> m_flatSource;
    TMap<ZString, SFXSamplerState> m_samplers;
    TArray<ZString> m_sharedParameters;
    TArray<SFXTechnique> m_techniques;
};

/// The effect itself goes by its identifier.
ZString WithEffectName(const std::string& sMessage, const ZResourceID& id)
{
    const std::string sName = std::string(FXCompilerUtil::SOURCE_FILE) + ':';
    if (!id.IsEmpty() && sMessage.starts_with(sName))
        return ZString::FromView(ToStd(id.ToString()) + ':' + sMessage.substr(sName.size()));
    return ZString::FromView(sMessage);
}

} // namespace

ZObjectRef ZSampleEffectCompiler::GetVariantRef()
{
    return {static_cast<IFXCompiler*>(this), GetTypeID<IFXCompiler>()};
}

size_t ZSampleEffectCompiler::AddRef()
{
    return ++m_nReferences;
}

size_t ZSampleEffectCompiler::Release()
{
    const size_t nLeft = --m_nReferences;
    if (nLeft == 0)
        delete this;
    return nLeft;
}

void* ZSampleEffectCompiler::QueryInterface(STypeID* pInterface)
{
    return TInterfaceTable<ZSampleEffectCompiler, IFXCompiler, IComponentInterface>::Query(this, pInterface);
}

ICompiledEffect* ZSampleEffectCompiler::CompileFlatEffect(const TArray<SFXCompilerDefine>&, const TArray<ZString>&,
                                                          TArrayRef<const char> flatSource, TArray<ZString>&)
{
    return new ZEffectListing(*this, flatSource);
}

bool ZSampleEffectCompiler::RunPreprocessor(const char* pFlat, size_t nFlatSize, char** ppPreprocessed,
                                            size_t& preprocessedSize, const TArray<ZString>& includeDirectories,
                                            const TArray<SFXCompilerDefine>& defines)
{
    std::vector<std::string> folders;
    for (const ZString& directory : includeDirectories)
        folders.push_back(ToStd(directory));
    std::vector<std::pair<std::string, std::string>> macros;
    for (const SFXCompilerDefine& define : defines)
        macros.emplace_back(ToStd(define.name), ToStd(define.value));

    const SPreprocessed result = PreprocessEffect({pFlat, nFlatSize}, folders, macros, ToStd(GetTempFolderPath()));
    for (const std::string& sWarning : result.warnings)
    {
        if (!m_sLastWarning.IsEmpty())
            m_sLastWarning.Append('\n');
        m_sLastWarning.Append(WithEffectName(sWarning, m_resourceID));
    }
    for (const std::string& sFile : result.files)
        AddReference(ZString::FromView(sFile));
    if (!result.bGood)
    {
        m_sLastError = WithEffectName(result.error, m_resourceID);
        return false;
    }
    *ppPreprocessed = static_cast<char*>(GetMemoryManager()->Allocate(result.text.size()));
    if (*ppPreprocessed == nullptr)
        throw std::bad_alloc();
    std::copy(result.text.begin(), result.text.end(), *ppPreprocessed);
    preprocessedSize = result.text.size();
    return true;
}

void ZSampleEffectCompiler::ParseTechniqueBody(const char* pText, size_t nSize, uint32_t& nLine, char*, ZString*,
                                               size_t&, size_t& nPosition, SFXTechnique& technique)
{
    ReadPasses(pText, nSize, nLine, nPosition, technique.passes);
}

} // namespace Samples
