#pragma once

#include "resource/_shared/ifxcompiler.h"

/// The first half of an effect compiler. It flattens a source, hands it to the subclass's preprocessor, reads what the
/// engine has to know at load time from the result, lets the subclass compile, and removes the passes' temporary files.
/// Exported by the module: a compiler in another library derives from it and supplies the five operations of a
/// component and the three pure ones below.
///
/// Slot order: that of IFXCompiler, then CompileFlatEffect, RunPreprocessor, ParseTechniqueBody.
///
/// Text that is malformed is traced on level 3, with "Error: {0}\n" in the channel's place, and throws zhalt_exception
/// through CompileEffect; GetLastError() then tells file and line, worked out from the #line directives. Includes that
/// do not end are stopped by bounds: see ZFXFlattener.
class Z_EXPORT ZFXCompilerBase : public IFXCompiler
{
public:
    ZFXCompilerBase();
    ZFXCompilerBase(const ZFXCompilerBase& other);
    ~ZFXCompilerBase() override;
    ZFXCompilerBase& operator=(const ZFXCompilerBase& other);

    /// Working directories longer than 512 characters fail the assertion "r != 0 && r <= 512".
    ICompiledEffect* CompileEffect(IResourcePackerContext* pContext, const ZResourceID& id, const void* pData,
                                   size_t nDataSize, const TArray<SFXCompilerDefine>& defines,
                                   const ZString& includePath, TArray<ZString>& references) override;
    ZString GetLastError() const override;
    ZString GetLastWarning() const override;
    void Reserved() override;
    void SetTempFolderPath(const ZString& path) override;

    const TMap<ZString, SFXSamplerState>& GetSamplers() const;
    const TArray<ZString>& GetSharedParameters() const;
    const TArray<SFXTechnique>& GetTechniques() const;
    const ZString& GetTempFolderPath() const;

protected:
    static constexpr size_t PROFILE_COUNT = 6;

    /// The backend. Null on failure, with m_sLastError set. The flat source ends with a zero byte behind its size.
    virtual ICompiledEffect* CompileFlatEffect(const TArray<SFXCompilerDefine>& defines,
                                               const TArray<ZString>& includeDirectories,
                                               TArrayRef<const char> flatSource, TArray<ZString>& references) = 0;
    /// Gives the preprocessed text in a block of the engine's heap, which the caller frees, on failure too; it starts
    /// as null. The flat source ends with a zero byte behind its size. #line directives of the result, one a line,
    /// place what is found to be wrong later.
    virtual bool RunPreprocessor(const char* pFlat, size_t nFlatSize, char** ppPreprocessed, size_t& preprocessedSize,
                                 const TArray<ZString>& includeDirectories,
                                 const TArray<SFXCompilerDefine>& defines) = 0;
    /// Reads what stands between the braces of a technique: comes with the position just behind the opening brace and
    /// leaves it before the closing one. pToken is a buffer of FXCompilerUtil::TOKEN_SIZE and nLength a variable for
    /// MatchKeyword, both free to use; `profiles` are the six that Preprocess filled in.
    virtual void ParseTechniqueBody(const char* pText, size_t nSize, uint32_t& nLine, char* pToken, ZString* profiles,
                                    size_t& nLength, size_t& nPosition, SFXTechnique& technique) = 0;

    /// Flattens and preprocesses. Both texts are blocks of the engine's heap, the caller's to free, null when it came
    /// not that far. `profiles` are PROFILE_COUNT strings. False when an include is not found or does not end, which
    /// the context is told, or when RunPreprocessor says so.
    bool Preprocess(IResourcePackerContext* pContext, const void* pData, size_t nDataSize, char** ppFlat,
                    size_t& flatSize, char** ppPreprocessed, size_t& preprocessedSize,
                    const TArray<ZString>& includePaths, const TArray<SFXCompilerDefine>& defines, ZString* profiles);

    /// Reads shared parameters, samplers and techniques from preprocessed text. Always true; text that does not fit
    /// throws. Techniques and samplers of earlier calls stay, a sampler of the same name is replaced.
    ///
    ///   shared TYPE NAME               lower-case "s"; a name that begins with "sampler" has a body
    ///   sampler NAME : register(R) {}  or samplerstate, any case; without a body it leaves no trace
    ///   technique NAME {}              or technique11; lower-case "t"
    ///
    /// Everything else is stepped over, #line directives with their names as a whole.
    bool Collect(const char* pText, size_t nSize, ZString* profiles);

    /// Appends the path, lower-cased and with single slashes forward, to the caller's references. Does nothing outside
    /// CompileEffect.
    void AddReference(const ZString& path);

    TArray<SFXTechnique> m_techniques;
    TArray<ZString> m_sharedParameters;
    TArray<ZString>* m_pReferences = nullptr; ///< the caller's, for the time of CompileEffect
    // The subclass's own, neither filled nor read here. Collect empties m_parameters, m_parameterIndices and
    // m_samplerTextures.
    TArray<SFXParameter> m_parameters;
    TArray<SFXConstantBuffer> m_constantBuffers;
    TMap<ZString, uint32_t> m_parameterIndices;      ///< by name
    TMap<ZString, ZString> m_samplerTextures;        ///< texture by sampler
    TMap<ZString, uint32_t> m_constantBufferIndices; ///< by name
    TMap<ZString, SFXSamplerState> m_samplers;       ///< by name
    ZString m_sLastError;
    ZString m_sLastWarning;
    ZString m_sTempFolderPath; ///< empty: the subclass chooses
    ZResourceID m_resourceID;  ///< the effect being compiled
};
