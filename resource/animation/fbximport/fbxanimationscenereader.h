#pragma once

#include "base/pointers/tuniqueptr.h"
#include "resource/animation/fbximport/fbxground.h"
#include "resource/animation/fbximport/fbxwrapper.h"

namespace ResourceAnimation
{

/// The grounds and takes of one scene, found once. Take nodes are cut out of the tree, so they are never met as bones.
///
/// Order      grounds stand in scene node order, takes in the order of the ground's children.
/// Ownership  owns the scene: nothing may use its nodes afterwards. Read only once constructed; one thread.
class ZFbxSceneReader
{
public:
    /// ZAnimationException on every failure: "FBX error: {0}", "JSON error: {0}", or the text of a bad transform.
    explicit ZFbxSceneReader(const ZResourceID& id);

    FbxScene* Scene() const { return m_pWrapper->Scene(); }

    // Names compare with case ignored. Each gives null when there is none.
    ZFbxTakeData* FindTake(const ZString& name);
    ZFbxTakeData* GetTakeAt(unsigned int nIndex);
    ZFbxGround* FindGround(const ZString& name);
    ZFbxGround* GetRigAt(unsigned int nIndex);
    /// No bounds test.
    ZFbxGround* GetGroundAt(unsigned int nIndex) { return m_grounds.GetStart() + nIndex; }
    unsigned int GetGroundCount() const { return m_grounds.Size(); }

    /// Whether the scene was of the old layout.
    bool WasConverted() const { return m_bConverted; }

    uint64_t m_takeCount = 0;
    uint64_t m_rigCount = 0;

private:
    void StraightenCameras();
    void ReadGrounds();
    void CollectTakes(ZFbxGround& ground);
    void RemoveTakeNodes();

    TUniquePtr<ZFbxWrapper> m_pWrapper;
    TArray<ZString> m_takeNodeNames; ///< still to be removed
    TArray<ZFbxGround> m_grounds;
    bool m_bConverted = false;
    TUniquePtr<SQV> m_pSequenceOrigin; ///< the scene's; null when it has none
};

} // namespace ResourceAnimation
