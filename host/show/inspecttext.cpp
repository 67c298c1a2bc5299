#include "host/show/inspecttext.h"

#include "host/files/resourceids.h"
#include "host/text/textformat.h"

#include <algorithm>
#include <vector>

namespace Host
{

using SystemAnimation::SAnimationResourceData;
using SystemAnimation::SPropertyTrack;
using SystemAnimation::STrackGroup;

namespace
{

constexpr const char* GROUP_NAMES[] = {
    "rotation of the rig",       "translation of the rig",    "one rotation",           "one translation",
    "rotation, 64 bits a frame", "rotation, 32 bits a frame", "rotation about an axis", "translation a frame",
};

std::string TransformText(const SQV& transform)
{
    const SQuaternion& r = transform.rotation;
    const SVector4& t = transform.translation;
    const auto wide = [](float f) { return static_cast<double>(f); };
    return Formatted("t %9.4f %9.4f %9.4f  r %8.5f %8.5f %8.5f %8.5f", wide(t.x), wide(t.y), wide(t.z), wide(r.x),
                     wide(r.y), wide(r.z), wide(r.w));
}

std::string Padded(std::string sText, size_t nWidth)
{
    if (sText.size() < nWidth)
        sText.append(nWidth - sText.size(), ' ');
    return sText;
}

/// "0-3, 7, 9-12"
std::string RangesText(const TArray<uint16_t>& indices)
{
    std::string sText;
    for (uint32_t n = 0; n < indices.Size();)
    {
        uint32_t nEnd = n + 1;
        while (nEnd < indices.Size() && indices[nEnd] == indices[nEnd - 1] + 1)
            ++nEnd;
        sText += (sText.empty() ? "" : ", ") + std::to_string(indices[n]);
        if (nEnd - n > 1)
            sText += (nEnd - n > 2 ? "-" : ", ") + std::to_string(indices[nEnd - 1]);
        n = nEnd;
    }
    return sText;
}

uint32_t KeyCount(const SPropertyTrack& track)
{
    // All arrays are laid out alike; the record is consistent, so this is one.
    const auto* pKeys = static_cast<const TArray<uint8_t>*>(track.keys.Get());
    return pKeys != nullptr ? pKeys->Size() : 0;
}

std::string HeaderText(const ZPackedFile& file, const std::string& sPath, const std::string& sPlatform)
{
    const std::string sType = file.Type() == "ARTY"   ? "packed animation"
                              : file.Type() == "RRTY" ? "packed rig"
                                                      : "animation database";
    std::string sText = sPath + "\n  " + file.Type() + ", " + sType + (sPlatform.empty() ? "" : " for " + sPlatform) +
                        (file.Endian() == eEndian_Little ? ", little-endian" : ", big-endian") + "\n  " +
                        std::to_string(file.FileSize()) + " bytes: header " + std::to_string(file.HeaderSize()) +
                        ", data " + std::to_string(file.Header().DataSize()) + '\n';
    for (size_t n = 0; n < file.References().size(); ++n)
        sText += "  reference " + std::to_string(n) + ": " + file.References()[n].sId +
                 Formatted(" (flags 0x%08x)", file.References()[n].nFlags) + '\n';
    return sText;
}

std::string AnimationText(const SAnimationResourceData& animation)
{
    const auto fRate = static_cast<double>(animation.frameRate);
    std::string sText = "  '" + ToStd(animation.name) + "'";
    sText += Formatted(": %u frames at %g a second, %.2f s; %u bones\n", animation.frameCount, fRate,
                       fRate > 0.0 ? animation.frameCount / fRate : 0.0, animation.boneCount);
    sText += "  sequence offset " + TransformText(animation.sequenceOffset) + '\n';

    uint64_t nAll = 0;
    for (const STrackGroup& group : animation.trackGroups)
        nAll += group.data.Size();
    sText += "\n  type                           bones      bytes  share  bytes a bone and frame\n";
    for (const STrackGroup& group : animation.trackGroups)
    {
        const uint32_t nBones = group.boneIndices.Size();
        const uint64_t nBytes = group.data.Size();
        const double fShare = nAll != 0 ? 100.0 * static_cast<double>(nBytes) / static_cast<double>(nAll) : 0.0;
        const double fKeys = static_cast<double>(nBones) * animation.frameCount;
        sText += Formatted("  %d %-28s %5u %10llu %5.1f%%  %6.2f\n", group.type, GROUP_NAMES[group.type], nBones,
                           static_cast<unsigned long long>(nBytes), fShare,
                           fKeys > 0.0 ? static_cast<double>(nBytes) / fKeys : 0.0);
    }
    const double fKeys = static_cast<double>(animation.boneCount) * animation.frameCount;
    sText += Formatted("  all                            %5u %10llu         %6.2f\n", animation.boneCount,
                       static_cast<unsigned long long>(nAll), fKeys > 0.0 ? static_cast<double>(nAll) / fKeys : 0.0);
    sText += "\n  bones by type\n";
    for (const STrackGroup& group : animation.trackGroups)
        sText += "  " + std::to_string(group.type) + ": " + RangesText(group.boneIndices) + '\n';

    if (!animation.properties.IsEmpty())
        sText += "\n  properties\n";
    for (const SPropertyTrack& track : animation.properties)
        sText +=
            Formatted("  bone %3u, name %08x, %u keys of ", track.boneId, track.name.GetHashCode(), KeyCount(track)) +
            track.typeId->m_szName + '\n';
    return sText;
}

std::string RigText(const ZAnimationRig& rig)
{
    // Parents come first in the steps, whatever the order of the rig.
    std::vector<uint32_t> depths(rig.BoneCount(), 0);
    const TSharedPtr<ZAnimPoseDescriptor> pDescriptor = ZAnimPoseDescriptor::Create(rig);
    for (const ZAnimPoseDescriptor::SStep& step : pDescriptor->Steps())
        depths[step.m_uiBone] = step.m_uiParent != SBoneId::INVALID_ID ? depths[step.m_uiParent] + 1 : 0;
    size_t nWidth = 0;
    for (uint32_t n = 0; n < rig.BoneCount(); ++n)
        nWidth = std::max<size_t>(nWidth, std::min(depths[n], 40u) * 2 + rig.Name(n).Length());
    std::string sText = "  " + std::to_string(rig.BoneCount()) + " bones";
    if (rig.TrajectoryIndex() != SBoneId::INVALID_ID)
        sText += ", trajectory " + std::to_string(rig.TrajectoryIndex());
    sText += '\n';
    for (uint32_t n = 0; n < rig.BoneCount(); ++n)
        sText += Formatted("  %5u %08x  ", n, rig.UniqueId(n)) +
                 Padded(std::string(std::min(depths[n], 40u) * 2, ' ') + ToStd(rig.Name(n)), nWidth + 2) +
                 TransformText(rig.Bone(n)) + '\n';
    return sText;
}

std::string CharacterText(const std::vector<ZPackedFile::SEntry>& entries)
{
    size_t nWidth = 0;
    for (const ZPackedFile::SEntry& entry : entries)
        nWidth = std::max(nWidth, entry.sName.size());
    std::string sText = "  " + std::to_string(entries.size()) + " animations\n";
    for (const ZPackedFile::SEntry& entry : entries)
        sText += "  " + Padded(entry.sName, nWidth + 2) + "reference " + std::to_string(entry.nReference) +
                 (entry.bBlendSpace ? ", a blend space\n" : "\n");
    return sText;
}

std::string FrameText(const ZPackedPose& source, uint32_t nFrame)
{
    const ZAnimationRig& rig = source.Rig();
    const TSharedPtr<ZAnimPoseBuffer> pPose = ZAnimPoseBuffer::Create(source.Descriptor());
    source.Sampler().Sample(nFrame, *pPose);
    pPose->ToCharacterSpace();
    size_t nWidth = 0;
    for (uint32_t n = 0; n < rig.BoneCount(); ++n)
        nWidth = std::max<size_t>(nWidth, rig.Name(n).Length());
    std::string sText = "\n  frame " + std::to_string(nFrame) + ", as the parent sees it | as the character does\n";
    for (uint32_t n = 0; n < rig.BoneCount(); ++n)
        sText += "  " + Padded(ToStd(rig.Name(n)), nWidth + 2) + TransformText(pPose->Local()[n]) + " | " +
                 TransformText(pPose->Character()[n]) + '\n';
    return sText;
}

} // namespace

const char* TrackGroupName(int32_t type)
{
    return GROUP_NAMES[type];
}

std::string InspectText(ZPackedFile& file, const std::string& sPath, const std::string& sPlatform,
                        const ZPackedPose* pPose, const std::vector<uint32_t>& frames)
{
    std::string sText = HeaderText(file, sPath, sPlatform);
    if (file.Type() == "ARTY")
        sText += AnimationText(*file.Animation());
    else if (file.Type() == "RRTY")
        sText += RigText(*file.Rig());
    else
        sText += CharacterText(*file.Character());
    if (pPose != nullptr)
        for (const uint32_t nFrame : frames)
            sText += FrameText(*pPose, nFrame);
    return sText;
}

} // namespace Host
