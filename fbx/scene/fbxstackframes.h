#pragma once

#include "fbx/scene/fbxscene.h"

#include <cstdint>

/// Frames of the file's timeline that lie in a span; frame n is n / rate seconds.
struct SFbxFrames
{
    int64_t nFirst = 0;
    int64_t nLast = 0; ///< included
    int64_t Count() const { return nLast - nFirst + 1; }
};

/// The file's frame rate; 30 where it has none.
double FbxFrameRateOf(const FbxScene& scene);

/// Translation, rotation or scale of a node has keys in the scene's current stack.
bool FbxHasKeys(const FbxNode& node);

/// Whole frames within a span; the frame next to it where there are none. What comes before a frame by less than a
/// thousandth of one counts as that one.
SFbxFrames FbxFramesOf(const FbxTimeSpan& span, double fFrameRate);

/// The span that a stack says it has; where it says nothing, from the first to the last key of the nodes' transforms.
FbxTimeSpan FbxSpanOf(const FbxAnimStack& stack);
