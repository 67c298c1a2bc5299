#define Z_LANE_BYTES 16
#include "system/animation/quaternionpacklanes.h"

const SQuaternionPackers& BaselineQuaternionPackers()
{
    return LANE_PACKERS;
}

const SQuaternionPackers& QuaternionPackers()
{
    static const SQuaternionPackers* const s_pAvx2 = Avx2QuaternionPackers();
    return s_pAvx2 != nullptr ? *s_pAvx2 : LANE_PACKERS;
}
