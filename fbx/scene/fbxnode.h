#pragma once

#include "fbx/scene/fbxobject.h"
#include "fbx/scene/fbxtime.h"
#include "fbx/scene/fbxtransform.h"

#include <memory>
#include <vector>

class FbxCamera;
class FbxNodeAttribute;

/// What the axis conversion did to a node whose pre-rotation or rotation pivot moves: the curves stay as they are, and
/// what they make of these static values is turned.
struct SFbxNodeTurn
{
    FbxQuaternion q;
    FbxVector3 rotationOffset;
    FbxVector3 preRotation;
};

/// A node of the scene's tree. One that a file connects to several parents stands below the first of them, one that it
/// connects to none below the root. Its transforms come from the scene's evaluator on the scene's current stack.
class FbxNode : public FbxObject
{
public:
    FbxNode(FbxScene* pScene, const SFbxIdentity& identity, int nIndex) : FbxObject(pScene, identity), m_nIndex(nIndex)
    {
    }

    /// A new node without attribute or transform: the last child of pContainer, and the last of its scene's nodes.
    static FbxNode* Create(FbxNode* pContainer, std::string_view name);

    /// Null for the root, and for a node that was removed from the tree.
    FbxNode* GetParent() const { return m_pParent; }
    size_t GetChildCount() const { return m_children.size(); }
    FbxNode* GetChild(size_t nIndex) const { return m_children[nIndex]; }
    /// Behind the children that it has. One that has a parent stays there, and the root is nobody's child.
    void AddChild(FbxNode* pChild);
    /// Takes a child out of the tree, with all below it. It stays in the scene's list of nodes.
    void RemoveChild(FbxNode* pChild);

    /// Index in the scene's list of nodes; the root is 0.
    int GetIndex() const { return m_nIndex; }

    size_t GetNodeAttributeCount() const { return m_attributes.size(); }
    /// GetTypeText() of an attribute tells its kind.
    FbxNodeAttribute* GetNodeAttribute(size_t nIndex) const { return m_attributes[nIndex]; }
    void AddNodeAttribute(FbxNodeAttribute* pAttribute) { m_attributes.push_back(pAttribute); }
    /// Null unless the default attribute is a camera: the one that "DefaultAttributeIndex" names, else the first.
    FbxCamera* GetCamera() const;

    /// Whether pre-rotation, post-rotation and rotation order act.
    bool GetRotationActive() const;
    void SetRotationActive(bool bActive);
    /// Angles in degrees. Pivot set 0 is the one that transforms are computed with; set 1 is kept by nobody.
    void SetPostRotation(int nPivotSet, const FbxVector3& degrees);

    /// Null unless the axes were turned while its pivots move.
    const SFbxNodeTurn* GetTurn() const { return m_pTurn.get(); }
    void SetTurn(const SFbxNodeTurn& turn);
    /// The rotation order that layers mix angles in, whether it acts or not: the one of the file, which the axis
    /// conversion may have taken out of the property.
    int64_t GetLayerOrder() const { return m_nLayerOrder >= 0 ? m_nLayerOrder : RotationOrder(); }
    void KeepLayerOrder() { m_nLayerOrder = GetLayerOrder(); }

    /// Relative to the parent: inverse(parent's global) times global, whatever the scale inheritance.
    /// FbxTime::Infinite() gives the rest transform, without animation.
    FbxTransform EvaluateLocalTransform(FbxTime time) const;
    FbxTransform EvaluateGlobalTransform(FbxTime time) const;
    /// The whole affine matrix, for shear that FbxTransform can't hold.
    FbxMatrix4 EvaluateLocalMatrix(FbxTime time) const;
    FbxMatrix4 EvaluateGlobalMatrix(FbxTime time) const;

private:
    int64_t RotationOrder() const;

    FbxNode* m_pParent = nullptr;
    std::vector<FbxNode*> m_children;
    std::vector<FbxNodeAttribute*> m_attributes;
    std::unique_ptr<SFbxNodeTurn> m_pTurn;
    int64_t m_nLayerOrder = -1; ///< -1: the property tells
    int m_nIndex;
};
