#pragma once

#include "fbx/scene/fbxscene.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Host
{

/// Frames of the file's timeline that lie in a stack; frame n is n / rate seconds.
struct SFrames
{
    int64_t nFirst = 0;
    int64_t nLast = 0; ///< included
    int64_t Count() const { return nLast - nFirst + 1; }
};

/// The file's frame rate; 30 where it has none.
double FrameRateOf(const FbxScene& scene);

/// Translation, rotation or scale of a node has keys in the scene's current stack.
bool HasKeys(const FbxNode& node);

/// Whole frames within a span; the frame next to it where there are none. What comes before a frame by less than a
/// thousandth of one counts as that one.
SFrames FramesOf(const FbxTimeSpan& span, double fFrameRate);

/// The span that the current stack says it has; where it says nothing, from the first to the last key of its nodes.
FbxTimeSpan SpanOfCurrentStack(const FbxScene& scene);

} // namespace Host
