#pragma once

#include "base/collections/tarray.h"
#include "base/misc/zstring.h"
#include "base/typeinfo/itype.h"

#include <new>

/// Text forms that a type gives to ZString::Format; the default is the type's name in angle brackets.
template <class T>
concept CHasToString = requires(const T& value)
{
    {
        value.ToString()
        } -> std::convertible_to<ZString>;
};

/// Descriptor of one C++ type: what IType asks for, filled in by the compiler.
template <class T>
class TType : public IType
{
public:
    explicit TType(ETypeKind eKind) : IType(::GetTypeID<T>(), eKind, sizeof(T), alignof(T)) {}

    void Construct(void* pObject) const override { ::new (pObject) T(); }
    void CopyConstruct(void* pObject, const void* pSource) const override
    {
        ::new (pObject) T(*static_cast<const T*>(pSource));
    }
    void Destruct(void* pObject) const override { static_cast<T*>(pObject)->~T(); }
    void AppendText([[maybe_unused]] const void* pObject, ZString& text) const override
    {
        if constexpr (CHasToString<T>)
        {
            text.Append(static_cast<const T*>(pObject)->ToString());
        }
        else
        {
            text.Append('<');
            text.Append(Name());
            text.Append('>');
        }
    }
};

/// Numbers of one width: built-in types, vectors, identifiers.
template <class T>
class TScalarType final : public TType<T>
{
public:
    using FAppend = void (*)(const T& value, ZString& text);

    explicit TScalarType(uint32_t nWidth, FAppend pAppend = nullptr, IType::FParse pParse = nullptr)
        : TType<T>(ETypeKind::eScalar), m_pAppend(pAppend)
    {
        this->m_nScalarWidth = nWidth;
        this->m_pParse = pParse;
    }
    void AppendText(const void* pObject, ZString& text) const override
    {
        if (m_pAppend != nullptr)
            m_pAppend(*static_cast<const T*>(pObject), text);
        else
            TType<T>::AppendText(pObject, text);
    }

private:
    FAppend m_pAppend;
};

template <class T>
class TArrayType final : public TType<TArray<T>>
{
public:
    TArrayType() : TType<TArray<T>>(ETypeKind::eArray) { this->m_pElementType = ::GetTypeID<T>(); }
};

/// A record with its fields in declared order. The fields are a static array.
template <class T>
class TRecordType final : public TType<T>
{
public:
    template <size_t N>
    explicit TRecordType(const STypeField (&fields)[N]) : TType<T>(ETypeKind::eRecord)
    {
        this->m_pFields = fields;
        this->m_nFields = static_cast<uint32_t>(N);
    }
};

/// A type known by name only: components, interfaces, host records that are never serialised.
template <class T>
class TOpaqueType final : public TType<T>
{
public:
    TOpaqueType() : TType<T>(ETypeKind::eOther) {}
};

#define Z_FIELD(record, member)                                                                                        \
    STypeField                                                                                                         \
    {                                                                                                                  \
#member, offsetof(record, member), ::GetTypeID < decltype(record::member)>()                                   \
    }
