#include "tests/resource/_shared/effectfixtures.h"

#include "tests/support/testing.h"

namespace
{

/// What was collected, by name: shared parameters, samplers, techniques.
std::string Collected(const ZPlainCompiler& compiler)
{
    std::string sText;
    for (const ZString& name : compiler.GetSharedParameters())
        sText += std::string(name.View()) + ' ';
    sText += "| ";
    for (const auto& [name, sampler] : compiler.GetSamplers())
        sText += std::string((sampler.name == name ? name : "another").View()) + ' ';
    sText += "| ";
    for (const SFXTechnique& technique : compiler.GetTechniques())
        sText += std::string(technique.name.View()) + ' ';
    return sText;
}

TEST(FXReflection, WhatIsCollectedAndWhatIsNot)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"nothing", "", "| | "},
        {"shared", "shared float4x4 g_World : register(c0);\nshared  float g_Time[3];", "g_World g_Time | | "},
        {"only its first letter has a case", "sHARED float a; Shared float b; SHARED float c;", "a | | "},
        {"the second word is the name", "shared const float x;", "float | | "},
        {"a shared sampler has its name for a type", "shared sampler samplerA { }; float x;", "samplerA | samplerA | "},
        {"samplers in any case", "sampler a{}; Sampler b{}; SAMPLERSTATE c {}; SamplerState d {};", "| a b c d | "},
        {"with a register", "sampler s : register ( s0 ) { };", "| s | "},
        {"without a body no trace", "sampler s : register(s0); float4 f(sampler t, SamplerState u) { }", "| | "},
        {"longer words are other words", "sampler2D a{}; sampler_state{}; mysampler b{}; 3sampler c{};", "| | "},
        {"a keyword at the very end", "float x;sampler", "| | "},
        {"and one that ends the text too early", "shared", "| | "},
        {"techniques", "technique A { pass P { } } Technique B {} technique11 C {} TECHNIQUE D {}", "| | A C "},
        {"with something before the brace", "technique A < string s; > { }", "| | "},
        {"without a name", "technique { }", "| |  "},
        {"inside of other words", "float techniques; unshared x; x.sampler y; (shared z w)", "w | | "},
        {"file names are no text", "#line 1 \"/shared/sampler.fxh\"\nfloat x;\n#line 2 \"technique a { }\"\n", "| | "},
        {"a #line that is none is", "#line shared float x;", "x | | "},
        {"bytes beyond ASCII and zeros", "\xef\xbb\xbfsampler a{};\xc3\xa4 shared b c;", "c | a | "},
    };
    for (const auto& [szLabel, szText, szCollected] : cases)
    {
        ZPlainCompiler compiler;
        EXPECT_TRUE(compiler.CollectText(szText)) << szLabel;
        EXPECT_EQ(Collected(compiler), szCollected) << szLabel;
    }
    // A second text makes the shared parameters of the first forgotten, and nothing else.
    ZPlainCompiler compiler;
    compiler.CollectText("shared float a; sampler s {}; technique t { }");
    compiler.CollectText("technique t { }");
    EXPECT_EQ(Collected(compiler), "| s | t t ");
}

