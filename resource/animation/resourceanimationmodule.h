#pragma once

#include "base/component/simplemodulebase.h"

/// The module: a table of the components that a host creates by name.
class ZResourceAnimationModule final : public ZSimpleModuleBase
{
public:
    using ZSimpleModuleBase::ZSimpleModuleBase;
    void Shutdown() override { ZSimpleModuleBase::Shutdown(); }
    void RegisterComponents() override;
};

extern "C"
{
    /// The one module object, made at the first call on the host's load path and destroyed when the library goes.
    Z_EXPORT ZResourceAnimationModule* GetDllModule();

    /// The host's single entry: gives the module object to the component manager. The host then drives Initialize and
    /// Activate.
    Z_EXPORT void ImportZResourceAnimationModule();
}
