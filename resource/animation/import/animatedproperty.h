#pragma once

#include "base/collections/tarray.h"
#include "base/misc/zstring.h"
#include "base/pointers/tsharedptr.h"
#include "base/typeinfo/mathtypes.h"
#include "base/typeinfo/zvariant.h"

namespace ResourceAnimation::Import
{

/// A named track of values of one type that rides on an animated bone, value i for frame i of the bone.
///
/// The value types are bool, int32_t, uint32_t, float, SVector2, SVector3 and SVector4; events add tracks of
/// SQuaternion, which Resample() refuses. Held by TSharedPtr.
class ZAnimatedProperty
{
public:
    /// No values yet.
    ZAnimatedProperty(const ZString& name, STypeID* pTypeID) : m_name(name), m_typeID(pTypeID) {}
    /// The type is that of the first value. Assertion: "values.Size() > 0".
    ZAnimatedProperty(const ZString& name, TArrayRef<const ZVariant> values);
    virtual ~ZAnimatedProperty() = default;

    template <class T>
    static TSharedPtr<ZAnimatedProperty> Create(const ZString& name)
    {
        return TSharedPtr<ZAnimatedProperty>::Create(name, ::GetTypeID<T>());
    }
    template <class T>
    static TSharedPtr<ZAnimatedProperty> Create(const ZString& name, TArrayRef<const T> values)
    {
        auto pProperty = Create<T>(name);
        pProperty->m_values.Reserve(values.Size());
        for (const T& value : values)
            pProperty->m_values.Add(ZVariant(value));
        return pProperty;
    }

    const ZString& Name() const { return m_name; }
    STypeID* GetTypeID() const { return m_typeID; }
    const TArray<ZVariant>& Values() const { return m_values; }

    /// Assertion: "value.GetTypeID() == m_typeID"; the value is appended all the same.
    void AddValue(const ZVariant& value);
    void ReserveValues(size_t nCount) { m_values.Reserve(nCount); }

    /// Plain values; assertions "m_typeID == ::GetTypeID<T>()" and, for each, "CanConvertTo<T>()".
    template <class T>
    TArray<T> GetValues() const
    {
        ZASSERT(m_typeID == ::GetTypeID<T>());
        TArray<T> result;
        result.Reserve(m_values.Size());
        for (const ZVariant& value : m_values)
            result.Add(value.GetValue<T>());
        return result;
    }

    /// A new property of the same name; see ResampleArray for the rule. ZAnimationException for any other type.
    static TSharedPtr<ZAnimatedProperty> Resample(const TSharedPtr<ZAnimatedProperty>& pProperty, int newFrameCount);

private:
    ZString m_name;
    STypeID* m_typeID;
    TArray<ZVariant> m_values;
};

} // namespace ResourceAnimation::Import
