#include "host/files/packedpose.h"

#include "host/files/outputpath.h"
#include "host/files/resourceids.h"

namespace Host
{

bool ZPackedPose::Fail(const std::string& sWhy)
{
    m_sError = sWhy;
    return false;
}

bool ZPackedPose::Load(const std::string& sPath, const std::string& sOut)
{
    return m_ownFile.Read(sPath) ? Load(m_ownFile, sOut) : Fail(m_ownFile.Error());
}

bool ZPackedPose::Load(ZPackedFile& file, const std::string& sOut)
{
    m_pFile = &file;
    if (file.Type() != "ARTY")
        return Fail("the file is no packed animation");
    const SystemAnimation::SAnimationResourceData* pAnimation = file.Animation();
    if (pAnimation == nullptr)
        return Fail(file.Error());
    const auto nRig = static_cast<int>(pAnimation->rigReference);
    if (nRig < 0 || static_cast<size_t>(nRig) >= file.References().size())
        return Fail("the animation refers to no rig");
    const std::string& sRig = file.References()[static_cast<size_t>(nRig)].sId;
    const std::string sPlace = OutputPathOf(ToId(sRig));
    if (sPlace.empty())
        return Fail("its rig '" + sRig + "' can't be used: that names no packed resource");
    if (!m_rigFile.Read(sOut + '/' + sPlace))
        return Fail("its rig '" + sRig + "' can't be read in '" + sOut + "': " + m_rigFile.Error());
    m_pRig = m_rigFile.Type() == "RRTY" ? m_rigFile.Rig() : nullptr;
    if (m_pRig == nullptr)
        return Fail("its rig '" + sRig + "' can't be used: " + m_rigFile.Error());
    ZString why;
    m_pDescriptor = ZAnimPoseDescriptor::Create(*m_pRig);
    m_pSampler = ZAnimationSampler::Create(*pAnimation, file.Endian(), m_pDescriptor, why);
    return m_pSampler || Fail("the animation does not fit its rig: " + ToStd(why));
}

} // namespace Host
