#pragma once

#include "base/collections/tarray.h"
#include "base/math/quaternion.h"
#include "resource/animation/fbximport/fbxtakedata.h"

class FbxNode;

namespace ResourceAnimation
{

/// A node at one frame, relative to its own transform at scene time zero.
struct STrajectorySample
{
    float fTime = 0.0f; ///< seconds: frame number by frame rate
    SVector3 vPosition; ///< centimetres
    SQuaternion qRotation;
};
static_assert(sizeof(STrajectorySample) == 32);

/// How a take's root moves: metres, seconds, radians.
struct SAnimationCharacteristics
{
    float fAverageLinearVelocity = 0.0f;
    float fLinearStartVelocity = 0.0f;
    float fLinearEndVelocity = 0.0f;
    float fTotalLinearDelta = 0.0f; ///< length of the path
    float fTotalLinearXDelta = 0.0f;
    float fTotalLinearYDelta = 0.0f;
    float fAverageAngularVelocity = 0.0f;
    float fTotalAngularDelta = 0.0f;
    float fStartDirectionAngle = 0.0f; ///< from where the first frame faces to where the whole displacement leads
    float fAimingYaw = 0.0f;           ///< this and the three below are for tools to fill
    float fAimingPitch = 0.0f;
    float fHeadYaw = 0.0f;
    float fHeadPitch = 0.0f;
};

/// One sample for each frame of the take.
TArray<STrajectorySample> ExtractTrajectory(const FbxNode* node, const ZFbxTakeData& take);

/// Adds to a record that is zero. `frameRate` is not used: samples bring their times.
void ComputeAnimationCharacteristics(const TArray<STrajectorySample>& trajectory, float frameRate,
                                     SAnimationCharacteristics& characteristics);

} // namespace ResourceAnimation
