#include "resource/animation/import/animatedproperty.h"

#include "resource/animation/frame/animationexception.h"
#include "resource/animation/import/resample.h"

namespace ResourceAnimation::Import
{

namespace
{

/// Does nothing unless the property's values are of type T.
template <class T>
void TryResample(const ZAnimatedProperty& property, int newFrameCount,
                 TSharedPtr<ZAnimatedProperty>& newAnimatedProperty)
{
    if (property.GetTypeID() != GetTypeID<T>())
        return;
    ZASSERT(newAnimatedProperty == nullptr);
    const TArray<T> values = property.GetValues<T>();
    const TArray<T> resampled = ResampleArray<T>(values, newFrameCount);
    newAnimatedProperty = ZAnimatedProperty::Create<T>(property.Name(), resampled.Ref());
}

} // namespace

ZAnimatedProperty::ZAnimatedProperty(const ZString& name, TArrayRef<const ZVariant> values) : m_name(name)
{
    ZASSERT(values.Size() > 0);
    m_typeID = values.IsEmpty() ? nullptr : values[0].GetTypeID();
    m_values.Append(values.GetStart(), values.Size());
}

void ZAnimatedProperty::AddValue(const ZVariant& value)
{
    ZASSERT(value.GetTypeID() == m_typeID);
    m_values.Add(value);
}

TSharedPtr<ZAnimatedProperty> ZAnimatedProperty::Resample(const TSharedPtr<ZAnimatedProperty>& pProperty,
                                                          int newFrameCount)
{
    TSharedPtr<ZAnimatedProperty> pResult;
    TryResample<bool>(*pProperty, newFrameCount, pResult);
    TryResample<int32_t>(*pProperty, newFrameCount, pResult);
    TryResample<uint32_t>(*pProperty, newFrameCount, pResult);
    TryResample<float>(*pProperty, newFrameCount, pResult);
    TryResample<SVector2>(*pProperty, newFrameCount, pResult);
    TryResample<SVector3>(*pProperty, newFrameCount, pResult);
    TryResample<SVector4>(*pProperty, newFrameCount, pResult);
    if (pResult == nullptr)
        throw ZAnimationException("ZAnimatedProperty::Resample(...): Failed to re-sample property.");
    return pResult;
}

} // namespace ResourceAnimation::Import
