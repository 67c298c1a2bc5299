#include "resource/animation/compress/propertyarrays.h"

#include "base/collections/tmap.h"
#include "resource/animation/compress/finitefloats.h"
#include "resource/animation/compress/trackgroupwriter.h"
#include "resource/animation/frame/animationexception.h"

namespace ResourceAnimation
{

namespace
{

/// False when a value is no finite number.
using FArrayConversion = bool (*)(const TArray<ZVariant>& values, ZVariant& array);

/// The values as one typed array.
template <class T>
bool ToTypedArray(const TArray<ZVariant>& values, ZVariant& array)
{
    TArray<T> result;
    result.Reserve(values.Size());
    for (const ZVariant& value : values)
        result.Add(value.GetValue<T>());
    array = ZVariant(result);
    if constexpr (std::is_integral_v<T>)
        return true;
    else
        return AreFinite(result);
}

template <class... T>
TMap<STypeID*, FArrayConversion> MakeArrayConversions()
{
    TMap<STypeID*, FArrayConversion> result;
    (result.Insert(GetTypeID<T>(), &ToTypedArray<T>), ...);
    return result;
}

} // namespace

void AppendPropertyTracks(const Import::ZAnimation& animation, const ZAnimationRig& rig,
                          TArray<SystemAnimation::SPropertyTrack>& properties)
{
    // Quaternions come from events only; the other seven are what a scene's properties can be.
    const auto arrayConversionFunctor =
        MakeArrayConversions<bool, int32_t, uint32_t, float, SVector2, SVector3, SVector4, SQuaternion>();
    for (const TSharedPtr<Import::ZAnimatedBone>& pBone : animation.AnimatedBones())
    {
        if (pBone->Properties().IsEmpty())
            continue;
        const SBoneId boneId = rig.BoneIdByUid(pBone->Uid());
        if (!boneId.IsValid())
            continue;
        for (const auto& pProperty : pBone->Properties())
        {
            const FArrayConversion* pConversion = arrayConversionFunctor.Find(pProperty->GetTypeID());
            ZASSERT_OR_HALT_MESSAGE(pConversion != nullptr, "arrayConversionFunctor.Contains((*it)->GetTypeID())",
                                    ZString::Format("property '{0}' of bone '{1}' in take '{2}' has the type {3}",
                                                    pProperty->Name(), pBone->Name(), animation.Name(),
                                                    pProperty->GetTypeID())
                                        .ToCString());
            SystemAnimation::SPropertyTrack& track = properties.Add(SystemAnimation::SPropertyTrack());
            const auto place = [&]
            {
                return ZString::Format("property '{0}' of bone '{1}', which is bone {2} of the rig, in take '{3}'",
                                       pProperty->Name(), pBone->Name(), boneId.m_uiId, animation.Name());
            };
            track.boneId = NarrowTo<uint8_t>(static_cast<uint16_t>(boneId), place);
            track.name = ZHashedString(pProperty->Name());
            track.typeId = pProperty->GetTypeID();
            if (!(*pConversion)(pProperty->Values(), track.keys))
                throw ZAnimationPackerException(ZString::Format("A value that is no finite number: {0}", place()));
        }
    }
}

} // namespace ResourceAnimation
