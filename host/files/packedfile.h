#pragma once

#include "resource/_shared/resourceheader.h"
#include "system/animation/animationresourcedata.h"
#include "system/animation/animationrig.h"
#include "system/serializer/deserializedblock.h"

#include <string>
#include <vector>

namespace Host
{

/// A packed resource read back from disk. Nothing of it is trusted: what is handed out has been checked.
class ZPackedFile
{
public:
    /// False, with Error() told, for what is no packed resource. Its data are looked at later.
    bool Read(const std::string& sPath);

    /// The data as an animation, or as a rig. Null, with Error() told, when they are none or contradict themselves.
    const SystemAnimation::SAnimationResourceData* Animation();
    const ZAnimationRig* Rig();

    /// The data as a character's animations: which reference plays under which name.
    struct SEntry
    {
        std::string sName;
        uint32_t nReference = 0;
        bool bBlendSpace = false;
    };
    const std::vector<SEntry>* Character();

    const std::string& Type() const { return m_sType; } ///< "ARTY", "RRTY", "ChrT"
    EEndian Endian() const { return m_eEndian; }
    const ZResourceHeader& Header() const { return m_header; }
    /// Bytes in front of the data.
    size_t HeaderSize() const { return m_nHeaderSize; }
    size_t FileSize() const { return m_bytes.size(); }
    /// Identifiers and flags in the order of their positions.
    struct SReference
    {
        std::string sId;
        uint32_t nFlags = 0;
    };
    const std::vector<SReference>& References() const { return m_references; }

    const std::string& Error() const { return m_sError; }

private:
    bool Fail(const std::string& sWhy);
    TArrayRef<const uint8_t> Data() const { return {m_bytes.data() + m_nHeaderSize, m_bytes.size() - m_nHeaderSize}; }

    std::vector<uint8_t> m_bytes;
    std::string m_sType;
    EEndian m_eEndian = eEndian_Little;
    ZResourceHeader m_header;
    size_t m_nHeaderSize = 0;
    std::vector<SReference> m_references;
    TDeserializedBlock<SystemAnimation::SAnimationResourceData> m_animation;
    TDeserializedBlock<ZAnimationRig> m_rig;
    std::vector<SEntry> m_character;
    std::string m_sError;
};

} // namespace Host
