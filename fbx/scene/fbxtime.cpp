#include "fbx/scene/fbxtime.h"

#include <cmath>

FbxTime FbxTime::FromSeconds(double fSeconds)
{
    FbxTime time;
    time.SetSecondDouble(fSeconds);
    return time;
}

void FbxTime::SetSecondDouble(double fSeconds)
{
    // One below the infinite time, so that no number of seconds ever means "without animation".
    constexpr int64_t kMax = 0x7ffffffffffffffe;
    const double fTicks = std::floor(fSeconds * static_cast<double>(kTicksPerSecond) + 0.5);
    if (std::isnan(fTicks))
        m_nTicks = 0;
    else if (fTicks >= 9.2e18)
        m_nTicks = kMax;
    else if (fTicks <= -9.2e18)
        m_nTicks = -kMax;
    else
        m_nTicks = static_cast<int64_t>(fTicks);
}

double FbxTime::GetSecondDouble() const
{
    return static_cast<double>(m_nTicks) / static_cast<double>(kTicksPerSecond);
}

FbxTime FbxTime::FromFrame(int64_t nFrame, double fFramesPerSecond)
{
    if (!(fFramesPerSecond > 0.0))
        return {};
    // Most rates divide the second's ticks; their frames lie on ticks, which doubles would miss far from zero.
    const double fTicks = static_cast<double>(kTicksPerSecond) / fFramesPerSecond;
    int64_t nTicks = 0;
    if (fTicks < 1e12 && fTicks == std::floor(fTicks) &&
        !__builtin_mul_overflow(nFrame, static_cast<int64_t>(fTicks), &nTicks) && nTicks != Infinite().m_nTicks)
        return FbxTime(nTicks);
    return FromSeconds(static_cast<double>(nFrame) / fFramesPerSecond);
}

int64_t FbxTime::GetFrameCount(double fFramesPerSecond) const
{
    if (!(fFramesPerSecond > 0.0) || fFramesPerSecond > 1e9)
        return 0;
    const double fFrame = GetSecondDouble() * fFramesPerSecond;
    // Times come through 32-bit numbers: the slack grows with what those lose.
    const double fFloor = std::floor(fFrame + 1e-3 + std::fabs(fFrame) * (1.0 / 8388608.0));
    if (fFloor >= 9.2e18)
        return 0x7fffffffffffffff;
    if (fFloor <= -9.2e18)
        return -0x7fffffffffffffff;
    return static_cast<int64_t>(fFloor);
}

double FbxTime::GetFrameRate(int nTimeMode, double fCustom)
{
    switch (nTimeMode)
    {
    case 1:
        return 120.0;
    case 2:
        return 100.0;
    case 3:
        return 60.0;
    case 4:
        return 50.0;
    case 5:
        return 48.0;
    case 8:
    case 9:
        return 30000.0 / 1001.0;
    case 10:
        return 25.0;
    case 11:
        return 24.0;
    case 12:
        return 1000.0;
    case 13:
        return 24000.0 / 1001.0;
    case 14:
        return fCustom > 0.0 && fCustom <= 1e9 ? fCustom : 30.0;
    case 15:
        return 96.0;
    case 16:
        return 72.0;
    case 17:
        return 60000.0 / 1001.0;
    default:
        return 30.0;
    }
}
