#include "host/adopt/adoptedpose.h"

#include "host/text/words.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace Host
{

namespace
{

/// The part of a rotation that is about the up axis. False where there is none to tell: upside down.
bool TwistOf(const FbxQuaternion& q, FbxQuaternion& twist)
{
    const double fLength = std::sqrt(q.z * q.z + q.w * q.w);
    if (!(fLength > 1e-6))
        return false;
    twist = {0.0, 0.0, q.z / fLength, q.w / fLength};
    return true;
}

/// The same name for the other side; empty where the name is of no left side.
std::string OtherSide(const std::string& sLower)
{
    const size_t nLeft = sLower.find("left");
    if (nLeft != std::string::npos)
        return sLower.substr(0, nLeft) + "right" + sLower.substr(nLeft + 4);
    for (const std::string_view mark : {".l", "_l", " l"})
        if (sLower.ends_with(mark))
            return sLower.substr(0, sLower.size() - 1) + "r";
    for (const std::string_view mark : {"_l_", " l ", ".l."})
        if (const size_t n = sLower.find(mark); n != std::string::npos)
            return sLower.substr(0, n + 1) + "r" + sLower.substr(n + 2);
    return sLower.starts_with("l_") ? std::string("r").append(sLower, 1) : std::string();
}

/// Which way a character looks at rest, by what it has on its left and its right: a turn from the front about the up
/// axis.
FbxQuaternion FacingOf(const SCharacter& character, const std::vector<SRigid>& world)
{
    std::map<std::string, size_t> names;
    for (size_t n = 0; n < character.bones.size(); ++n)
        names.emplace(ToLower(character.bones[n].sName), n);
    double x = 0.0;
    double y = 0.0;
    for (const auto& [sName, nLeft] : names)
        if (const auto right = names.find(OtherSide(sName)); right != names.end())
        {
            const FbxVector3 d = world[nLeft].t - world[right->second].t;
            x += d.x;
            y += d.y;
        }
    const double fLength = std::sqrt(x * x + y * y);
    if (!(fLength > 1e-3))
        return {};
    // Who looks to the front, which is -Y, has left at +X. Half the angle of (x, y).
    const double fCos = x / fLength;
    const double fHalfCos = std::sqrt(std::max(0.0, 0.5 * (1.0 + fCos)));
    const double fHalfSin = std::sqrt(std::max(0.0, 0.5 * (1.0 - fCos)));
    return FbxQuaternion{0.0, 0.0, y < 0.0 ? -fHalfSin : fHalfSin, fHalfCos}.Normalized();
}

bool IsFinite(const SRigid& r)
{
    return std::isfinite(r.t.x + r.t.y + r.t.z + r.q.x + r.q.y + r.q.z + r.q.w);
}

} // namespace

ZAdoptedPose::ZAdoptedPose(const SCharacter& character, const ZSourceScene* pSource, std::vector<int> nodes, int nRoot)
    : m_character(character), m_pSource(pSource), m_nodes(std::move(nodes)), m_nRoot(nRoot)
{
    const std::vector<SRigid> world = WorldRest(character);
    if (character.eRoot == ERoot::eFloor && character.nHips >= 0)
    {
        const SRigid& hips = world[static_cast<size_t>(character.nHips)];
        m_hipsBack = hips.q.Conjugate();
        m_facing = FacingOf(character, world);
        m_restGround = GroundUnder(hips);
    }
    else if (character.eRoot == ERoot::eKeep)
        m_restGround = character.rootRest;
    m_rest = Locals(world, m_restGround);
}

SRigid ZAdoptedPose::GroundUnder(const SRigid& hips)
{
    TwistOf(hips.q * m_hipsBack, m_heading);
    return {{hips.t.x, hips.t.y, 0.0}, (m_heading * m_facing).Normalized()};
}

std::vector<SRigid> ZAdoptedPose::Locals(const std::vector<SRigid>& world, const SRigid& ground) const
{
    std::vector<SRigid> locals{ground};
    for (size_t n = 0; n < world.size(); ++n)
    {
        const int nParent = m_character.bones[n].nParent;
        locals.push_back(Relate(nParent >= 0 ? world[static_cast<size_t>(nParent)] : ground, world[n]));
    }
    return locals;
}

const std::vector<SRigid>& ZAdoptedPose::At(FbxTime time)
{
    std::vector<SRigid> world;
    for (size_t n = 0; n < m_nodes.size(); ++n)
    {
        const SCharacterBone& bone = m_character.bones[n];
        if (m_nodes[n] >= 0)
            world.push_back(m_pSource->WorldOf(m_nodes[n], time));
        else
            world.push_back(bone.nParent >= 0 ? Compose(world[static_cast<size_t>(bone.nParent)], bone.rest)
                                              : bone.rest);
    }
    SRigid ground = m_restGround;
    if (m_character.eRoot == ERoot::eFloor && m_character.nHips >= 0)
        ground = GroundUnder(world[static_cast<size_t>(m_character.nHips)]);
    else if (m_character.eRoot == ERoot::eKeep && m_nRoot >= 0)
        ground = m_pSource->WorldOf(m_nRoot, time);
    m_pose = Locals(world, ground);
    return m_pose;
}

int ZAdoptedPose::BadBone() const
{
    for (size_t n = 0; n < m_pose.size(); ++n)
        if (!IsFinite(m_pose[n]))
            return static_cast<int>(n == 0 ? n : n - 1);
    return -1;
}

} // namespace Host
