#include "resource/animation/fbximport/motioncharacteristics.h"

#include "base/math/zmath.h"
#include "resource/animation/fbximport/fbxanimationutils.h"

#include <algorithm>
#include <cmath>

namespace ResourceAnimation
{

namespace
{

constexpr float METRES_PER_CENTIMETRE = 0.01f;

float SignedYaw(const SQuaternion& q)
{
    return q.z < 0.0f ? q.GetAngle() * -1.0f : q.GetAngle();
}

float Distance(const SVector3& a, const SVector3& b)
{
    const SVector3 d = b * METRES_PER_CENTIMETRE - a * METRES_PER_CENTIMETRE;
    return std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
}

/// From the direction that the first frame faces to that of the displacement, both seen from above.
float StartDirectionAngle(SVector2 direction, const SQuaternion& q)
{
    const auto isNone = [](const SVector2& v)
    {
        constexpr float fNone = 1.1920929e-07f; // 2^-23
        return std::fabs(v.x) <= fNone && std::fabs(v.y) <= fNone;
    };
    if (isNone(direction))
        return 0.0f;
    const float fScale = 1.0f / std::sqrt(direction.x * direction.x + direction.y * direction.y);
    direction = {direction.x * fScale, direction.y * fScale};
    SVector2 forward{-(2.0f * q.x * q.y + 2.0f * q.w * q.z), -(1.0f - 2.0f * q.x * q.x - 2.0f * q.z * q.z)};
    if (isNone(forward)) // it faces up or down
        return 0.0f;
    const float fForward = 1.0f / std::sqrt(forward.x * forward.x + forward.y * forward.y);
    forward = {forward.x * fForward, forward.y * fForward};
    const float c = direction.x * forward.x + direction.y * forward.y;
    const float fAngle = c >= 1.0f ? 0.0f : c <= -1.0f ? 3.1415927f : ZMath::ACos(c);
    return direction.y * forward.x - direction.x * forward.y < 0.0f ? -fAngle : fAngle;
}

} // namespace

TArray<STrajectorySample> ExtractTrajectory(const FbxNode* node, const ZFbxTakeData& take)
{
    ZASSERT_OR_HALT(node != nullptr);
    CheckTakeLength(take.m_name, take.m_frameCount);
    const FbxTransform reference = node->EvaluateLocalTransform(FbxTime());
    const FbxQuaternion inverse = reference.q.Inverse();
    const FbxVector3 negated = reference.t * -1.0;
    TArray<STrajectorySample> trajectory;
    trajectory.Reserve(static_cast<size_t>(std::max(0, take.m_frameCount)));
    for (int64_t nFrame = take.m_startFrame; nFrame <= take.m_endFrame; ++nFrame)
    {
        const auto f = static_cast<int32_t>(nFrame);
        const FbxTransform transform = node->EvaluateLocalTransform(TimeOfFrame(f, take.m_frameRate));
        const FbxQuaternion q = inverse * transform.q;
        const FbxVector3 p = inverse.Rotate(transform.t + negated);
        STrajectorySample sample;
        sample.fTime = static_cast<float>(f) / take.m_frameRate;
        sample.vPosition = {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
        sample.qRotation = {static_cast<float>(q.x), static_cast<float>(q.y), static_cast<float>(q.z),
                            static_cast<float>(q.w)};
        trajectory.Add(sample);
    }
    return trajectory;
}

void ComputeAnimationCharacteristics(const TArray<STrajectorySample>& trajectory, float,
                                     SAnimationCharacteristics& characteristics)
{
    const uint32_t n = trajectory.Size();
    // The start and the end velocity are measured over a twentieth of the take each.
    const uint32_t W = std::max(1u, static_cast<uint32_t>(static_cast<float>(n) * 0.05f));
    if (n == 0)
        return;
    const uint32_t last = n - 1;
    const STrajectorySample* const p = trajectory.GetStart();
    float fStartDistance = 0.0f;
    float fEndDistance = 0.0f;
    for (uint32_t k = 1; k <= last; ++k)
    {
        characteristics.fTotalAngularDelta +=
            ZMath::GetAngleTowards(SignedYaw(p[k - 1].qRotation), SignedYaw(p[k].qRotation));
        const float d = Distance(p[k - 1].vPosition, p[k].vPosition);
        characteristics.fTotalLinearDelta += d;
        if (k <= W)
            fStartDistance += d;
        if (k >= n - W)
            fEndDistance += d;
    }
    const float fDuration = p[last].fTime - p[0].fTime;
    if (fDuration > 0.0f)
    {
        characteristics.fAverageLinearVelocity = characteristics.fTotalLinearDelta * (1.0f / fDuration);
        characteristics.fAverageAngularVelocity = characteristics.fTotalAngularDelta * (1.0f / fDuration);
        const float fStartTime = p[std::min(W, last)].fTime - p[0].fTime;
        if (fStartTime > 0.0f)
            characteristics.fLinearStartVelocity = fStartDistance / fStartTime;
        const float fEndTime = p[last].fTime - p[std::min(last, last - W)].fTime;
        if (fEndTime > 0.0f)
            characteristics.fLinearEndVelocity = fEndDistance / fEndTime;
    }
    const SVector3 displacement = (p[last].vPosition - p[0].vPosition) * METRES_PER_CENTIMETRE;
    characteristics.fTotalLinearXDelta = displacement.x;
    characteristics.fTotalLinearYDelta = displacement.y;
    characteristics.fStartDirectionAngle = StartDirectionAngle({displacement.x, displacement.y}, p[0].qRotation);
}

} // namespace ResourceAnimation
