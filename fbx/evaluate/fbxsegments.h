#pragma once

#include "fbx/scene/fbxcurve.h"

/// How a curve gets from one key to the next.
enum class EFbxSegment : uint8_t
{
    eStep,     ///< holds this key's value
    eStepNext, ///< has the next key's value at once
    eLinear,
    eCubic, ///< weights are a third: the curve's parameter is time itself
    eCubicWeighted
};

/// One span between two keys. Slopes are units a second, weights parts of the span.
struct SFbxSegment
{
    float fSlopeRight;
    float fSlopeNextLeft;
    float fWeightRight;
    float fWeightNextLeft;
    EFbxSegment eKind;
};
static_assert(sizeof(SFbxSegment) <= kFbxEvaluatedKeyBytes);

/// The kind of all spans of a curve, when that is one that needs nothing but values: a step or a line. False when the
/// spans have to be worked out.
bool FbxHasOneKind(const FbxAnimCurve& curve, EFbxSegment& eOnly);

/// Fills the segments of a curve, one for each key, from the attributes of its keys.
void FbxSolveTangents(const FbxAnimCurve& curve, SFbxSegment* pSegments);

/// True when the attributes of the keys alone tell that a curve of equal values stays at them.
bool FbxStaysFlat(const SFbxKeyAttributes& attributes);

/// Value within a span; u is the part of its time that has passed, 0 to 1.
double FbxEvaluateSegment(const SFbxSegment& segment, double fValue, double fNext, double fSeconds, double u);
