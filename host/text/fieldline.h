#pragma once

#include <charconv>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

namespace Host
{

/// One line of fields, each with a tab in front. Texts may hold any bytes, as names of files do; the line holds no line
/// feed.
class ZFieldWriter
{
public:
    ZFieldWriter() = default;
    /// Starts with a letter, which is no field.
    explicit ZFieldWriter(char cKind) : m_sLine(1, cKind) {}

    ZFieldWriter& Text(std::string_view text);
    template <class T>
    ZFieldWriter& Number(T value)
    {
        char buffer[40];
        m_sLine += '\t';
        m_sLine.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
        return *this;
    }
    /// Fields that another writer made.
    ZFieldWriter& Fields(std::string_view fields)
    {
        m_sLine += fields;
        return *this;
    }
    size_t Size() const { return m_sLine.size(); }
    std::string Take() { return std::move(m_sLine); }

private:
    std::string m_sLine;
};

/// Every call is good on any line; Good() tells whether it was what was asked for.
class ZFieldReader
{
public:
    /// The text must stay.
    explicit ZFieldReader(std::string_view rest) : m_rest(rest) {}

    std::string Text();
    void SkipText() { Field(); }
    /// A number of another range is none.
    template <class T>
    T Number(T least, T most)
    {
        const std::string_view field = Field();
        T value{};
        const auto [pEnd, error] = std::from_chars(field.data(), field.data() + field.size(), value);
        m_bGood &= error == std::errc() && pEnd == field.data() + field.size() && value >= least && value <= most;
        return m_bGood ? value : least;
    }
    template <class T>
    T Number()
    {
        return Number(std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max());
    }
    bool Flag() { return Number<int>(0, 1) != 0; }
    /// Of fields that follow, at least one for each.
    size_t Count() { return Number<size_t>(0, m_rest.size()); }
    /// All fields that are left.
    std::string_view Rest() { return std::exchange(m_rest, {}); }

    /// So far.
    bool Sound() const { return m_bGood; }
    /// To the end, with nothing left.
    bool Good() const { return m_bGood && m_rest.empty(); }

private:
    std::string_view Field();

    std::string_view m_rest;
    bool m_bGood = true;
};

} // namespace Host
