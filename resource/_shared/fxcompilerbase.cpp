#include "resource/_shared/fxcompilerbase.h"

#include "resource/_shared/fxfilenames.h"
#include "resource/_shared/fxflattener.h"
#include "resource/_shared/fxscan.h"

#include <cstdio>
#include <filesystem>

using namespace FXCompilerUtil;

namespace
{

/// Frees a block of the engine's heap when the scope is left, by an exception too.
class ZTextBlock
{
public:
    ZTextBlock() = default;
    ZTextBlock(const ZTextBlock&) = delete;
    ZTextBlock& operator=(const ZTextBlock&) = delete;
    ~ZTextBlock() { GetMemoryManager()->Free(m_pText); }

    char* m_pText = nullptr;
    size_t m_nSize = 0;
};

/// The list of references is the caller's: it must not be reached once CompileEffect has ended.
class ZReferencesScope
{
public:
    ZReferencesScope(TArray<ZString>*& pSlot, TArray<ZString>& references) : m_pSlot(pSlot) { m_pSlot = &references; }
    ZReferencesScope(const ZReferencesScope&) = delete;
    ZReferencesScope& operator=(const ZReferencesScope&) = delete;
    ~ZReferencesScope() { m_pSlot = nullptr; }

private:
    TArray<ZString>*& m_pSlot;
};

/// Removes the temporary files of all passes at the end, however that comes.
class ZPassFilesScope
{
public:
    explicit ZPassFilesScope(const TArray<SFXTechnique>& techniques) : m_techniques(techniques) {}
    ZPassFilesScope(const ZPassFilesScope&) = delete;
    ZPassFilesScope& operator=(const ZPassFilesScope&) = delete;
    ~ZPassFilesScope()
    {
        for (const SFXTechnique& technique : m_techniques)
            for (const SFXPass& pass : technique.passes)
                for (const ZString* pPath : {&pass.firstTemporaryFile, &pass.secondTemporaryFile})
                    if (!pPath->IsEmpty())
                        std::remove(pPath->ToCString());
    }

private:
    const TArray<SFXTechnique>& m_techniques;
};

void TraceFailedStep(const char* szExpression)
{
    ZTRACE(ITraceListener::eTrace_EffectError, "Error: {0}\n", ZString::ReferenceCString(szExpression));
}

ZString WorkingDirectory()
{
    constexpr size_t LONGEST = 512;
    std::error_code error;
    const std::string sFolder = std::filesystem::current_path(error).string();
    const size_t r = sFolder.size();
    ZASSERT(r != 0 && r <= 512);
    return r < LONGEST ? ZString::FromView(sFolder) : ZString();
}

/// One directory stands as it is, an empty one too; of several the empty ones are left out.
void AppendDirectories(const ZString& includePath, TArray<ZString>& directories)
{
    const TArray<ZString> parts = includePath.Split(';');
    for (const ZString& part : parts)
        if (parts.Size() == 1 || !part.IsEmpty())
            directories.Add(part);
}

/// The effect itself goes by its identifier.
ZString Placed(const SLocation& location, const ZResourceID& id, const ZString& text)
{
    const bool bIsEffect = location.file == SOURCE_FILE && !id.IsEmpty();
    return ZString::Format("{0}:{1}: {2}", bIsEffect ? id.ToString() : location.file, location.nLine, text);
}

} // namespace

ZFXCompilerBase::ZFXCompilerBase() = default;
ZFXCompilerBase::ZFXCompilerBase(const ZFXCompilerBase& other) = default;
ZFXCompilerBase::~ZFXCompilerBase() = default;
ZFXCompilerBase& ZFXCompilerBase::operator=(const ZFXCompilerBase& other) = default;

