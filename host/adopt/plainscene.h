#pragma once

#include "fbx/file/fbxdocument.h"
#include "host/adopt/rigid.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Host
{

/// One node as anybody reads it: a translation and a rotation, no pivots, no scale.
struct SPlainNode
{
    std::string sName;
    bool bBone = true;
    int nParent = -1; ///< an earlier node
    SRigid rest;      ///< relative to the parent, centimetres

    /// One key a frame of each channel: translation x y z, then degrees about x y z, x first; empty where the node
    /// keeps to its rest.
    std::vector<float> translation[3];
    std::vector<float> rotation[3];
};

/// A scene with nothing in it to misread: centimetres, Z up, front -Y; at most one stack with one layer.
struct SPlainScene
{
    int nTimeMode = 0; ///< as files number it
    double fFrameRate = 30.0;
    std::vector<SPlainNode> nodes; ///< those with a parent of -1 hang on the scene
    std::string sStack;            ///< empty: no stack
    int32_t nFirstFrame = 0;
    int32_t nLastFrame = 0;
};

/// Puts one frame behind the keys of a node. Of the angles that mean one rotation those nearest to the frame before are
/// taken, so that what lies between keys does not spin.
void AddKey(SPlainNode& node, const SRigid& local);
/// Takes away curves that never leave the node's rest.
void DropIdleKeys(SPlainNode& node);

/// Makes the scene's document, version 7.4, binary. The document must be new. The same scene gives the same bytes.
/// `pIds` takes the numbers of the nodes' objects.
bool MakeDocument(const SPlainScene& scene, FbxDocument& document, std::vector<int64_t>* pIds = nullptr);

/// Who wrote a file of ours, as files tell it in their head.
constexpr const char ADOPTED_CREATOR[] = "animpack adopt";

} // namespace Host
