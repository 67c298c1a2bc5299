#include "tests/resource/_shared/effectfixtures.h"
#include "tests/support/asserttrap.h"
#include "tests/support/tracerecorder.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace
{

std::string SharedOf(const ZPlainCompiler& compiler)
{
    std::string text;
    for (const ZString& name : compiler.GetSharedParameters())
        text += std::string(name.View()) + ' ';
    return text;
}

std::string TechniquesOf(const ZPlainCompiler& compiler)
{
    std::string text;
    for (const SFXTechnique& technique : compiler.GetTechniques())
        text += std::string(technique.name.View()) + ' ';
    return text;
}

std::string SamplersOf(const ZPlainCompiler& compiler)
{
    std::string text;
    for (const auto& [name, sampler] : compiler.GetSamplers())
    {
        EXPECT_TRUE(sampler.name == name);
        text += std::string(name.View()) + ' ';
    }
    return text;
}

TEST(FXReflection, WhatIsCollectedAndWhatIsNot)
{
    const struct
    {
        const char* szLabel;
        const char* szText;
        const char* szShared;
        const char* szSamplers;
        const char* szTechniques;
    } cases[] = {
        {"nothing", "", "", "", ""},
        {"shared", "shared float4x4 g_World : register(c0);\nshared  float g_Time[3];", "g_World g_Time ", "", ""},
        {"only its first letter has a case", "sHARED float a; Shared float b; SHARED float c;", "a ", "", ""},
        {"the second word is the name", "shared const float x;", "float ", "", ""},
        {"a shared sampler has its name for a type", "shared sampler samplerA { }; float x;", "samplerA ", "samplerA ",
         ""},
        {"samplers in any case", "sampler a{}; Sampler b{}; SAMPLERSTATE c {}; SamplerState d {};", "", "a b c d ", ""},
        {"with a register", "sampler s : register ( s0 ) { };", "", "s ", ""},
        {"without a body no trace", "sampler s : register(s0); float4 f(sampler t, SamplerState u) { }", "", "", ""},
        {"longer words are other words", "sampler2D a{}; sampler_state{}; mysampler b{}; 3sampler c{};", "", "", ""},
        {"a keyword at the very end", "float x;sampler", "", "", ""},
        {"and one that ends the text too early", "shared", "", "", ""},
        {"techniques", "technique A { pass P { } } Technique B {} technique11 C {} TECHNIQUE D {} technique10 E {}", "",
         "", "A C "},
        {"with something before the brace", "technique A < string s; > { }", "", "", ""},
        {"without a name", "technique { }", "", "", " "},
        {"inside of other words", "float techniques; unshared x; x.sampler y; (shared z w)", "w ", "", ""},
        {"file names are no text", "#line 1 \"/shared/sampler.fxh\"\nfloat x;\n#line 2 \"technique a { }\"\n", "", "",
         ""},
        {"a #line that is none is", "#line shared float x;", "x ", "", ""},
        {"bytes beyond ASCII and zeros", "\xef\xbb\xbfsampler a{};\xc3\xa4 shared b c;", "c ", "a ", ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.szLabel);
        ZPlainCompiler compiler;
        EXPECT_TRUE(compiler.CollectText(c.szText));
        EXPECT_EQ(SharedOf(compiler), c.szShared);
        EXPECT_EQ(SamplersOf(compiler), c.szSamplers);
        EXPECT_EQ(TechniquesOf(compiler), c.szTechniques);
    }
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

    const struct
    {
        const char* szWord;
        int nValue;
    } filters[] = {
        {"MIN_MAG_MIP_POINT", 0},         {"MIN_MAG_POINT_MIP_LINEAR", 1},  {"MIN_POINT_MAG_LINEAR_MIP_POINT", 4},
        {"MIN_POINT_MAG_MIP_LINEAR", 5},  {"MIN_LINEAR_MAG_MIP_POINT", 16}, {"MIN_LINEAR_MAG_POINT_MIP_LINEAR", 17},
        {"MIN_MAG_LINEAR_MIP_POINT", 20}, {"MIN_MAG_MIP_LINEAR", 21},       {"ANISOTROPIC", 85}};
    for (const auto& c : filters)
    {
        compiler.CollectText(std::string("sampler f { Filter=") + c.szWord + ";};");
        EXPECT_EQ(get("f").filter, c.nValue) << c.szWord;
    }
}

TEST(FXReflection, MalformedSamplersNameFileAndLine)
{
    const struct
    {
        const char* szText;
        const char* szTrace;
        const char* szError;
    } cases[] = {
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
    for (const auto& c : cases)
    {
        ZPlainCompiler compiler;
        ZTraceRecorder recorder;
        EXPECT_THROW(compiler.CollectText(c.szText), zhalt_exception) << c.szText;
        EXPECT_TRUE(compiler.GetLastError() == c.szError) << compiler.GetLastError().ToCString();
        ASSERT_EQ(recorder.Lines().Size(), 1u);
        EXPECT_TRUE(recorder.Lines()[0].channel == "Error: {0}\n");
        EXPECT_TRUE(recorder.Lines()[0].text == c.szTrace) << recorder.Lines()[0].text.ToCString();
    }
}

TEST(FXReflection, ASecondCollectForgetsSharedParametersOnly)
{
    ZPlainCompiler compiler;
    compiler.CollectText("shared float a; sampler s {}; technique t { }");
    compiler.CollectText("");
    EXPECT_EQ(SharedOf(compiler), "");
    EXPECT_EQ(SamplersOf(compiler), "s ");
    compiler.CollectText("technique t { }");
    EXPECT_EQ(TechniquesOf(compiler), "t t ");
}

TEST(FXReflection, TablesAreIndexedByWhatMayBeNone)
{
    const TArray<ZString> names = {"a", "b"};
    EXPECT_TRUE(FXCompilerUtil::ElementOf(names, 1) == "b");
    ZAssertTrap trap;
    EXPECT_THROW(FXCompilerUtil::ElementOf(names, FXCompilerUtil::INVALID_ID), zhalt_exception);
    ASSERT_EQ(trap.Count(), 2u);
    EXPECT_EQ(trap.Expressions()[0], "index != INVALID_ID");
    EXPECT_EQ(trap.Expressions()[1], "nIndex < m_uiCount");
}

/// Any text ends: with true, or with zhalt_exception and a place.
TEST(FXReflection, EveryPrefixOfAnEffectIsSurvived)
{
    const std::string effect = "#line 3 \"shared/a.fxh\"\nshared float4x4 g_World : register(c0);\n"
                               "shared sampler samplerA { texture = <g_T>; BorderColor = float4(- 1, 0, 0, 1); };\n"
                               "SamplerState s : register(s1) { Filter = ANISOTROPIC; MipLODBias = 0.5; };\n"
                               "technique11 T { pass P { VertexShader = compile vs_5_0 Main(); } }\n";
    const auto survive = [](std::string_view text)
    {
        ZPlainCompiler compiler;
        try
        {
            EXPECT_TRUE(compiler.CollectText(text));
        }
        catch (const zhalt_exception&)
        {
            EXPECT_NE(compiler.GetLastError().IndexOf(':'), ZString::NOT_FOUND);
        }
    };
    for (size_t n = 0; n <= effect.size(); ++n)
        survive(effect.substr(0, n));
    std::mt19937 random(3);
    for (int nRound = 0; nRound < 5000; ++nRound)
    {
        std::string text = effect;
        for (int n = 0; n < 4; ++n)
            text[random() % text.size()] = "#{}();=<>\"s \n\0"[random() % 14];
        survive(text);
    }
}

} // namespace
