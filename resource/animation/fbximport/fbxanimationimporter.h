#pragma once

#include "resource/animation/fbximport/fbxsceneloan.h"
#include "resource/animation/import/animationimporter.h"

namespace ResourceAnimation::Import
{

/// The importer for FBX files. The scene is loaded once, by the constructor, and sampled at exact frame times.
class ZFbxAnimationImporter final : public ZAnimationImporter
{
public:
    /// ZAnimationException when the scene can't be read.
    explicit ZFbxAnimationImporter(const ZResourceID& id);

    /// ZAnimationException, naming the bone, for a transform that is none. Bones without a frame fail the assertion
    /// "frameCount > 0".
    TSharedPtr<ZAnimation> ImportAnimation(const ZString& takeName, EBoneSpace eSpace, float scale,
                                           bool bTotalLinearDelta) override;
    TArray<ZString> GetTakeNames() override;
    /// What importing a take leaves behind: see DescribeTakeLosses. None for a take that is not there.
    TArray<ZString> DescribeLosses(const ZString& takeName);
    TSharedPtr<ZBoneHierarchy> ImportSceneTree(float scale) override;
    /// ZAnimationException when the ground is no rig.
    TSharedPtr<ZBoneHierarchy> ImportHierarchy(const ZString& rigName, float scale,
                                               const ZMessageDelegate* pMessages) override;

private:
    TUniquePtr<ZFbxSceneLoan> m_pReader;
};

} // namespace ResourceAnimation::Import
