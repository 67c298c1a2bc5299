#pragma once

#include "base/collections/tarray.h"
#include "base/misc/zresourceid.h"
#include "resource/animation/fbximport/fbxtakedata.h"

class FbxNode;

namespace ResourceAnimation
{

enum EGroundKind : int
{
    eGround_None = -1,
    eGround_Root = 0,   ///< a character
    eGround_Attach = 1, ///< something that attaches to one
    eGround_Camera = 2
};

/// The first that fits: a camera attribute, the property IsGroundRoot, the property IsAttachRoot.
EGroundKind GroundKindOf(const FbxNode* pNode);

/// A marked node that can be animated on its own. Only ground roots have root objects and a rig resource.
class ZFbxGround
{
public:
    /// ZFbxException and ZJsonException as its properties deserve. Assertions: "pNode", "IsGround(pNode)".
    explicit ZFbxGround(FbxNode* pNode);

    /// The ground's own name; its node's when it has none.
    ZString GetDisplayName() const;
    bool IsRig() const { return m_bIsRig; }

    FbxNode* m_pFbxNode;
    bool m_bIsRig = false;
    EGroundKind m_eKind;
    ZResourceID m_rigResource;
    ZString m_groundName;
    TArray<FbxNode*> m_rootObjects; ///< trees that belong to the ground and do not hang below it
    TArray<ZFbxTakeData> m_takes;
};

} // namespace ResourceAnimation
