#include "resource/animation/packer/animposepropertyevents.h"

#include "base/collections/thashmap.h"
#include "base/collections/tmap.h"
#include "base/math/quaternion.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "resource/animation/frame/animationexception.h"
#include "resource/core/iresourcedatabase.h"

#include <algorithm>
#include <cmath>

namespace ResourceAnimation
{

using Import::ZAnimatedBone;
using Import::ZAnimatedProperty;
using Import::ZAnimation;

namespace
{

/// The greatest step between two events of one property that counts as connected: 2^-12.
constexpr float MAX_EVENT_GAP = 0.000244140625f;

/// What an event's type makes of its values.
struct SEventKeys
{
    STypeID* pTypeID;
    ZVariant first;
    ZVariant last;
};

template <class T>
SEventKeys SameKeys(const T& value)
{
    return {GetTypeID<T>(), ZVariant(value), ZVariant(value)};
}

SEventKeys KeysOf(const SAnimPosePropertyEvent& event, const ZString& takeName)
{
    const ZString& type = event.typeName;
    if (type.IsEmpty() || type == "eAnimPoseProp_Float32")
        return {GetTypeID<float>(), ZVariant(event.fStartingValue), ZVariant(event.fEndingValue)};
    if (type == "eAnimPoseProp_Bool")
        return SameKeys(event.bValue);
    if (type == "eAnimPoseProp_UInt32")
        return SameKeys(event.nValue);
    if (type == "eAnimPoseProp_HashedString")
        return SameKeys(event.hashedValue.GetHashCode());
    if (type == "eAnimPoseProp_SVector3")
        return SameKeys(event.vectorValue);
    if (type == "eAnimPoseProp_SQuaternion")
    {
        // The vector tells the axis alone: normalised first, it always stands for a turn by one radian.
        const SVector3& v = event.vectorValue;
        const bool bDirected = v.x * v.x + v.y * v.y + v.z * v.z != 0.0f;
        ZASSERT_MESSAGE(
            bDirected, "*reinterpret_cast<float*>(&t) != 0.f",
            ZString::Format("an event of the property '{0}' of take '{1}' has a rotation vector of no length",
                            event.propertyName, takeName)
                .ToCString());
        if (!bDirected)
            return SameKeys(SQuaternion());
        return SameKeys(QuaternionFromRotationVector(WVectorNormalize4Exact({v.x, v.y, v.z, 0.0f})));
    }
    throw ZAnimationPackerException(
        ZString::Format("Unexpected AnimPoseProperty type {0}. Take name: '{1}'. Anim pose property name '{2}'.", type,
                        takeName, event.propertyName));
}

TSharedPtr<ZAnimatedProperty> MakeProperty(const ZString& name, STypeID* pTypeID)
{
    ZASSERT_TEXT(pTypeID == GetTypeID<float>() || pTypeID == GetTypeID<bool>() || pTypeID == GetTypeID<uint32_t>() ||
                     pTypeID == GetTypeID<SVector3>() || pTypeID == GetTypeID<SQuaternion>(),
                 "false && \"Type not implemented\"");
    return TSharedPtr<ZAnimatedProperty>::Create(name, pTypeID);
}

/// Frame of a fraction of the animation's length, rounded up. What lies outside, or is no number, is the last frame.
uint32_t FrameAt(float fFraction, uint32_t nLastFrame)
{
    const float fFrame = std::ceil(fFraction * static_cast<float>(nLastFrame));
    return fFrame >= 0.0f && fFrame < static_cast<float>(nLastFrame) ? static_cast<uint32_t>(fFrame) : nLastFrame;
}

/// Puts events on the bones of one animation.
class ZEventApplier
{
public:
    explicit ZEventApplier(ZAnimation& animation) : m_animation(animation)
    {
        for (const auto& pBone : animation.AnimatedBones())
            m_bones.Insert(pBone->Name(), {pBone.Get(), {}}); // of two with one name the first
    }

    void Apply(const SAnimPosePropertyEvent& event);

private:
    /// A bone with the last of its properties of each name, filled in when the first event comes to it.
    struct SBone
    {
        ZAnimatedBone* pBone = nullptr;
        THashMap<ZString, TSharedPtr<ZAnimatedProperty>> properties;
        bool bIndexed = false;
    };

    SBone& BoneOf(const SAnimPosePropertyEvent& event);
    ZAnimatedProperty& PropertyOf(SBone& bone, const SAnimPosePropertyEvent& event, const SEventKeys& keys);
    void CheckConnected(const ZAnimatedProperty& property, const SAnimPosePropertyEvent& event) const;
    [[noreturn]] void Throw(const ZString& format, const SAnimPosePropertyEvent& event) const
    {
        throw ZAnimationPackerException(ZString::Format(format, m_animation.Name(), event.propertyName));
    }

