#pragma once

#include "base/component/imodule.h"

/// Every module of the process. Modules are registered on the host's load path; afterwards the list is only read, so
/// components may be created on several threads.
class ZComponentManager
{
public:
    /// Not owned. A module registered twice stands in the list twice.
    Z_EXPORT void RegisterModule(IModule* pModule);
    /// A module that goes is taken out, as often as it stands there. On the host's load path, too; ZSimpleModuleBase
    /// does it for itself.
    Z_EXPORT void UnregisterModule(IModule* pModule);
    Z_EXPORT TArrayRef<IModule* const> Modules() const;

    /// The interface pointer of a fresh object of the first module that knows the name; null when none does or the
    /// object has no such interface. The caller ends it with Release().
    Z_EXPORT void* CreateComponent(const ZString& name, STypeID* pInterface, ZComponentCreateInfo& info);

private:
    TArray<IModule*> m_modules;
};

Z_EXPORT ZComponentManager* GetComponentManager();

/// The same, typed, for creation arguments in their order.
template <class TInterface, class... TArgs>
TInterface* CreateComponent(const ZString& name, const TArgs&... args)
{
    ZComponentCreateInfo info = ZComponentCreateInfo::Of(args...);
    return static_cast<TInterface*>(GetComponentManager()->CreateComponent(name, GetTypeID<TInterface>(), info));
}
