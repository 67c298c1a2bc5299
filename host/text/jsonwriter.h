#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace Host
{

/// Writes one JSON value as text without line breaks, in the order of the calls.
///
/// Numbers are the shortest that read back exactly; NaN and infinity become null. Text that is no UTF-8 has its stray
/// bytes replaced, so that every line is JSON whatever a file holds.
class ZJsonWriter
{
public:
    void Open(char c); ///< '{' or '['
    void Close(char c);
    void Key(std::string_view key);

    void Text(std::string_view text);
    void Number(double fValue);
    void Number(float fValue);
    void Integer(int64_t nValue);
    void Unsigned(uint64_t nValue);
    void Bool(bool bValue);
    void Null();
    /// Text that is JSON already.
    void Raw(std::string_view json);
    void Numbers(std::initializer_list<double> values);
    void Numbers(std::initializer_list<float> values);

    void TextField(std::string_view key, std::string_view text) { Key(key), Text(text); }
    /// Null when empty.
    void OptionalField(std::string_view key, std::string_view text) { Key(key), text.empty() ? Null() : Text(text); }
    void UnsignedField(std::string_view key, uint64_t nValue) { Key(key), Unsigned(nValue); }
    void IntegerField(std::string_view key, int64_t nValue) { Key(key), Integer(nValue); }
    void NumberField(std::string_view key, double fValue) { Key(key), Number(fValue); }
    void BoolField(std::string_view key, bool bValue) { Key(key), Bool(bValue); }

    /// A list, for whose items `write` writes one value each.
    template <class TItems, class TWrite>
    void ListField(std::string_view key, const TItems& items, TWrite write)
    {
        Key(key);
        Open('[');
        for (const auto& item : items)
            write(item);
        Close(']');
    }
    /// An object, whose fields `write` writes.
    template <class TWrite>
    void ObjectField(std::string_view key, TWrite write)
    {
        Key(key);
        Object(write);
    }
    template <class TWrite>
    void Object(TWrite write)
    {
        Open('{');
        write();
        Close('}');
    }

    const std::string& Get() const { return m_sText; }
    std::string Take() { return std::move(m_sText); }

private:
    void Separate();

    std::string m_sText;
    bool m_bFirst = true; ///< nothing stands before the next value, so no comma does
};

} // namespace Host
