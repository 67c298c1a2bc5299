#include "fbx/file/fbxbase64.h"

#include <array>
#include <cstdint>

namespace
{

constexpr std::string_view DIGITS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

} // namespace

std::string FbxToBase64(std::string_view bytes)
{
    std::string sText;
    sText.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t n = 0; n < bytes.size(); n += 3)
    {
        uint32_t nGroup = 0;
        for (size_t i = 0; i < 3; ++i)
            nGroup = nGroup << 8 | (n + i < bytes.size() ? static_cast<uint8_t>(bytes[n + i]) : 0u);
        for (size_t i = 0; i < 4; ++i)
            sText += n + i > bytes.size() ? '=' : DIGITS[nGroup >> (18 - 6 * i) & 63];
    }
    return sText;
}

bool FbxFromBase64(std::string_view text, std::string& sBytes)
{
    static const std::array<int8_t, 256> VALUES = []
    {
        std::array<int8_t, 256> values;
        values.fill(-1);
        for (size_t n = 0; n < DIGITS.size(); ++n)
            values[static_cast<uint8_t>(DIGITS[n])] = static_cast<int8_t>(n);
        return values;
    }();
    if (text.size() % 4 != 0)
        return false;
    while (text.ends_with('='))
        text.remove_suffix(1);
    sBytes.clear();
    sBytes.reserve(text.size() / 4 * 3 + 3);
    uint32_t nGroup = 0;
    int nBits = 0;
    for (const char c : text)
    {
        const int8_t nValue = VALUES[static_cast<uint8_t>(c)];
        if (nValue < 0)
            return false;
        nGroup = nGroup << 6 | static_cast<uint32_t>(nValue);
        nBits += 6;
        if (nBits >= 8)
        {
            nBits -= 8;
            sBytes += static_cast<char>(nGroup >> nBits & 255);
        }
    }
    return true;
}
