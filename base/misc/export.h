#pragma once

/// Marks what leaves a shared library; everything else is hidden (see cmake/zoptions.cmake).
#define Z_EXPORT __attribute__((visibility("default")))
