// Compiled with AVX2 where the compiler has it (CMakeLists.txt). Nothing here but the table may be reached on a
// processor without it.
#if defined(__AVX2__)

#define Z_LANE_BYTES 32
#include "system/animation/quaternionpacklanes.h"

const SQuaternionPackers* Avx2QuaternionPackers()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") ? &LANE_PACKERS : nullptr;
}

#else

#include "system/animation/quaternionpackers.h"

const SQuaternionPackers* Avx2QuaternionPackers()
{
    return nullptr;
}

#endif
