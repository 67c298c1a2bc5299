#pragma once

#include "fbx/scene/fbxtime.h"

#include <cstddef>
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

/// What an evaluator may keep of each key of a curve with cubic keys, which whoever bounds a scene's memory counts.
constexpr size_t kFbxEvaluatedKeyBytes = 20;

/// Values over time. Lives in its scene's memory; made by FbxScene::AddCurve.
class FbxAnimCurve
{
public:
    size_t GetKeyCount() const { return pTimeline->nKeys; }
    FbxTime GetKeyTime(size_t nKey) const { return FbxTime::FromTicks(pTimeline->pTimes[nKey]); }
    float GetKeyValue(size_t nKey) const { return pValues[nKey]; }

    const SFbxTimeline* pTimeline = nullptr;
    const float* pValues = nullptr;
    SFbxKeyAttributes attributes;
    SFbxExtrapolation pre;
    SFbxExtrapolation post;
    uint32_t nIndex = 0; ///< among the curves of the scene
};
