#include "samples/effectcompiler/passreader.h"

#include "tests/support/testing.h"

namespace
{

/// Passes as "NAME{STATE=VALUE|STATE=VALUE}", and where reading ended.
std::string PassesOf(const std::string& sText)
{
    const std::vector<char> text(sText.begin(), sText.end());
    uint32_t nLine = 0;
    size_t nPosition = 0;
    TArray<SFXPass> passes;
    Samples::ReadPasses(text.data(), text.size(), nLine, nPosition, passes);
    std::string sResult;
    for (const SFXPass& pass : passes)
    {
        sResult += std::string(pass.name.View()) + '{';
        for (const SFXPassState& state : pass.states)
            sResult += std::string(state.name.View()) + '=' + std::string(state.value.View()) + '|';
        sResult += '}';
    }
    return sResult + " " + sText.substr(nPosition);
}

TEST(PassReader, PassesAndTheirSettings)
{
    const std::pair<const char*, const char*> cases[] = {
        {" }", " }"},
        {"pass P0 { } pass { } }rest", "P0{}{} }rest"},
        {"pass P { VertexShader = compile vs_2_0 Main( a,\n\t b ); ZEnable=true;; }}",
         "P{VertexShader=compile vs_2_0 Main( a, b )|ZEnable=true|} }"},
        {"pass P { SetBlendState( b, float4( 0, 0, 0, 0 ), 0xFF ); }}",
         "P{SetBlendState=b, float4( 0, 0, 0, 0 ), 0xFF|} }"},
        {"pass P { Use( a == b ); }}", "P{Use=a == b|} }"},
        {"Pass P< string s = \"};\"; > { Texture[0] = <t>; }}", "P{Texture[0]=<t>|} }"},
        {"pass P { VertexShader = asm { vs_1_1\n mov o, v; }; Name = \"a;  b\"; }}",
         "P{VertexShader=asm { vs_1_1 mov o, v; }|Name=\"a;  b\"|} }"},
        {"\n#line 3 \"a.fxh\"\npass P {\n#line 9 \"b.fxh\"\nA = 1;\n}\n}", "P{A=1|} }"},
    };
    for (const auto& [szText, szPasses] : cases)
        EXPECT_EQ(PassesOf(szText), szPasses) << szText;
    for (const char* szText : {"shader", "pass P", "pass P { A = 1 }", "pass P { A; }", "pass P { A = 1;",
                               "pass P { A = (", "pass P < a", "pass P { = { }"})
        EXPECT_THROW(PassesOf(szText), zhalt_exception) << szText;
}

} // namespace
