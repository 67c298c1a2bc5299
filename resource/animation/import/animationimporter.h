#pragma once

#include "resource/animation/import/animation.h"
#include "resource/animation/import/hierarchy.h"

namespace ResourceAnimation::Import
{

/// Makes import-model objects from one source resource. Calls may come in any order and any number of times.
class ZAnimationImporter
{
public:
    explicit ZAnimationImporter(const ZResourceID& id) : m_resourceId(id) {}
    virtual ~ZAnimationImporter() = default;

    /// Translations times `scale`. Null when there is no such take; case of the name is ignored.
    virtual TSharedPtr<ZAnimation> ImportAnimation(const ZString& takeName, EBoneSpace eSpace, float scale,
                                                   bool bTotalLinearDelta) = 0;
    virtual TArray<ZString> GetTakeNames() = 0;
    /// Every node of the scene, at rest, in character space.
    virtual TSharedPtr<ZBoneHierarchy> ImportSceneTree(float scale) = 0;
    /// The rest pose of a rig, in character space; an empty name means the first ground. Null when there is none.
    virtual TSharedPtr<ZBoneHierarchy> ImportHierarchy(const ZString& rigName, float scale,
                                                       const ZMessageDelegate* pMessages) = 0;

protected:
    ZResourceID m_resourceId;
};

} // namespace ResourceAnimation::Import
