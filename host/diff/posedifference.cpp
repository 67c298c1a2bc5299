#include "host/diff/posedifference.h"

#include "host/files/packedpose.h"
#include "host/files/resourceids.h"
#include "host/text/hosterror.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <vector>

namespace Host
{

namespace
{

/// Points that tell of a bone's rotation as distances.
constexpr double REACH = 0.03;
constexpr double POINTS[][3] = {{REACH, 0.0, 0.0}, {0.0, REACH, 0.0}, {0.0, 0.0, REACH}};

struct SPoint
{
    double x, y, z;
};

/// A point of a bone in character space. In the runtime's sense a vector turns by conj(r) v r: with u the vector part
/// of conj(r), v + 2 u x (u x v + w v).
SPoint PointAt(const SQV& transform, const double (&v)[3])
{
    const auto wide = [](float f) { return static_cast<double>(f); };
    const double ux = -wide(transform.rotation.x), uy = -wide(transform.rotation.y), uz = -wide(transform.rotation.z);
    const double w = wide(transform.rotation.w);
    const double cx = uy * v[2] - uz * v[1] + w * v[0];
    const double cy = uz * v[0] - ux * v[2] + w * v[1];
    const double cz = ux * v[1] - uy * v[0] + w * v[2];
    return {wide(transform.translation.x) + v[0] + 2.0 * (uy * cz - uz * cy),
            wide(transform.translation.y) + v[1] + 2.0 * (uz * cx - ux * cz),
            wide(transform.translation.z) + v[2] + 2.0 * (ux * cy - uy * cx)};
}

/// The bones of one rig that another has too.
std::vector<std::pair<uint32_t, uint32_t>> CommonBones(const ZAnimationRig& a, const ZAnimationRig& b)
{
    std::unordered_map<std::string, uint32_t> byName;
    for (uint32_t n = 0; n < b.BoneCount(); ++n)
        byName.emplace(ToStd(b.Name(n)), n);
    std::vector<std::pair<uint32_t, uint32_t>> common;
    for (uint32_t n = 0; n < a.BoneCount(); ++n)
        if (const auto it = byName.find(ToStd(a.Name(n))); it != byName.end())
            common.emplace_back(n, it->second);
    return common;
}

SPoseDifference Compare(const ZPackedPose& a, const ZPackedPose& b)
{
    SPoseDifference difference;
    const auto bones = CommonBones(a.Rig(), b.Rig());
    const uint32_t nFrames = std::min(a.Sampler().FrameCount(), b.Sampler().FrameCount());
    difference.nBones = bones.size();
    difference.nFrames = nFrames;
    difference.bSameShape = bones.size() == a.Rig().BoneCount() && bones.size() == b.Rig().BoneCount() &&
                            a.Sampler().FrameCount() == b.Sampler().FrameCount();
    const auto poseA = ZAnimPoseBuffer::Create(a.Descriptor());
    const auto poseB = ZAnimPoseBuffer::Create(b.Descriptor());
    for (uint32_t nFrame = 0; nFrame < nFrames; ++nFrame)
    {
        a.Sampler().Sample(nFrame, *poseA);
        b.Sampler().Sample(nFrame, *poseB);
        poseA->ToCharacterSpace();
        poseB->ToCharacterSpace();
        for (const auto& [nA, nB] : bones)
            for (const auto& v : POINTS)
            {
                const SPoint p = PointAt(poseA->Character()[nA], v), q = PointAt(poseB->Character()[nB], v);
                const double x = p.x - q.x, y = p.y - q.y, z = p.z - q.z;
                const double fMillimetres = 1000.0 * std::sqrt(x * x + y * y + z * z);
                // What is no number is the worst there is.
                if (fMillimetres <= difference.fMaxMillimetres)
                    continue;
                difference.fMaxMillimetres = fMillimetres;
                difference.sWorstBone = ToStd(a.Rig().Name(nA));
                difference.nWorstFrame = nFrame;
            }
    }
    return difference;
}

} // namespace

SPoseDifference DifferenceOf(const std::string& sFileA, const std::string& sOutA, const std::string& sFileB,
                             const std::string& sOutB)
{
    SPoseDifference failed;
    try
    {
        ZPackedPose a, b;
        if (!a.Load(sFileA, sOutA))
            failed.sError = a.Error();
        else if (!b.Load(sFileB, sOutB))
            failed.sError = b.Error();
        else
            return Compare(a, b);
    }
    catch (const SAssertionFailed& e)
    {
        failed.sError = "assertion failed: " + e.sExpression;
    }
    catch (const zhalt_exception&)
    {
        failed.sError = "a file contradicts itself";
    }
    return failed;
}

} // namespace Host
