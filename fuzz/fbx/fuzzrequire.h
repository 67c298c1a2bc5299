#pragma once

#include <cstdio>
#include <cstdlib>

/// Stops a fuzz run with the condition that did not hold, in every kind of build.
#define FUZZ_REQUIRE(condition)                                                                                        \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!(condition))                                                                                              \
        {                                                                                                              \
            std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition);                                       \
            std::abort();                                                                                              \
        }                                                                                                              \
    } while (false)
