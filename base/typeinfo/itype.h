#pragma once

#include "base/misc/export.h"
#include "base/typeinfo/stypeid.h"

#include <cstddef>
#include <cstdint>

class ZString;

/// How code that walks objects by reflection treats a type.
enum class ETypeKind : uint8_t
{
    eScalar,  ///< one or more numbers of ScalarWidth() bytes each, swapped one by one for the other byte order
    eString,  ///< ZString
    eArray,   ///< TArray of ElementType()
    eRecord,  ///< Fields(), in declared order
    eVariant, ///< ZVariant
    eTypeRef, ///< STypeID*
    eOther    ///< known by name only; can't be serialised
};

/// One member of a record.
struct STypeField
{
    const char* m_szName;
    uint32_t m_nOffset;
    STypeID* m_pTypeID;
};

/// Type descriptor. Descriptors are static objects of the library that registers them and live as long as it is loaded.
class Z_EXPORT IType
{
public:
    /// True on success. The destination is a constructed object.
    using FParse = bool (*)(void* pDestination, const IType* pType, const ZString& text);

    IType(STypeID* pTypeID, ETypeKind eKind, uint32_t nSize, uint32_t nAlignment)
        : m_pTypeID(pTypeID), m_nSize(nSize), m_nAlignment(nAlignment), m_eKind(eKind)
    {
    }
    IType(const IType&) = delete;
    IType& operator=(const IType&) = delete;

    STypeID* GetID() const { return m_pTypeID; }
    const char* Name() const { return m_pTypeID->m_szName; }
    ETypeKind Kind() const { return m_eKind; }
    uint32_t Size() const { return m_nSize; }
    uint32_t Alignment() const { return m_nAlignment; }
    uint32_t ScalarWidth() const { return m_nScalarWidth; }
    STypeID* ElementType() const { return m_pElementType; }
    const STypeField* FieldsBegin() const { return m_pFields; }
    const STypeField* FieldsEnd() const { return m_pFields + m_nFields; }
    FParse Parser() const { return m_pParse; } ///< null when the type can't be read from text

    virtual void Construct(void* pObject) const = 0;
    virtual void CopyConstruct(void* pObject, const void* pSource) const = 0;
    virtual void Destruct(void* pObject) const = 0;
    /// Appends the type's text form; its name in angle brackets when it has none.
    virtual void AppendText(const void* pObject, ZString& text) const = 0;

protected:
    ~IType() = default;

    STypeID* m_pTypeID;
    STypeID* m_pElementType = nullptr;
    const STypeField* m_pFields = nullptr;
    FParse m_pParse = nullptr;
    uint32_t m_nFields = 0;
    uint32_t m_nSize;
    uint32_t m_nAlignment;
    uint32_t m_nScalarWidth = 0;
    ETypeKind m_eKind;
};

/// Knows every registered descriptor. Registering a type again replaces nothing.
class ZTypeRegistry
{
public:
    Z_EXPORT void Register(const IType* pType);
    /// For a descriptor that goes with its library; nothing when another one is registered for its type.
    Z_EXPORT void Unregister(const IType* pType);
    /// Null when nobody has registered the type.
    static const IType* GetType(STypeID* pTypeID)
    {
        return pTypeID != nullptr ? pTypeID->m_pType.load(std::memory_order_acquire) : nullptr;
    }
};

Z_EXPORT extern ZTypeRegistry* g_pTypeRegistry;

/// Makes g_pTypeRegistry with the descriptors of the base types, if it is not there yet.
Z_EXPORT ZTypeRegistry* CreateTypeRegistry();

inline void RegisterType(const IType* pType)
{
    (g_pTypeRegistry != nullptr ? g_pTypeRegistry : CreateTypeRegistry())->Register(pType);
}

/// Registers a descriptor for as long as it lives: for libraries that can be unloaded, as a static object behind a
/// static descriptor.
class ZTypeRegistration
{
public:
    explicit ZTypeRegistration(const IType* pType) : m_pType(pType) { RegisterType(pType); }
    ZTypeRegistration(const ZTypeRegistration&) = delete;
    ZTypeRegistration& operator=(const ZTypeRegistration&) = delete;
    ~ZTypeRegistration() { g_pTypeRegistry->Unregister(m_pType); }

private:
    const IType* m_pType;
};
