#pragma once

#include "fbx/evaluate/fbxnodeplans.h"

/// A global transform: rotation with scale along the rotated axes as long as that suffices, a matrix from there on.
struct SFbxGlobal
{
    FbxVector3 t;
    FbxQuaternion q;
    FbxVector3 s{1, 1, 1};
    FbxVector3 inherited{1, 1, 1}; ///< the scale without the node's own
    SFbxMatrix3 matrix{};
    bool bMatrix = false;
    bool bUniform = true;
};

/// Of a node without parent.
void FbxStartGlobal(const SFbxLocal& local, SFbxGlobal& global);
/// Of a child, by how it inherits scale.
void FbxComposeGlobal(const SFbxGlobal& parent, const SFbxLocal& parentLocal, uint8_t nInherit, const SFbxLocal& local,
                      SFbxGlobal& global);
/// Inverse(parent) times global. True when local, which holds the node's own on entry, tells it; else its rotation and
/// scale are in the matrix.
bool FbxRelativeTo(const SFbxGlobal& parent, const SFbxGlobal& global, SFbxLocal& local, SFbxMatrix3& matrix);
SFbxMatrix3 FbxMatrixOf(const SFbxGlobal& global);
