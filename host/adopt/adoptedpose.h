#pragma once

#include "host/adopt/character.h"

#include <vector>

namespace Host
{

/// Poses of a character with its ground, from what a file shows.
class ZAdoptedPose
{
public:
    /// `nodes` and `nRoot` as NodesOfBones and NodeOfRoot tell; the source is played on its current stack. All must
    /// outlive the object. `pSource` may be null: nothing but the rest.
    ZAdoptedPose(const SCharacter& character, const ZSourceScene* pSource, std::vector<int> nodes, int nRoot);

    /// The ground in the world, then each bone relative to its parent, those without one to the ground. At rest, as the
    /// rig has it.
    const std::vector<SRigid>& Rest() const { return m_rest; }
    /// The same at a time. Times are to ascend: where the hips' heading is lost, upside down, the last one holds.
    /// Exact: put together again, every bone stands where the file shows it.
    const std::vector<SRigid>& At(FbxTime time);

    /// Of the last pose: the first bone whose place is no number; -1 when there is none.
    int BadBone() const;

private:
    std::vector<SRigid> Locals(const std::vector<SRigid>& world, const SRigid& ground) const;
    SRigid GroundUnder(const SRigid& hips);

    const SCharacter& m_character;
    const ZSourceScene* m_pSource;
    std::vector<int> m_nodes;
    int m_nRoot;
    FbxQuaternion m_hipsBack; ///< undoes the hips' rotation at rest
    FbxQuaternion m_facing;   ///< of the character at rest, about the up axis
    FbxQuaternion m_heading;  ///< that was found last
    SRigid m_restGround;
    std::vector<SRigid> m_rest;
    std::vector<SRigid> m_pose;
};

} // namespace Host
