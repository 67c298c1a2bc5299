#pragma once

#include "base/component/componentbase.h"

#include "resource/_shared/fxcompilerbase.h"
#include "resource/_shared/fxflattener.h"
#include "tests/support/tempfolder.h"
#include "tests/support/testing.h"

#include <functional>
#include <map>

/// A compiler whose preprocessor changes nothing and whose effect is just an object that can be counted.
class ZPlainCompiler : public ZFXCompilerBase
{
public:
    ZObjectRef GetVariantRef() override { return {static_cast<IFXCompiler*>(this), GetTypeID<IFXCompiler>()}; }
    size_t AddRef() override { return 1; }
    size_t Release() override { return 1; }
    void* QueryInterface(STypeID* pInterface) override
    {
        return TInterfaceTable<ZPlainCompiler, IFXCompiler, IComponentInterface>::Query(this, pInterface);
    }

    using ZFXCompilerBase::AddReference;
    using ZFXCompilerBase::Collect;
    using ZFXCompilerBase::Preprocess;
    using ZFXCompilerBase::PROFILE_COUNT;

    /// Collect on a block of exactly the text's size, so that the address sanitizer sees a read behind it.
    bool CollectText(std::string_view text)
    {
        const std::vector<char> block(text.begin(), text.end());
        ZString profiles[PROFILE_COUNT];
        return Collect(block.data(), block.size(), profiles);
    }

    bool m_bPreprocessorWorks = true;
    std::function<ICompiledEffect*(TArrayRef<const char> flat, TArray<ZString>& references)> m_compile;
    std::function<void(SFXTechnique&)> m_onTechnique;
    std::string m_sPreprocessed; ///< what the preprocessor was given
    TArray<ZString> m_directories;
    std::string m_sProfiles;

protected:
    ICompiledEffect* CompileFlatEffect(const TArray<SFXCompilerDefine>&, const TArray<ZString>&,
                                       TArrayRef<const char> flatSource, TArray<ZString>& references) override
    {
        return m_compile ? m_compile(flatSource, references) : nullptr;
    }

    bool RunPreprocessor(const char* pFlat, size_t nFlatSize, char** ppPreprocessed, size_t& preprocessedSize,
                         const TArray<ZString>& includeDirectories, const TArray<SFXCompilerDefine>&) override
    {
        m_sPreprocessed.assign(pFlat, nFlatSize);
        m_directories = includeDirectories;
        *ppPreprocessed = static_cast<char*>(GetMemoryManager()->Allocate(nFlatSize));
        std::copy(pFlat, pFlat + nFlatSize, *ppPreprocessed);
        preprocessedSize = nFlatSize;
        return m_bPreprocessorWorks;
    }

    /// Steps over everything up to the brace that closes the technique.
    void ParseTechniqueBody(const char* pText, size_t nSize, uint32_t&, char*, ZString* profiles, size_t&,
                            size_t& nPosition, SFXTechnique& technique) override
    {
        m_sProfiles.clear();
        for (size_t n = 0; n < PROFILE_COUNT; ++n)
            m_sProfiles += std::string(profiles[n].View()) + ' ';
        int nDepth = 0;
        for (; nPosition < nSize && (nDepth > 0 || pText[nPosition] != '}'); ++nPosition)
            nDepth += pText[nPosition] == '{' ? 1 : pText[nPosition] == '}' ? -1 : 0;
        if (m_onTechnique)
            m_onTechnique(technique);
    }
};

using TEffectFiles = std::map<std::string, std::string>;

/// The flattener's view of files in a map.
inline ZFXFlattener::FReadFile ReaderOf(const TEffectFiles& files)
{
    return [&files](const ZString& path, size_t nMost, std::vector<char>& bytes)
    {
        const auto it = files.find(path.ToCString());
        if (it == files.end())
            return false;
        const size_t nSize = std::min(nMost, it->second.size());
        bytes.assign(it->second.begin(), it->second.begin() + static_cast<std::ptrdiff_t>(nSize));
        return true;
    };
}
