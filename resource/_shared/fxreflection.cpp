#include "resource/_shared/fxreflection.h"

#include "resource/_shared/fxscan.h"

#include <cmath>
#include <limits>

namespace FXCompilerUtil
{

namespace
{

struct SWord
{
    std::string_view word;
    uint8_t nValue;
};

constexpr SWord ADDRESS_MODES[] = {{"WRAP", 0}, {"CLAMP", 1}, {"BORDER", 2}};

constexpr SWord FILTERS[] = {
    {"MIN_MAG_MIP_POINT", 0},         {"MIN_MAG_POINT_MIP_LINEAR", 1},  {"MIN_POINT_MAG_LINEAR_MIP_POINT", 4},
    {"MIN_POINT_MAG_MIP_LINEAR", 5},  {"MIN_LINEAR_MAG_MIP_POINT", 16}, {"MIN_LINEAR_MAG_POINT_MIP_LINEAR", 17},
    {"MIN_MAG_LINEAR_MIP_POINT", 20}, {"MIN_MAG_MIP_LINEAR", 21},       {"ANISOTROPIC", 85}};

template <size_t N>
uint8_t ValueOf(const SWord (&words)[N], std::string_view word, const char* szExpression, const ZString& what)
{
    for (const SWord& candidate : words)
        if (candidate.word == word)
            return candidate.nValue;
    ZString known;
    for (const SWord& candidate : words)
    {
        known.Append(known.IsEmpty() ? "" : ", ");
        known.Append(candidate.word);
    }
    Fail(szExpression, ZString::Format("'{0}' is no {1}; known are {2}", ZString::FromView(word), what, known));
}

uint8_t AddressModeOf(std::string_view word)
{
    return ValueOf(ADDRESS_MODES, word, "!\"Unknown address mode\"", "address mode");
}

/// The walk with its arguments spelled once.
class ZBodyReader
{
public:
    explicit ZBodyReader(SScan& scan) : m_scan(scan) {}

    void Skip() { SkipWhiteSpace(m_scan.pText, m_scan.nPosition, m_scan.nSize, m_scan.nLine); }
    /// Settings may come out of an include, which leaves its #line directives between them.
    void SkipToKey()
    {
        SLineDirective directive;
        for (Skip(); FindLineDirective(m_scan.pText, m_scan.nPosition, m_scan.nSize, directive); Skip())
            m_scan.nPosition = directive.nEnd;
    }
    void Expect(char c)
    {
        m_scan.nPosition += ExpectChar(m_scan.pText, m_scan.nPosition, m_scan.nSize, m_scan.nLine, c);
    }
    std::string_view Token()
    {
        ReadToken(m_scan.pText, m_scan.nPosition, m_scan.nSize, m_scan.nLine, m_scan.token);
        return m_scan.token;
    }
    bool At(char c) const { return StandsAt(m_scan.pText, m_scan.nPosition, m_scan.nSize, c); }
    void SkipAll(char c)
    {
        while (At(c))
        {
            ++m_scan.nPosition;
            Skip();
        }
    }

    uint32_t BorderColor()
    {
        if (Token() != "float4")
            return ParseUnsigned(m_scan.token);
        uint32_t nColor = 0;
        Expect('(');
        for (int nShift = 24; nShift >= 0; nShift -= 8)
        {
            Token();
            Expect(nShift > 0 ? ',' : ')');
            // No clamping: what is beyond 0 to 1 runs into its neighbours.
            nColor |= TruncateToUnsigned(ParseReal(m_scan.token) * 255.0) << nShift;
        }
        return nColor;
    }

private:
    SScan& m_scan;
};

float ToFloat(double fValue)
{
    constexpr double fLimit = std::numeric_limits<float>::max();
    if (fValue > fLimit || fValue < -fLimit)
        return std::copysign(std::numeric_limits<float>::infinity(), static_cast<float>(fValue > 0 ? 1 : -1));
    return static_cast<float>(fValue);
}

void Assign(SFXSamplerState& sampler, std::string_view key, const char* szValue)
{
    const auto set = [&sampler](EFXSamplerFlags eFlag, uint8_t& field, uint8_t nValue)
    {
        sampler.flags |= eFlag;
        field = nValue;
    };
    if (key == "Filter")
        set(eSampler_Filter, sampler.filter, ValueOf(FILTERS, szValue, "!\"Unknown filter\"", "filter"));
    else if (key == "AddressU")
        set(eSampler_AddressU, sampler.addressU, AddressModeOf(szValue));
    else if (key == "AddressV")
        set(eSampler_AddressV, sampler.addressV, AddressModeOf(szValue));
    else if (key == "AddressW")
        set(eSampler_AddressW, sampler.addressW, AddressModeOf(szValue));
    else if (key == "MaxAnisotropy")
        set(eSampler_MaxAnisotropy, sampler.maxAnisotropy, static_cast<uint8_t>(ParseInteger(szValue)));
    else if (key == "MipLODBias")
    {
        sampler.flags |= eSampler_MipLODBias;
        sampler.mipLODBias = ToFloat(ParseReal(szValue));
    }
}

} // namespace

void ReadSamplerBody(SScan& scan, SFXSamplerState& sampler)
{
    ZBodyReader reader(scan);
    scan.within = ZString::Format("sampler '{0}'", sampler.name);
    reader.Expect('{');
    reader.SkipToKey();
    while (!reader.At('}'))
    {
        const ZString key = ZString::FromView(reader.Token());
        reader.Expect('=');
        reader.Skip();
        const bool bBracketed = key == "texture" && reader.At('<');
        if (bBracketed)
            reader.SkipAll('<');
        if (key == "BorderColor")
        {
            sampler.borderColor = reader.BorderColor();
            sampler.flags |= eSampler_BorderColor;
        }
        // Behind a colour this stands on the semicolon and reads an empty token.
        reader.Token();
        if (bBracketed)
            reader.SkipAll('>');
        reader.Expect(';');
        Assign(sampler, key.View(), scan.token);
        reader.SkipToKey();
    }
    reader.Expect('}');
    reader.Expect(';');
    scan.within = ZString();
}

} // namespace FXCompilerUtil
