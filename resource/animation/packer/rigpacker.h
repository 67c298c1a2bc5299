#pragma once

#include "resource/animation/import/hierarchy.h"
#include "resource/animation/packer/animationpackerbase.h"

namespace ResourceAnimation
{

/// Component "RigPacker": the rig of an FBX source becomes a packed rig.
class ZRigPacker final : public ZAnimationPackerBase
{
protected:
    /// False, with "Error when packing rig: {0}" sent to the context and the update left open, for every
    /// ZAnimationException.
    bool PackResource(IResourcePackerContext* pContext, const ZResourceID& source, const ZResourceID& target,
                      const ZVariantRef& extra) override;

private:
    void PackRig(const ZResourceID& source, const ZResourceID& target);
};

/// The runtime's form of a hierarchy, in its order. Rotations are conjugated: import bones turn the opposite way to
/// runtime bones.
ZAnimationRig BuildRig(const Import::ZBoneHierarchy& hierarchy);

/// Fixed repairs of a skeleton that has a bone "Bip01": that bone gives up its own transform, and the four upper twist
/// bones become siblings of their limbs, at their place. A twist bone without its limb stays as it is; so does one that
/// its limb hangs below, with a warning.
void RepairBiped(Import::ZBoneHierarchy& hierarchy, const ZMessageDelegate& messages);

} // namespace ResourceAnimation
