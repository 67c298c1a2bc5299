#pragma once

#include "host/export/gltftake.h"

#include <string>
#include <vector>

namespace Host
{

/// A glTF 2.0 file in its binary form, of takes in their order.
///
/// Takes of one rig share its nodes; several rigs stand beside each other along X, in the order of their first takes.
/// For each a node that carries the character, named after the rig, and beside it a body with a skin on the rig's
/// bones.
struct SGltfFile
{
    std::string sBytes;     ///< the same for the same takes, on every machine
    uint64_t nKeyBytes = 0; ///< of it, keys of animations
};

/// Takes are used up. ZHostError for more than a file can hold.
SGltfFile MakeGltfFile(std::vector<SGltfTake> takes);

} // namespace Host
