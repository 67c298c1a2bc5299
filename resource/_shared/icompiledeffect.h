#pragma once

#include "base/component/icomponentinterface.h"
#include "resource/_shared/fxreflection.h"

/// What a compiler made of one effect, with what was read from it. The caller's, who ends it with Release(); what it
/// returns lives as long as it does.
class Z_EXPORT ICompiledEffect : public IComponentInterface
{
public:
    /// The source with its includes put in.
    virtual TArrayRef<const char> GetFlatSource() const = 0;
    virtual const TMap<ZString, SFXSamplerState>& GetSamplers() const = 0;
    virtual const TArray<ZString>& GetSharedParameters() const = 0;
    virtual const TArray<SFXTechnique>& GetTechniques() const = 0;
};
Z_TYPE_NAME(ICompiledEffect, "ICompiledEffect");
