#pragma once

#include "resource/_shared/ifxcompiler.h"

/// The module's entry, as a host calls it.
extern "C" __attribute__((visibility("default"))) void ImportZEffectCompilerModule();
