#pragma once

#include "base/component/componentcreateinfo.h"
#include "base/component/icomponentinterface.h"
#include "base/misc/zstring.h"

/// A library's face towards the component manager. Modules live as long as their library.
class Z_EXPORT IModule : public IComponentInterface
{
public:
    virtual ZString Name() const = 0;
    virtual bool Initialize() = 0;
    virtual void Shutdown() = 0;
    virtual bool Activate() = 0;
    virtual void OnAfterActivation() = 0;
    virtual void OnBeforeDeactivation() = 0;
    virtual void Deactivate() = 0;
    /// Options of the module, as the host set them.
    virtual TArray<ZString> GetOptions() const = 0;
    virtual bool GetOption(const ZString& name, ZString& value) const = 0;
    virtual bool HasOptions() const = 0;
    virtual bool GetOptionBool(const ZString& name) const = 0;
    virtual void SetOption(const ZString& name, const ZString& value) = 0;
    virtual void BeginInitialization() = 0;
    virtual void EndInitialization() = 0;
    virtual void WaitForInitialization() = 0;
    /// A fresh object that answers to the interface; null when the name is not known here.
    virtual void* CreateComponent(const ZString& name, STypeID* pInterface, ZComponentCreateInfo& info) = 0;
};
Z_TYPE_NAME(IModule, "IModule");
