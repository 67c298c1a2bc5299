#pragma once

#include "base/component/simplemodulebase.h"

class ZResourceAnimationModule;

extern "C"
{
    /// The one module object, made at the first call on the host's load path. When the library goes it ends, and takes
    /// itself out of the component manager.
    Z_EXPORT ZResourceAnimationModule* GetDllModule();

    /// The host's single entry: gives the module object to the component manager. The host then drives Initialize and
    /// Activate.
    Z_EXPORT void ImportZResourceAnimationModule();
}

/// The module "Resource.Animation": a table of the components that a host creates by name.
class ZResourceAnimationModule : public ZSimpleModuleBase
{
public:
    void Shutdown() override { ZSimpleModuleBase::Shutdown(); }

private:
    void RegisterComponents() override;
    friend ZResourceAnimationModule* GetDllModule();
    ZResourceAnimationModule();
};
