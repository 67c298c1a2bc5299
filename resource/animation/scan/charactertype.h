#pragma once

#include "base/collections/tarray.h"
#include "base/collections/tmap.h"
#include "base/misc/zresourceid.h"

namespace ResourceAnimation
{

/// One character of an animation database, with what it inherits. Owned by whoever asked for it: ends with ZDelete.
struct ZCharacterType
{
    using TAnimations = TMap<ZString, ZResourceID>;

    TAnimations m_animations;   ///< animation name -> take or blend space
    TArray<ZResourceID> m_rigs; ///< its own: rigs are not inherited
    /// For a message: the first animation, by name, that is neither take nor blend space nor derived, and where the
    /// document has it ("line 3, column 5"). Empty when there is none.
    ZString m_oddAnimation;
    ZString m_oddPlace;

    /// Whether a packed form of it can be made, or has been.
    static bool CanBePacked(const ZResourceID& id)
    {
        const ZString extension = id.GetExtension();
        return id.IsDerived() || extension.ICompare("take") == 0 || extension.ICompare("blendspace") == 0;
    }
};

/// Tells the type registry of ZCharacterType and the types of its fields. Safe to repeat.
void RegisterCharacterType();

} // namespace ResourceAnimation

Z_TYPE_NAME(ResourceAnimation::ZCharacterType, "ZCharacterType");
Z_TYPE_NAME(ResourceAnimation::ZCharacterType::TAnimations, "TMap<ZString,ZResourceID>");
