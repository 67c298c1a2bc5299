#pragma once

#include "base/misc/export.h"

/// Tells the type registry of this library's records and of the array types they hold. Done once when the library is
/// loaded; safe to repeat, from any thread.
Z_EXPORT void RegisterSystemAnimationTypes();

/// Registers the module "System.Animation" with the component manager, once. It has no components: it makes this
/// library one of the engine's modules, with its types.
Z_EXPORT void ImportSystemAnimationModule();
