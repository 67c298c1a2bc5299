#pragma once

#include <compare>
#include <cstdint>

/// A point in scene time, counted in ticks: 46186158000 of them make a second, a number that all film, video and
/// game rates divide.
class FbxTime
{
public:
    static constexpr int64_t kTicksPerSecond = 46186158000;

    constexpr FbxTime() = default;
    static constexpr FbxTime FromTicks(int64_t nTicks) { return FbxTime(nTicks); }
    static FbxTime FromSeconds(double fSeconds);
    /// Where a frame begins; held at the ends like seconds. Zero for a rate that is not above zero.
    static FbxTime FromFrame(int64_t nFrame, double fFramesPerSecond);
    /// The time that stands for "without animation": every property has its static value.
    static constexpr FbxTime Infinite() { return FbxTime(0x7fffffffffffffff); }

    /// Rounded to the nearest tick; what does not fit is held at the ends, and not-a-number is zero.
    void SetSecondDouble(double fSeconds);
    double GetSecondDouble() const;
    constexpr int64_t Get() const { return m_nTicks; }
    constexpr bool IsInfinite() const { return m_nTicks == Infinite().m_nTicks; }

    /// Number of the frame that this time lies in, rounded down; a time that comes before the next one by less
    /// than a thousandth of a frame, or than a 32-bit float's rounding, counts as that one. Zero for a rate that is not
    /// above zero.
    int64_t GetFrameCount(double fFramesPerSecond) const;

    /// Frames a second of a time mode as files number it (0..17). Mode 14 gives fCustom when that is above zero;
    /// unknown modes count as mode 0: 30.
    static double GetFrameRate(int nTimeMode, double fCustom);

    friend constexpr auto operator<=>(FbxTime, FbxTime) = default;

private:
    constexpr explicit FbxTime(int64_t nTicks) : m_nTicks(nTicks) {}
    int64_t m_nTicks = 0;
};

struct FbxTimeSpan
{
    FbxTime start;
    FbxTime stop;
};
