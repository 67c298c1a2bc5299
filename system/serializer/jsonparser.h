#pragma once

#include "system/serializer/jsonvalue.h"

#include <string_view>

/// One pass over one JSON text. Nested values are parsed by recursion of at most MAX_DEPTH levels.
class ZJsonParser
{
public:
    static constexpr int MAX_DEPTH = 64;

    explicit ZJsonParser(const ZString& text) : m_text(text.View()) {}
    ZJsonValue Parse();

private:
    [[noreturn]] void Fail(const ZString& why) const;
    [[noreturn]] void FailAtCharacter() const;
    void SkipWhiteSpace();
    bool TryTake(char c);
    void Take(char c);
    /// Between two members or elements: steps over the comma, which may be missing. False at the closing bracket.
    bool NextEntry(char cClose, bool bFirst);
    void TakeWord(std::string_view word);
    ZJsonValue ParseValue(int nDepth);
    ZJsonValue ParseNumber();
    ZString ParseString();
    uint32_t ParseHexDigits();
    void AppendCodePoint(ZString& text, uint32_t nCode) const;

    std::string_view m_text;
    size_t m_nPosition = 0;
};
