#pragma once

#include "base/misc/endian.h"
#include "system/animation/animationresourcedata.h"
#include "system/animation/animposebuffer.h"

/// Plays a packed animation: one frame at a time, straight from the record's bytes into a pose.
///
/// Cost       a frame is one run through each group's bytes of that frame; nothing is searched and nothing allocated.
///            What does not change is decoded once, here, and copied.
/// Ownership  refers to the record, which must neither move nor go while the sampler lives; it may stand in a
///            deserialised block. Shares the descriptor.
/// Threads    read-only once made: any number of threads may sample, each into its own buffer.
/// Portable   gives the bits that the Unpack functions give, on every machine.
class ZAnimationSampler
{
public:
    /// Null, with a text in `why`, when the record does not fit the rig (SAnimationResourceData::IsConsistent).
    /// `eDataOrder` is the byte order of the platform that the animation was packed for: the groups' bytes are in it,
    /// whatever machine this is.
    Z_EXPORT static TSharedPtr<ZAnimationSampler> Create(const SystemAnimation::SAnimationResourceData& data,
                                                         EEndian eDataOrder,
                                                         const TSharedPtr<ZAnimPoseDescriptor>& descriptor,
                                                         ZString& why);

    uint32_t FrameCount() const { return m_nFrames; }
    float FrameRate() const { return m_fFrameRate; }
    /// Bytes that one frame stores.
    uint64_t FrameBytes() const { return m_nFrameBytes; }

    /// The whole local pose at a frame: every bone of the rig is set, those without a track to their bind pose. The
    /// buffer is of the same rig, or an assertion fails and zhalt_exception is raised; likewise for a frame that the
    /// animation has not.
    Z_EXPORT void Sample(uint32_t nFrame, ZAnimPoseBuffer& buffer) const;

    TArrayRef<const SystemAnimation::SPropertyTrack> Properties() const { return m_properties; }
    /// The key of Properties()[nProperty] for a frame; the last one behind the track's end, nothing for a track without
    /// keys. Refers to the record.
    Z_EXPORT ZObjectRef PropertyAt(size_t nProperty, uint32_t nFrame) const;

    /// For Create(), which has checked what it hands over.
    ZAnimationSampler(const SystemAnimation::SAnimationResourceData& data, EEndian eDataOrder,
                      const ZAnimPoseDescriptor& descriptor);

private:
    /// A group that has data for every frame.
    struct SStream
    {
        const uint8_t* m_pFrames = nullptr; ///< of frame 0
        const uint16_t* m_pBones = nullptr;
        uint32_t m_nBones = 0;

        const uint8_t* At(uint32_t nFrame, uint32_t nKeyBytes) const
        {
            return m_pFrames + static_cast<uint64_t>(nFrame) * m_nBones * nKeyBytes;
        }
        void Prefetch(uint32_t nFrame, uint32_t nKeyBytes) const
        {
            for (uint32_t n = 0; n < m_nBones * nKeyBytes; n += 64)
                __builtin_prefetch(At(nFrame, nKeyBytes) + n);
        }
    };

    template <bool SWAP>
    void SampleStreams(uint32_t nFrame, SQV* pPose) const;

    TArray<SQV> m_basePose; ///< the rig's bind pose with the constant tracks in it
    TArray<float4> m_axes;  ///< of the single-axis stream, with 1 as the fourth
    SStream m_rotations64;
    SStream m_rotations32;
    SStream m_axisTurns;
    SStream m_translations;
    TArrayRef<const SystemAnimation::SPropertyTrack> m_properties;
    uint64_t m_nFrameBytes = 0;
    uint32_t m_nFrames = 0;
    float m_fFrameRate = 0.0f;
    bool m_bSwap = false;
};
