#pragma once

#include "base/collections/tarray.h"
#include "base/collections/thashmap.h"
#include "base/misc/zstring.h"
#include "base/pointers/tsharedptr.h"

/// A JSON text that does not parse, or a value that is not what was asked for. Names the place or the key.
class Z_EXPORT ZJsonException
{
public:
    explicit ZJsonException(const ZString& message) : m_sMessage(message) {}
    const ZString& Message() const { return m_sMessage; }
    operator ZString() const { return m_sMessage; }

private:
    ZString m_sMessage;
};

enum class EJsonValidationMode
{
    eStrict, ///< a value of another kind throws ZJsonException
    eLenient ///< a value of another kind reads as 0, an empty text, no elements
};

/// One JSON value. Copies share what they hold; values are never changed after parsing.
///
/// The parser keeps to the standard but for one thing: commas between members and between elements may be missing,
/// since take descriptions of an older exporter lack them. Nesting is limited to 64, and bytes that are no UTF-8 pass
/// as they stand. Of two members with one key the later counts.
class ZJsonValue
{
public:
    using TObject = THashMap<ZString, ZJsonValue>;
    using TElements = TArray<ZJsonValue>;

    enum class EKind
    {
        eAbsent, ///< what operator[] gives for a key that is not there
        eNull,
        eBool,
        eNumber,
        eString,
        eArray,
        eObject
    };

    ZJsonValue() = default;
    /// Parses; throws ZJsonException with line and column.
    Z_EXPORT explicit ZJsonValue(const ZString& text);

    EKind Kind() const { return m_eKind; }

    /// Of an object. An absent key gives an absent value, which fails when it is read; a value that is no object
    /// throws.
    Z_EXPORT ZJsonValue operator[](const ZString& key) const;

    /// A number outside 32 bits, or with a fraction, is not an integer.
    Z_EXPORT int32_t AsInt32(EJsonValidationMode eMode = EJsonValidationMode::eStrict) const;
    Z_EXPORT double AsDouble(EJsonValidationMode eMode = EJsonValidationMode::eStrict) const;
    Z_EXPORT bool AsBool(EJsonValidationMode eMode = EJsonValidationMode::eStrict) const;
    Z_EXPORT ZString AsString(EJsonValidationMode eMode = EJsonValidationMode::eStrict) const;
    Z_EXPORT const TElements& AsArray(EJsonValidationMode eMode = EJsonValidationMode::eStrict) const;
    Z_EXPORT const TObject& AsObject(EJsonValidationMode eMode = EJsonValidationMode::eStrict) const;

private:
    friend class ZJsonParser;

    bool Require(EKind eKind, EJsonValidationMode eMode) const;

    EKind m_eKind = EKind::eAbsent;
    bool m_bValue = false;
    double m_fValue = 0.0;
    ZString m_sText; ///< a string's text; an absent value's key
    TSharedPtr<TElements> m_pElements;
    TSharedPtr<TObject> m_pMembers;
};
