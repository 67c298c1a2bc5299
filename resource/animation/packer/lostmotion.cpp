#include "resource/animation/packer/lostmotion.h"

#include "base/collections/thashmap.h"

#include <cmath>

namespace ResourceAnimation
{

using Import::ZAnimatedBone;
using Import::ZAnimation;

namespace
{

constexpr float STILL_METRES = 1e-4f;
constexpr float STILL_TURN = 1e-4f; ///< sine of half the angle
constexpr uint32_t MOST_NAMES = 5;

bool Moves(const ZAnimatedBone& bone)
{
    for (uint32_t n = 1; n < bone.FrameCount(); ++n)
    {
        const SVector3 d = bone.Translations()[n] - bone.Translations()[0];
        const SQuaternion q = bone.Rotations()[0].GetConjugate() * bone.Rotations()[n];
        if (!(std::fabs(d.x) + std::fabs(d.y) + std::fabs(d.z) < STILL_METRES) ||
            !(std::fabs(q.x) + std::fabs(q.y) + std::fabs(q.z) < STILL_TURN))
            return true;
    }
    return false;
}

/// Letters and digits of a name without its namespace, in lower case.
ZString Plain(const ZString& name)
{
    const size_t nColon = name.LastIndexOf(':');
    const ZString lower = (nColon == ZString::NOT_FOUND ? name : name.Substring(nColon + 1)).CopyToLower();
    ZString plain;
    for (const char c : lower.View())
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'))
            plain = plain + ZString::FromView({&c, 1});
    return plain;
}

ZString NearMiss(const ZString& name, const ZAnimationRig& rig)
{
    const ZString plain = Plain(name);
    for (uint32_t n = 0; n < rig.BoneCount(); ++n)
        if (Plain(rig.Name(n)) == plain)
            return ZString::Format(" (the rig has '{0}')", rig.Name(n));
    return {};
}

} // namespace

TArray<ZString> DescribeLostMotion(const ZAnimation& animation, const ZAnimationRig& rig)
{
    THashMap<uint32_t, bool> known;
    for (const uint32_t uid : rig.UniqueIds())
        known[uid] = true;
    uint32_t nMoving = 0;
    uint32_t nLost = 0;
    uint32_t nFrames = 0;
    bool bProperties = false;
    ZString names;
    for (const TSharedPtr<ZAnimatedBone>& pBone : animation.AnimatedBones())
    {
        nFrames = pBone->FrameCount();
        bProperties = bProperties || !pBone->Properties().IsEmpty();
        if (!pBone->IsExported() || !Moves(*pBone))
            continue;
        ++nMoving;
        if (known.Find(pBone->Uid()) != nullptr)
            continue;
        if (nLost++ < MOST_NAMES)
            names = ZString::Format("{0}{1}'{2}'{3}", names, names.IsEmpty() ? ZString("") : ZString(", "),
                                    pBone->Name(), NearMiss(pBone->Name(), rig));
    }
    TArray<ZString> texts;
    if (nLost > MOST_NAMES)
        names = ZString::Format("{0} and {1} more", names, nLost - MOST_NAMES);
    if (nLost > 0)
        texts.Add(ZString::Format("{0} of {1} bones that move in take '{2}' are not in the rig, and their motion is "
                                  "lost: {3}",
                                  nLost, nMoving, animation.Name(), names));
    if (nMoving == 0 && nFrames > 1 && !bProperties)
        texts.Add(ZString::Format("Nothing moves in take '{0}'", animation.Name()));
    return texts;
}

} // namespace ResourceAnimation