ICompiledEffect* ZFXCompilerBase::CompileEffect(IResourcePackerContext* pContext, const ZResourceID& id,
                                                const void* pData, size_t nDataSize,
                                                const TArray<SFXCompilerDefine>& defines, const ZString& includePath,
                                                TArray<ZString>& references)
{
    const ZReferencesScope scope(m_pReferences, references);
    m_resourceID = id;
    m_sLastError = ZString();
    m_sLastWarning = ZString();

    TArray<ZString> directories;
    directories.Add(WorkingDirectory());
    AppendDirectories(includePath, directories);
    const TArray<SFXCompilerDefine> ownDefines(defines);
    ZString profiles[PROFILE_COUNT];
    ZTextBlock flat;
    ZTextBlock preprocessed;
    if (!Preprocess(pContext, pData, nDataSize, &flat.m_pText, flat.m_nSize, &preprocessed.m_pText,
                    preprocessed.m_nSize, directories, ownDefines, profiles))
    {
        if (m_sLastError.IsEmpty())
            m_sLastError = Placed({SOURCE_FILE, 1}, id, "the preprocessor fails");
        TraceFailedStep("Preprocess(pContext, pData, nDataSize, &pFlatShaderSource, pFlatShaderSourceSize, "
                        "&pPreprocessedShader, pPreprocessedShaderSize, includePath, defines, profiles)");
        return nullptr;
    }
    const ZPassFilesScope passFiles(m_techniques);
    if (!Collect(preprocessed.m_pText, preprocessed.m_nSize, profiles))
    {
        TraceFailedStep("Collect(pPreprocessedShader, pPreprocessedShaderSize, profiles)");
        return nullptr;
    }
    ICompiledEffect* pEffect = CompileFlatEffect(ownDefines, directories, {flat.m_pText, flat.m_nSize}, references);
    if (pEffect == nullptr && m_sLastError.IsEmpty())
        m_sLastError = Placed({SOURCE_FILE, 1}, id, "the effect does not compile");
    return pEffect;
}

ZString ZFXCompilerBase::GetLastError() const
{
    return m_sLastError;
}

ZString ZFXCompilerBase::GetLastWarning() const
{
    return m_sLastWarning;
}

void ZFXCompilerBase::Reserved() {}

void ZFXCompilerBase::SetTempFolderPath(const ZString& path)
{
    m_sTempFolderPath = path;
}

const TMap<ZString, SFXSamplerState>& ZFXCompilerBase::GetSamplers() const
{
    return m_samplers;
}

const TArray<ZString>& ZFXCompilerBase::GetSharedParameters() const
{
    return m_sharedParameters;
}

const TArray<SFXTechnique>& ZFXCompilerBase::GetTechniques() const
{
    return m_techniques;
}

const ZString& ZFXCompilerBase::GetTempFolderPath() const
{
    return m_sTempFolderPath;
}

bool ZFXCompilerBase::Preprocess(IResourcePackerContext* pContext, const void* pData, size_t nDataSize, char** ppFlat,
                                 size_t& flatSize, char** ppPreprocessed, size_t& preprocessedSize,
                                 const TArray<ZString>& includePaths, const TArray<SFXCompilerDefine>& defines,
                                 ZString* profiles)
{
    *ppFlat = nullptr;
    flatSize = 0;
    *ppPreprocessed = nullptr;
    preprocessedSize = 0;

    ZFXFileNames names;
    ZFXFlattener flattener(static_cast<const char*>(pData), nDataSize, includePaths, &ZFXFlattener::ReadFromDisk,
                           [&names](const ZString& path) { return names.Find(path); });
    try
    {
        if (!flattener.Run([this](const ZString& path) { AddReference(path); }))
        {
            m_sLastError = Placed(flattener.Location(), m_resourceID, flattener.Error());
            if (pContext != nullptr)
                pContext->Error(flattener.Error());
            return false;
        }
    }
    catch (const SFXScanFailure& failure)
    {
        m_sLastError = Placed(flattener.Location(), m_resourceID, failure.detail);
        throw;
    }

    static const char* const PROFILES[PROFILE_COUNT] = {"vs_5_0", "ps_5_0", "gs_5_0", "hs_5_0", "ds_5_0", "cs_5_0"};
    for (size_t n = 0; n < PROFILE_COUNT; ++n)
        profiles[n] = ZString::ReferenceCString(PROFILES[n]);

    *ppFlat = flattener.CopyFlat();
    flatSize = flattener.Size();
    return RunPreprocessor(*ppFlat, flatSize, ppPreprocessed, preprocessedSize, includePaths, defines);
}

