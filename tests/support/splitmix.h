#pragma once

#include <cstdint>

/// SplitMix64: the same numbers everywhere, unlike the standard distributions.
class ZSplitMix
{
public:
    explicit ZSplitMix(uint64_t nSeed) : m_nState(nSeed) {}
    uint64_t Bits()
    {
        uint64_t n = (m_nState += 0x9e3779b97f4a7c15u);
        n = (n ^ n >> 30) * 0xbf58476d1ce4e5b9u;
        n = (n ^ n >> 27) * 0x94d049bb133111ebu;
        return n ^ n >> 31;
    }
    uint32_t Below(uint32_t nLimit) { return static_cast<uint32_t>(Bits() % nLimit); }

private:
    uint64_t m_nState;
};
