#include "resource/animation/compress/propertyarrays.h"

#include "base/collections/tmap.h"
#include "resource/animation/compress/trackgroupwriter.h"

namespace ResourceAnimation
{

namespace
{

using FArrayConversion = ZVariant (*)(const TArray<ZVariant>& values);

/// The values as one typed array.
template <class T>
ZVariant ToTypedArray(const TArray<ZVariant>& values)
{
    TArray<T> result;
    result.Reserve(values.Size());
    for (const ZVariant& value : values)
        result.Add(value.GetValue<T>());
    return ZVariant(result);
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
            ZASSERT_OR_HALT_TEXT(pConversion != nullptr, "arrayConversionFunctor.Contains((*it)->GetTypeID())");
            SystemAnimation::SPropertyTrack& track = properties.Add(SystemAnimation::SPropertyTrack());
            track.boneId = NarrowTo<uint8_t>(static_cast<uint16_t>(boneId));
            track.name = ZHashedString(pProperty->Name());
            track.typeId = pProperty->GetTypeID();
            track.keys = (*pConversion)(pProperty->Values());
        }
    }
}

} // namespace ResourceAnimation
