#pragma once

#include "resource/animation/packer/animationpackerbase.h"

namespace ResourceAnimation
{

/// Component "XmlRigPacker": a packed rig becomes an XML document for tools that want to see the skeleton.
///
///   RigDefinition > Bone > Bone...   nested as the skeleton is, children by index; the tree of bone 0 and no other
///
/// A Bone has the attributes Name, UniqueId, Index and AbsoluteLocation, the bind pose in character space as the text
/// of an SMatrix43. The rig is read as one of a little-endian platform, whatever the target is.
class ZXmlRigPacker final : public ZAnimationPackerBase
{
protected:
    /// False, with "Error when packing rig: {0}" sent to the context, for every ZAnimationException. The update is
    /// ended either way.
    bool PackResource(IResourcePackerContext* pContext, const ZResourceID& source, const ZResourceID& target,
                      const ZVariantRef& extra) override;
};

} // namespace ResourceAnimation
