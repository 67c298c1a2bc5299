#pragma once

#include "base/component/icomponentinterface.h"
#include "base/misc/zresourceid.h"
#include "resource/_shared/icompiledeffect.h"
#include "resource/core/iresourcepacker.h"

/// One macro that is set from outside.
struct SFXCompilerDefine
{
    ZString name;
    ZString value;
};

/// A component that compiles effects. One effect at a time; an object may be used again.
///
/// Slot order: destructor, GetVariantRef, AddRef, Release, QueryInterface, CompileEffect, GetLastError, GetLastWarning,
/// Reserved, SetTempFolderPath.
class Z_EXPORT IFXCompiler : public IComponentInterface
{
public:
    /// Null on failure; zhalt_exception for malformed text. GetLastError() tells why in either case.
    ///
    /// `id` names the effect in messages, `pData` is its source. Includes are looked for beside the including file, in
    /// the working directory, then in `includePath`: one directory, or several with semicolons between them; a file
    /// whose name differs in case only is taken when there is no other. Every file that was included is appended to
    /// `references`, lower-cased and with slashes forward, as often as it was.
    virtual ICompiledEffect* CompileEffect(IResourcePackerContext* pContext, const ZResourceID& id, const void* pData,
                                           size_t nDataSize, const TArray<SFXCompilerDefine>& defines,
                                           const ZString& includePath, TArray<ZString>& references) = 0;
    /// "FILE:LINE: TEXT" of the last CompileEffect; empty when it went well.
    virtual ZString GetLastError() const = 0;
    virtual ZString GetLastWarning() const = 0;
    virtual void Reserved() {} ///< does nothing; keeps its slot
    virtual void SetTempFolderPath(const ZString&) {}
};
Z_TYPE_NAME(IFXCompiler, "IFXCompiler");

/// A library with an effect compiler has an entry of this name, which registers its module like that of any other; the
/// module makes the component of that name under IFXCompiler.
constexpr const char FX_COMPILER_MODULE_ENTRY[] = "ImportZEffectCompilerModule";
constexpr const char FX_COMPILER_COMPONENT[] = "EffectCompiler";
