#pragma once

#include "resource/animation/compress/defaultcompressor.h"
#include "resource/animation/import/animation.h"
#include "resource/animation/packer/animationpackerbase.h"

namespace ResourceAnimation
{

/// Component "AnimationPacker": one take of one FBX source becomes one packed animation for one platform.
class ZAnimationPacker final : public ZAnimationPackerBase
{
protected:
    /// False, with "Error when packing animation: {0}" sent to the context and the update left open, for every
    /// ZAnimationException. Nothing is written before the record has been read back from its bytes.
    bool PackResource(IResourcePackerContext* pContext, const ZResourceID& source, const ZResourceID& target,
                      const ZVariantRef& extra) override;

private:
    using TAnimation = TSharedPtr<Import::ZAnimation>;

    /// What the parameter list of the target asks for.
    struct SParameters
    {
        ZString rig;
        bool bEmbedProperties = false;
    };

    void PackTake(IResourcePackerContext* pContext, const ZResourceID& source, const ZResourceID& target);
    static SParameters ReadParameters(IResourcePackerContext* pContext, const ZResourceID& target);
    /// Null when there is no such take. What importing it leaves behind is reported.
    TAnimation ImportTake(const ZResourceID& source, const ZString& takeName, bool bEmbedProperties);
    /// Position of the take's event tracks among the references; -1 when it has none.
    int ReferEventTracks(const ZResourceID& source, const ZString& takeName, const ZResourceID& eventTrackID);
    static ZResourceID ChooseRigSource(const Import::ZAnimation& animation, const ZString& rigParameter);
    /// From the imported take to the form that the rig demands: its bones, parent space, the trajectory relative, and
    /// rotations in the runtime's sense. Of several bones of one name the last is packed, with a warning; two names
    /// with one uid are ZAnimationPackerException.
    TAnimation MatchToRig(TAnimation pAnimation, const ZAnimationRig& rig, TBonesToPack& bonesToPack);
};

} // namespace ResourceAnimation
