#include "host/plan/takerig.h"

namespace Host
{

namespace
{

/// What a scan tells of a take's rig.
constexpr const char RIG_PROPERTY[] = "CutsequenceRigResource";
/// As the packer takes it for cameras.
constexpr const char COMMON_RIG[] = "assembly:/animations/_common/trajectoryrig.rig.fbx";

} // namespace

std::string RigOfTake(const SSourceScan::SSubResource& take)
{
    for (const auto& [sKey, sValue] : take.properties)
        if (sKey == RIG_PROPERTY && !sValue.empty())
            return sValue;
    return COMMON_RIG;
}

} // namespace Host
