#include "samples/effectcompiler/childprocess.h"
#include "samples/effectcompiler/preprocessor.h"
#include "samples/effectcompiler/sampleeffectcompiler.h"
#include "tests/resource/_shared/effectfixtures.h"
#include "tests/support/packerhost.h"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>

using namespace Samples;

namespace
{

TEST(Preprocessor, MacrosLinesAndMessages)
{
    const ZTempFolder folder;
    folder.Write("late.fxh", "late\n");
    const auto run = [&](std::string_view flat) {
        return PreprocessEffect(flat, {folder.Path()}, {{"N", "7"}, {"EMPTY", ""}}, folder.Path());
    };

    const SPreprocessed good =
        run("/* 1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11 */\nfloat a[N] EMPTY;\n#if 0\nit's #bad\n#endif\n"
            "#pragma pack_matrix(row_major)\n#line 5 \"x.fxh\"\nfloat b = __LINE__;\n# include <late.fxh>\n");
    EXPECT_TRUE(good.bGood) << good.error;
    EXPECT_EQ(good.text.find("float a[7] ;"), 11u) << "short gaps are empty lines";
    EXPECT_NE(good.text.find("#pragma pack_matrix(row_major)\n#line 5 \"x.fxh\"\nfloat b = 5;\n"), std::string::npos)
        << good.text;
    EXPECT_NE(good.text.find("\nlate\n"), std::string::npos);

    const SPreprocessed pasted = run("#define P(a, b) a##b\nx P(., y)\n#warning w\n");
    EXPECT_TRUE(pasted.bGood) << pasted.error;
    EXPECT_EQ(pasted.warnings.size(), 2u);

    EXPECT_EQ(run("\n\n#error no way\n").error, "sourcefile:3: #error no way");
    EXPECT_TRUE(run("#line 8 \"f.fxh\"\n#if (\n#endif\n").error.starts_with("f.fxh:8: "));
    EXPECT_EQ(run("#line 4 \"f.fxh\"\n\n#if 1\n\n").error, "f.fxh:5: unterminated #if");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1) << "nothing is left behind";
    EXPECT_NE(PreprocessEffect("", {}, {}, folder / "none").error.find("no temporary folder can be made"),
              std::string::npos);
}

TEST(Preprocessor, ItsAbsenceIsTold)
{
    const std::string sPath = std::getenv("PATH");
    ::setenv("PATH", "/nowhere", 1);
    const SPreprocessed result = PreprocessEffect("a", {}, {}, "");
    ::setenv("PATH", sPath.c_str(), 1);
    EXPECT_FALSE(result.bGood);
    EXPECT_EQ(result.error,
              "sourcefile:1: the program 'cpp' is not installed; it comes with the Debian package of that name");
}

TEST(ChildProcess, EveryEnd)
{
    const ZTempFolder folder;
    const std::string sOut = folder / "out";
    const std::string sError = folder / "error";
    const std::string sShell = FindProgram("sh");
    ASSERT_FALSE(sShell.empty());
    const auto run = [&](const char* szScript, double fSeconds = 20.0)
    {
        SProcessLimits limits;
        limits.fSeconds = fSeconds;
        limits.nOutputBytes = 10000;
        return RunProcess(sShell, {"-c", szScript}, sOut, sError, limits);
    };
    EXPECT_EQ(run("exit 3").nCode, 3);
    const SProcessEnd killed = run("kill -9 $$");
    EXPECT_EQ(killed.eKind, SProcessEnd::eKilled);
    EXPECT_EQ(killed.nCode, SIGKILL);
    EXPECT_EQ(RunProcess(folder / "none", {}, sOut, sError, {}).eKind, SProcessEnd::eNotStarted);

    // The child of the child goes, too: it would hold the file open and write to it after a second.
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(run("(sleep 1; echo late >&2) & sleep 60", 0.2).eKind, SProcessEnd::eTimedOut);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    ::usleep(1500000);
    EXPECT_EQ(std::filesystem::file_size(sError), 0u);

    run("while :; do echo 0123456789; done", 5.0);
    EXPECT_LE(std::filesystem::file_size(sOut), 10000u);
}

TEST(SampleEffectCompiler, GivesAListingOfWhatItFound)
{
    const ZTempFolder folder;
    const std::string inner = folder.Write("shared/inner.fxh", "#define FILTER ANISOTROPIC\nshared float4 g_Inner;\n");
    IFXCompiler* pCompiler = new ZSampleEffectCompiler;
    pCompiler->SetTempFolderPath(ZString::FromView(folder.Path()));
    ZRecordingContext context;
    TArray<ZString> references;
    const auto compile = [&](const std::string& text)
    {
        references.Clear();
        return pCompiler->CompileEffect(&context, ZResourceID("fx/a.fx"), text.data(), text.size(), {{"DEEP", "1"}},
                                        ZString::FromView(folder.Path()), references);
    };
    ICompiledEffect* pEffect = compile("#include \"shared/inner.fxh\"\nSamplerState s { Filter = FILTER; };\n#if DEEP\n"
                                       "technique T { pass P { A = 1; } }\n#endif\n#warning careful\n");
    ASSERT_NE(pEffect, nullptr) << pCompiler->GetLastError().ToCString();
    EXPECT_EQ(pEffect->GetSamplers().Find("s")->filter, 85);
    EXPECT_EQ(pEffect->GetSharedParameters().Size(), 1u);
    EXPECT_TRUE(pEffect->GetTechniques()[0].passes[0].states[0].value == "1");
    EXPECT_EQ(pCompiler->GetLastWarning().View(), "fx/a.fx:6: #warning careful");
    EXPECT_EQ(references.Size(), 1u);

    // A macro that hides the fault, in a file: the place is that of the use.
    EXPECT_THROW(compile("#define M sampler s { AddressU = NO; };\n\n\nM\n"), zhalt_exception);
    EXPECT_TRUE(pCompiler->GetLastError().StartsWith("fx/a.fx:4: sampler 's': 'NO' is no address mode"))
        << pCompiler->GetLastError().ToCString();
    EXPECT_EQ(compile("#include \"shared/inner.fxh\"\n#error stop\n"), nullptr);
    EXPECT_EQ(pCompiler->GetLastError().View(), "fx/a.fx:2: #error stop");

    EXPECT_EQ(pCompiler->AddRef(), 2u);
    EXPECT_EQ(pCompiler->Release(), 1u);
    // The effect lives without its compiler.
    EXPECT_EQ(pCompiler->Release(), 0u);
    EXPECT_TRUE(pEffect->GetSharedParameters()[0] == "g_Inner");
    EXPECT_EQ(pEffect->Release(), 0u);
}

} // namespace
