#pragma once

#include "host/files/packedfile.h"
#include "system/animation/animationsampler.h"

#include <string>

namespace Host
{

/// A packed animation made ready to be sampled: with the rig that it refers to, from the same output folder.
class ZPackedPose
{
public:
    /// False, with Error(), when the file is no packed animation that can be read, or does not fit its rig. Assertions
    /// and halts of the runtime's code pass through.
    bool Load(const std::string& sPath, const std::string& sOut);
    /// The same for a file that was read already; it must outlive this.
    bool Load(ZPackedFile& file, const std::string& sOut);
    const std::string& Error() const { return m_sError; }

    ZPackedFile& File() const { return *m_pFile; }
    const ZAnimationRig& Rig() const { return *m_pRig; }
    const TSharedPtr<ZAnimPoseDescriptor>& Descriptor() const { return m_pDescriptor; }
    const ZAnimationSampler& Sampler() const { return *m_pSampler; }

private:
    bool Fail(const std::string& sWhy);

    ZPackedFile m_ownFile;
    ZPackedFile* m_pFile = nullptr;
    ZPackedFile m_rigFile;
    const ZAnimationRig* m_pRig = nullptr;
    TSharedPtr<ZAnimPoseDescriptor> m_pDescriptor;
    TSharedPtr<ZAnimationSampler> m_pSampler;
    std::string m_sError;
};

} // namespace Host
