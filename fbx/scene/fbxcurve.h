#pragma once

#include "fbx/memory/fbxarena.h"
#include "fbx/scene/fbxtime.h"

#include <cstdint>

/// Key times, ascending. Curves of one file that were keyed together share them.
struct SFbxTimeline
{
    const int64_t* pTimes = nullptr;
    uint32_t nKeys = 0;
    uint32_t nIndex = 0; ///< among the timelines of the scene
};

/// How a curve goes on outside its keys.
enum class EFbxExtrapolation : uint8_t
{
    eConstant,
    eRepeat,
    eMirror,
    eSlope,
    eRepeatRelative
};

struct SFbxExtrapolation
{
    EFbxExtrapolation eType = EFbxExtrapolation::eConstant;
    int32_t nRepetition = -1; ///< -1 without end, 0 none beyond
};

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

/// Attributes as files store them: entry i holds for nCount[i] keys. Four words a key: right slope, next left slope,
/// weights and velocities as pairs of 16 bits; tension, continuity and bias for the tangents of that kind.
struct SFbxKeyAttributes
{
    const uint32_t* pFlags = nullptr;
    const uint32_t* pWords = nullptr;
    const int32_t* pCounts = nullptr;
    uint32_t nEntries = 0;
    bool bFloatWeights = false; ///< the last two words are floats: right weight, next left weight
};

enum EFbxKeyFlags : uint32_t
{
    eFbxKey_Constant = 0x2,
    eFbxKey_Linear = 0x4,
    eFbxKey_Cubic = 0x8,
    eFbxKey_Tcb = 0x200,
    eFbxKey_User = 0x400,
    eFbxKey_Break = 0x800,
    eFbxKey_ConstantNext = 0x100,
    eFbxKey_Clamp = 0x1000,
    eFbxKey_TimeIndependent = 0x2000,
    eFbxKey_ClampProgressive = 0x4000,
    eFbxKey_WeightedRight = 0x1000000,
    eFbxKey_WeightedNextLeft = 0x2000000
};

/// Values over time. Lives in its scene's memory.
class FbxAnimCurve
{
public:
    size_t GetKeyCount() const { return pTimeline->nKeys; }
    FbxTime GetKeyTime(size_t nKey) const { return FbxTime::FromTicks(pTimeline->pTimes[nKey]); }
    float GetKeyValue(size_t nKey) const { return pValues[nKey]; }

    /// Spans between keys, one for each key; made from the attributes when first asked for. Null when all spans are
    /// of the one kind that eOnly then names.
    const SFbxSegment* GetSegments(EFbxSegment& eOnly) const;
    /// True when the curve has one value at all times.
    bool IsFlat() const;

    const SFbxTimeline* pTimeline = nullptr;
    const float* pValues = nullptr;
    SFbxKeyAttributes attributes;
    SFbxExtrapolation pre;
    SFbxExtrapolation post;
    FbxArena* pArena = nullptr; ///< of the scene, for the segments

private:
    mutable const SFbxSegment* m_pSegments = nullptr;
    mutable EFbxSegment m_eOnly = EFbxSegment::eLinear;
    mutable bool m_bPrepared = false;
};

/// Value within a span; u is the part of its time that has passed, 0 to 1.
double FbxEvaluateSegment(const SFbxSegment& segment, double fValue, double fNext, double fSeconds, double u);

/// Fills the segments of a curve from the attributes of its keys.
void FbxSolveTangents(const FbxAnimCurve& curve, SFbxSegment* pSegments);