    ZAnimation& m_animation;
    TMap<ZString, SBone> m_bones;
    uint64_t m_nKeys = 0;
};

ZEventApplier::SBone& ZEventApplier::BoneOf(const SAnimPosePropertyEvent& event)
{
    SBone* pBone = m_bones.Find(event.boneName);
    if (pBone == nullptr)
        pBone = m_bones.Find(m_animation.RootBoneName());
    ZASSERT_OR_HALT_MESSAGE(
        pBone != nullptr, "pBone != nullptr",
        ZString::Format(
            "an event of the property '{0}' of take '{1}' names bone '{2}', and there is no root bone '{3}'",
            event.propertyName, m_animation.Name(), event.boneName, m_animation.RootBoneName())
            .ToCString());
    if (!pBone->bIndexed)
        for (const auto& pProperty : pBone->pBone->Properties())
            pBone->properties[pProperty->Name()] = pProperty;
    pBone->bIndexed = true;
    return *pBone;
}

ZAnimatedProperty& ZEventApplier::PropertyOf(SBone& bone, const SAnimPosePropertyEvent& event, const SEventKeys& keys)
{
    TSharedPtr<ZAnimatedProperty>& pProperty = bone.properties[event.propertyName];
    if (!pProperty)
    {
        pProperty = MakeProperty(event.propertyName, keys.pTypeID);
        bone.pBone->AddProperty(pProperty);
    }
    else if (pProperty->GetTypeID() != keys.pTypeID)
        Throw("Two AnimPoseProperty have the same name but not the same type. Take name: '{0}'. Anim pose property "
              "name '{1}'.",
              event);
    return *pProperty;
}

void ZEventApplier::CheckConnected(const ZAnimatedProperty& property, const SAnimPosePropertyEvent& event) const
{
    if (property.GetTypeID() != GetTypeID<float>() || property.Values().IsEmpty())
        return;
    if (std::fabs(property.Values().Last().GetValue<float>() - event.fStartingValue) > MAX_EVENT_GAP)
        Throw("The values between 2 AnimPoseProperty animation events are not connected. Take name: '{0}'. Anim pose "
              "property name '{1}'.",
              event);
}

void ZEventApplier::Apply(const SAnimPosePropertyEvent& event)
{
    SBone& bone = BoneOf(event);
    const SEventKeys keys = KeysOf(event, m_animation.Name());
    ZAnimatedProperty& property = PropertyOf(bone, event, keys);
    const uint32_t nLastFrame = m_animation.FrameCount() - 1;
    const uint32_t nFirst = FrameAt(event.fStart, nLastFrame);
    const uint32_t nLast = FrameAt(event.fStart + event.fDuration, nLastFrame);
    if (nLast < nFirst)
        Throw("An AnimPoseProperty animation event ends before it starts. Take name: '{0}'. Anim pose property name "
              "'{1}'.",
              event);
    CheckConnected(property, event);

    const uint32_t nBefore = property.Values().Size();
    const uint32_t nFill = nFirst > nBefore ? nFirst - nBefore : 0;
    const uint32_t d = nLast - nFirst;
    m_nKeys += uint64_t{nFill} + d + 1;
    if (m_nKeys > MAX_EVENT_KEYS)
        throw ZAnimationPackerException(ZString::Format(
            "The AnimPoseProperty animation events have more than {0} keys. Take name: '{1}'. Anim pose property name "
            "'{2}'.",
            MAX_EVENT_KEYS, m_animation.Name(), event.propertyName));
    // The time before an event holds the value before it; a curve that begins later starts with its own first value.
    const ZVariant fill = nBefore != 0 ? property.Values().Last() : keys.first;
    for (uint32_t n = 0; n < nFill; ++n)
        property.AddValue(fill);
    if (d == 0)
        return property.AddValue(keys.last);
    const bool bFloat = keys.pTypeID == GetTypeID<float>();
    for (uint32_t i = 0; i <= d; ++i)
    {
        const float fPart = static_cast<float>(i) / static_cast<float>(d);
        property.AddValue(bFloat ? ZVariant(fPart * (event.fEndingValue - event.fStartingValue) + event.fStartingValue)
                                 : keys.first);
    }
}

} // namespace

void AddAnimPosePropertyEvents(ZAnimation& animation, TArray<SAnimPosePropertyEvent> events)
{
    THashMap<ZString, bool> imported;
    for (const auto& pBone : animation.AnimatedBones())
        for (const auto& pProperty : pBone->Properties())
            imported[pProperty->Name()] = true;
    // A start that is no number sorts low.
    const auto startsBefore = [](const SAnimPosePropertyEvent& a, const SAnimPosePropertyEvent& b)
    { return std::isnan(a.fStart) ? !std::isnan(b.fStart) : a.fStart < b.fStart; };
    std::stable_sort(events.begin(), events.end(), startsBefore);
    ZEventApplier applier(animation);
    for (const SAnimPosePropertyEvent& event : events)
        if (!imported.Contains(event.propertyName))
            applier.Apply(event);
}

void ReadAnimPosePropertyEvents(const TSharedPtr<ZAnimation>& animation, const ZResourceID& eventTrackID)
{
    const TComponentScope<IInputStream> stream(OpenResource<IInputStream>(*GetResourceDatabase(), eventTrackID));
    if (!stream)
        return;
    AddAnimPosePropertyEvents(*animation,
                              ReadAnimPosePropertyDocument(stream.Get(), eventTrackID.ToString(), animation->Name()));
}

} // namespace ResourceAnimation
