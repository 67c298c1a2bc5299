// A subclass of the exported base in another project. Its preprocessor leaves comments out and keeps the lines.
#include "outsidecompiler.h"

#include "base/component/componentbase.h"
#include "base/component/componentmanager.h"
#include "base/component/simplemodulebase.h"
#include "resource/_shared/fxcompilerbase.h"

#include <cstdio>
#include <string>

namespace
{

class ZOutsideEffect final : public TCountedComponent<ZOutsideEffect, ICompiledEffect>
{
public:
    ZOutsideEffect(const ZFXCompilerBase& compiler, TArrayRef<const char> flat)
        : m_samplers(compiler.GetSamplers()),
          m_shared(compiler.GetSharedParameters()),
          m_techniques(compiler.GetTechniques())
    {
        m_flat.Append(flat.GetStart(), flat.Size());
    }
    TArrayRef<const char> GetFlatSource() const override { return m_flat.Ref(); }
    const TMap<ZString, SFXSamplerState>& GetSamplers() const override { return m_samplers; }
    const TArray<ZString>& GetSharedParameters() const override { return m_shared; }
    const TArray<SFXTechnique>& GetTechniques() const override { return m_techniques; }

private:
    TArray<char> m_flat;
    TMap<ZString, SFXSamplerState> m_samplers;
    TArray<ZString> m_shared;
    TArray<SFXTechnique> m_techniques;
};

class ZOutsideCompiler final : public ZFXCompilerBase
{
public:
    ZObjectRef GetVariantRef() override { return {static_cast<IFXCompiler*>(this), GetTypeID<IFXCompiler>()}; }
    size_t AddRef() override { return ++m_nReferences; }
    size_t Release() override
    {
        const size_t nLeft = --m_nReferences;
        if (nLeft == 0)
            delete this;
        return nLeft;
    }
    void* QueryInterface(STypeID* pInterface) override
    {
        return TInterfaceTable<ZOutsideCompiler, IFXCompiler, IComponentInterface>::Query(this, pInterface);
    }

protected:
    ICompiledEffect* CompileFlatEffect(const TArray<SFXCompilerDefine>& defines, const TArray<ZString>&,
                                       TArrayRef<const char> flatSource, TArray<ZString>&) override
    {
        for (const SFXCompilerDefine& define : defines)
            AddReference(define.value);
        return new ZOutsideEffect(*this, flatSource);
    }

    bool RunPreprocessor(const char* pFlat, size_t nFlatSize, char** ppPreprocessed, size_t& preprocessedSize,
                         const TArray<ZString>&, const TArray<SFXCompilerDefine>&) override
    {
        auto* pText = static_cast<char*>(GetMemoryManager()->Allocate(nFlatSize));
        bool bComment = false;
        for (size_t n = 0; n < nFlatSize; ++n)
        {
            bComment = pFlat[n] != '\n' && (bComment || (pFlat[n] == '/' && pFlat[n + 1] == '/'));
            pText[n] = bComment ? ' ' : pFlat[n];
        }
        *ppPreprocessed = pText;
        preprocessedSize = nFlatSize;
        return true;
    }

    void ParseTechniqueBody(const char* pText, size_t nSize, uint32_t& nLine, char* pToken, ZString* profiles,
                            size_t& nLength, size_t& nPosition, SFXTechnique& technique) override
    {
        using namespace FXCompilerUtil;
        while (SkipWhiteSpace(pText, nPosition, nSize, nLine) &&
               MatchKeyword(pText, nPosition, nSize, nLine, "pass", nLength) != 0)
        {
            nPosition += nLength;
            SFXPass pass;
            if (ReadToken(pText, nPosition, nSize, nLine, pToken))
                pass.name = ZString::AllocateFromCString(pToken);
            // Every pass leaves a file behind for the base to remove.
            pass.firstTemporaryFile = GetTempFolderPath() + "/" + pass.name + "." + profiles[0];
            if (std::FILE* pFile = std::fopen(pass.firstTemporaryFile.ToCString(), "wb"))
                std::fclose(pFile);
            nPosition += ExpectChar(pText, nPosition, nSize, nLine, '{');
            nPosition += ExpectChar(pText, nPosition, nSize, nLine, '}');
            technique.passes.Add(pass);
        }
    }

private:
    size_t m_nReferences = 1;
};

class ZOutsideModule final : public ZSimpleModuleBase
{
public:
    ZOutsideModule() : ZSimpleModuleBase("Outside") {}
    void RegisterComponents() override
    {
        RegisterComponent<TComponentInfo<ZOutsideCompiler, IFXCompiler>>(FX_COMPILER_COMPONENT);
    }
};

} // namespace

void ImportZEffectCompilerModule()
{
    static ZOutsideModule s_module;
    s_module.Initialize(); // safe to repeat: a host does it again
    GetComponentManager()->RegisterModule(&s_module);
}
