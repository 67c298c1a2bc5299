#pragma once

#include "host/adopt/skeletons.h"

#include <string>
#include <vector>

namespace Host
{

/// Where the way of a character goes.
enum class ERoot
{
    eChosen, ///< the file's own root where it moves, else the floor
    eFloor,  ///< a ground under the hips that follows them on the floor, turned with them about the up axis
    eStatic, ///< a ground that stays; all motion is in the bones
    eKeep    ///< the file's own root
};

/// One skeleton of one of the files.
struct SFoundSkeleton
{
    size_t nFile = 0;
    std::string sOrder; ///< by what files are put in order, whatever the order they came in
    bool bOld = false;  ///< of a rig that stands in the tree from before
    SSkeleton skeleton;
};

struct SCharacterBone
{
    std::string sName;
    int nParent = -1; ///< an earlier bone; -1: the ground
    SRigid rest;      ///< relative to the parent, of those without one to the world
};

/// What several files say of one skeleton, joined: bones of the one that tells most, then what others have beside.
struct SCharacter
{
    std::vector<size_t> parts; ///< of the skeletons that were found, those that tell most first
    std::vector<SCharacterBone> bones;
    int nHips = -1;
    ERoot eRoot = ERoot::eFloor; ///< never eChosen
    std::string sRootName;       ///< of eKeep, the bone or node that is the ground; empty: the file has none
    bool bRootBone = false;      ///< it was a bone, and is none of `bones`
    SRigid rootRest;             ///< of eKeep, in the world
    bool bPlain = false;
};

/// Puts together what is one character. Skeletons are one when four fifths of the names of the smaller are in the
/// larger and nearly as many of those bones have the same length in both, unless both are of one file and share names.
std::vector<SCharacter> JoinCharacters(const std::vector<SFoundSkeleton>& found, ERoot eRoot);
/// Adds one more skeleton, of a rig that is there from before. False when it is another's.
bool JoinOldRig(const std::vector<SFoundSkeleton>& found, size_t nOld, ERoot eRoot, SCharacter& character);

/// Of each bone of a character, the node of a file that it is there; -1 where the file lacks it.
std::vector<int> NodesOfBones(const SCharacter& character, const std::vector<SFoundSkeleton>& found, size_t nFile);
/// The same for the ground of eKeep.
int NodeOfRoot(const SCharacter& character, const std::vector<SFoundSkeleton>& found, size_t nFile);

/// Bones as the world sees them at rest.
std::vector<SRigid> WorldRest(const SCharacter& character);

} // namespace Host