bool ZFXCompilerBase::Collect(const char* pText, size_t nSize, ZString* profiles)
{
    m_sharedParameters.Clear();
    m_parameters.Clear();
    m_parameterIndices.Clear();
    m_samplerTextures.Clear();

    SScan scan;
    scan.pText = pText;
    scan.nSize = nSize;
    size_t& nPosition = scan.nPosition;
    size_t nLength = 0;
    const auto skip = [&] { return SkipWhiteSpace(pText, nPosition, nSize, scan.nLine); };
    const auto token = [&] { return ReadToken(pText, nPosition, nSize, scan.nLine, scan.token); };
    const auto expect = [&](char c) { nPosition += ExpectChar(pText, nPosition, nSize, scan.nLine, c); };
    const auto keyword = [&](const char* szKeyword)
    { return MatchKeyword(pText, nPosition, nSize, scan.nLine, szKeyword, nLength) != 0; };
    const auto at = [&](char c) { return StandsAt(pText, nPosition, nSize, c); };

    const auto sharedRule = [&]
    {
        token(); // the type
        token();
        const ZString name = ZString::AllocateFromCString(scan.token);
        if (name.StartsWith("sampler"))
        {
            SFXSamplerState sampler;
            sampler.name = name;
            ReadSamplerBody(scan, sampler);
            m_samplers[name] = sampler;
        }
        m_sharedParameters.Add(name);
    };
    const auto samplerRule = [&]
    {
        token();
        SFXSamplerState sampler;
        sampler.name = ZString::AllocateFromCString(scan.token);
        if (at(':'))
        {
            scan.within = ZString::Format("sampler '{0}'", sampler.name);
            ++nPosition;
            nPosition += ExpectKeyword(pText, nPosition, nSize, scan.nLine, "register");
            expect('(');
            token(); // the register
            expect(')');
            skip();
            scan.within = ZString();
        }
        if (at('{'))
        {
            ReadSamplerBody(scan, sampler);
            m_samplers[sampler.name] = sampler;
        }
    };
    const auto techniqueRule = [&]
    {
        token();
        SFXTechnique technique;
        technique.name = ZString::AllocateFromCString(scan.token);
        if (!at('{'))
            return;
        ++nPosition;
        scan.within = ZString::Format("technique '{0}'", technique.name);
        ParseTechniqueBody(pText, nSize, scan.nLine, scan.token, profiles, nLength, nPosition, technique);
        expect('}');
        scan.within = ZString();
        m_techniques.Add(std::move(technique));
    };

    const auto fail = [&](const ZString& detail)
    {
        const ZString text = scan.within.IsEmpty() ? detail : ZString::Format("{0}: {1}", scan.within, detail);
        m_sLastError = Placed(FindLocation(pText, nPosition, nSize), m_resourceID, text);
    };
    try
    {
        while (skip())
        {
            const char c = pText[nPosition];
            SLineDirective directive;
            // The first letter alone carries the case: "Shared" and "Technique" are names like any other.
            if (c == 's' && keyword("shared"))
            {
                nPosition += nLength;
                skip();
                sharedRule();
            }
            else if ((c == 's' || c == 'S') && (keyword("sampler") || keyword("samplerstate")))
            {
                nPosition += nLength;
                samplerRule();
            }
            else if (c == 't' && (keyword("technique") || keyword("technique11")))
            {
                nPosition += nLength;
                techniqueRule();
            }
            else if (FindLineDirective(pText, nPosition, nSize, directive))
            {
                // As a whole: folders are called "shared" and files "sampler.fxh".
                nPosition = directive.nEnd;
            }
            else
            {
                while (nPosition < nSize && IsIdentifierCharacter(pText[nPosition]))
                    ++nPosition;
                nPosition += nPosition < nSize ? 1 : 0;
            }
        }
    }
    catch (const SFXScanFailure& failure)
    {
        fail(failure.detail);
        throw;
    }
    catch (const zhalt_exception&)
    {
        if (m_sLastError.IsEmpty()) // else the subclass has told more
            fail("the text does not fit");
        throw;
    }
    return true;
}

void ZFXCompilerBase::AddReference(const ZString& path)
{
    if (m_pReferences != nullptr)
        m_pReferences->Add(NormalizeReferencePath(path));
}