TEST(FXReflection, SamplerSettings)
{
    ZPlainCompiler compiler;
    compiler.CollectText(R"(
sampler all : register(s0)
{
    texture = < g_Texture >;
    Filter = MIN_POINT_MAG_MIP_LINEAR;
    AddressU = WRAP; AddressV = CLAMP; AddressW = BORDER;
    BorderColor = float4(1, 0, 0.5, 1.0f);
    MaxAnisotropy = 300;
    MipLODBias = - 1.5;
    filter = NONSENSE; Unknown = 7;
};
sampler defaults { };
sampler hex { BorderColor = 0x80ff0001; texture = <<a>>; };
sampler wild { BorderColor = float4(- 1, 2, nan, 1e99); MipLODBias = 1e99; MaxAnisotropy = -1; };
sampler between {
#line 1 "clamp.fxh"
  AddressU = CLAMP;
#line 7 "sourcefile"
};
sampler last { Filter = ANISOTROPIC; }; sampler last { texture = plain; };
)");
    const auto get = [&](const char* szName) { return compiler.GetSamplers().At(ZString::ReferenceCString(szName)); };
    const SFXSamplerState all = get("all");
    EXPECT_EQ(all.filter, 5);
    EXPECT_EQ(all.addressU, 0);
    EXPECT_EQ(all.addressV, 1);
    EXPECT_EQ(all.addressW, 2);
    EXPECT_EQ(all.borderColor, 0xff007fffu);
    EXPECT_EQ(all.maxAnisotropy, 300 & 255);
    EXPECT_EQ(all.mipLODBias, -1.5f);
    EXPECT_EQ(all.flags, 0xfd);
    const SFXSamplerState defaults = get("defaults");
    EXPECT_EQ(defaults.flags, 0);
    EXPECT_EQ(defaults.maxAnisotropy, 1);
    EXPECT_EQ(defaults.mipLODBias, 0.0f);
    EXPECT_EQ(get("hex").borderColor, 0x80ff0001u);
    EXPECT_EQ(get("hex").flags, 0x20);
    EXPECT_EQ(get("between").addressU, 1);
    // -255 keeps its low bits, 510 runs into its neighbour, what is no 64-bit number gives nothing.
    EXPECT_EQ(get("wild").borderColor, (0xffffff01u << 24) | (510u << 16));
    EXPECT_TRUE(std::isinf(get("wild").mipLODBias));
    EXPECT_EQ(get("wild").maxAnisotropy, 255);
    EXPECT_EQ(get("last").flags, 0) << "a later declaration takes its place";

    std::string sFilters;
    for (const char* szWord :
         {"MIN_MAG_MIP_POINT", "MIN_MAG_POINT_MIP_LINEAR", "MIN_POINT_MAG_LINEAR_MIP_POINT", "MIN_POINT_MAG_MIP_LINEAR",
          "MIN_LINEAR_MAG_MIP_POINT", "MIN_LINEAR_MAG_POINT_MIP_LINEAR", "MIN_MAG_LINEAR_MIP_POINT",
          "MIN_MAG_MIP_LINEAR", "ANISOTROPIC"})
    {
        compiler.CollectText(std::string("sampler f { Filter=") + szWord + ";};");
        sFilters += std::to_string(get("f").filter) + ' ';
    }
    EXPECT_EQ(sFilters, "0 1 4 5 16 17 20 21 85 ");
}

TEST(FXReflection, MalformedSamplersNameFileAndLine)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"sampler s { Filter = ANISOTROPIC; }\nfloat x;", "!\"Unexpected token\"",
         "sourcefile:2: sampler 's': expected ';' before 'float'"},
        {"#line 12 \"fx/a.fxh\"\nsampler s\n{\n AddressU = Wrap;\n};", "!\"Unknown address mode\"",
         "fx/a.fxh:14: sampler 's': 'Wrap' is no address mode; known are WRAP, CLAMP, BORDER"},
        {"sampler s { Filter = LINEAR; };", "!\"Unknown filter\"",
         "sourcefile:1: sampler 's': 'LINEAR' is no filter; known are MIN_MAG_MIP_POINT, MIN_MAG_POINT_MIP_LINEAR, "
         "MIN_POINT_MAG_LINEAR_MIP_POINT, MIN_POINT_MAG_MIP_LINEAR, MIN_LINEAR_MAG_MIP_POINT, "
         "MIN_LINEAR_MAG_POINT_MIP_LINEAR, MIN_MAG_LINEAR_MIP_POINT, MIN_MAG_MIP_LINEAR, ANISOTROPIC"},
        {"sampler s {\n#line 9 \"a.fxh\"\n\nAddressU = CLAMP\n#line 3 \"b.fxh\"\n};", "!\"Unexpected token\"",
         "a.fxh:11: sampler 's': expected ';' before '#line'"},
        {"shared sampler samplerA;", "!\"Unexpected token\"",
         "sourcefile:1: sampler 'samplerA': expected '{' before ';'"},
        {"sampler s : packoffset(c0) { };", "!\"Unexpected token\"",
         "sourcefile:1: sampler 's': expected 'register' before 'packoffset(c0)'"},
        {"sampler s { BorderColor = float4(1,1,1); };", "!\"Unexpected token\"",
         "sourcefile:1: sampler 's': expected ',' before ');'"},
        {"sampler s { Filter", "!\"Unexpected token\"",
         "sourcefile:1: sampler 's': expected '=' before the end of the text"},
        {"\n\ntechnique t { ", "!\"Unexpected token\"",
         "sourcefile:3: technique 't': expected '}' before the end of the text"},
    };
    for (const auto& [szText, szTrace, szError] : cases)
    {
        ZPlainCompiler compiler;
        ZTraceRecorder recorder;
        EXPECT_THROW(compiler.CollectText(szText), zhalt_exception) << szText;
        EXPECT_TRUE(compiler.GetLastError() == szError) << compiler.GetLastError().ToCString();
        ASSERT_EQ(recorder.Lines().Size(), 1u);
        EXPECT_TRUE(recorder.Lines()[0].channel == "Error: {0}\n");
        EXPECT_TRUE(recorder.Lines()[0].text == szTrace) << recorder.Lines()[0].text.ToCString();
    }
}

} // namespace
