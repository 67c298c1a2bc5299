#include "tests/resource/_shared/effectfixtures.h"

#include "tests/support/packerhost.h"
#include "tests/support/testing.h"

namespace
{

class ZCountedEffect final : public TCountedComponent<ZCountedEffect, ICompiledEffect>
{
public:
    explicit ZCountedEffect(std::string flat) : m_sFlat(std::move(flat)) {}
    TArrayRef<const char> GetFlatSource() const override { return {m_sFlat.data(), m_sFlat.size()}; }
    const TMap<ZString, SFXSamplerState>& GetSamplers() const override { return m_samplers; }
    const TArray<ZString>& GetSharedParameters() const override { return m_shared; }
    const TArray<SFXTechnique>& GetTechniques() const override { return m_techniques; }

private:
    std::string m_sFlat;
    TMap<ZString, SFXSamplerState> m_samplers;
    TArray<ZString> m_shared;
    TArray<SFXTechnique> m_techniques;
};

constexpr const char PREPROCESS_FAILED[] =
    "3 Error: {0}\n: Preprocess(pContext, pData, nDataSize, &pFlatShaderSource, pFlatShaderSourceSize, "
    "&pPreprocessedShader, pPreprocessedShaderSize, includePath, defines, profiles)";

/// One call as a host makes it.
struct SCall
{
    ICompiledEffect* Run(ZPlainCompiler& compiler, const std::string& source, const std::string& includePath)
    {
        const std::vector<char> text(source.begin(), source.end());
        return compiler.CompileEffect(&context, ZResourceID("assembly:/fx/main.fx"), text.data(), text.size(), {},
                                      ZString::FromView(includePath), references);
    }
    ZRecordingContext context;
    TArray<ZString> references;
};

TEST(FXCompilerBase, CompilesInOrderAndCleansUp)
{
    const ZTempFolder folder;
    folder.Write("Fx/A.fxh", "shared float g_A;\n");
    folder.Write("b/Fx/A.fxh", "another\n");
    const std::string first = folder.Write("first.tmp", "1");
    const std::string second = folder.Write("second.tmp", "2");
    const size_t nBlocks = GetMemoryManager()->LiveBlockCount();
    {
        ZPlainCompiler compiler;
        compiler.m_onTechnique = [&](SFXTechnique& technique)
        {
            technique.passes.Resize(2);
            technique.passes[1].firstTemporaryFile = ZString::FromView(first);
            technique.passes[1].secondTemporaryFile = ZString::FromView(second);
        };
        compiler.m_compile = [&](TArrayRef<const char> flat, TArray<ZString>& references)
        {
            EXPECT_TRUE(std::filesystem::exists(first)) << "the backend still has the files of its passes";
            EXPECT_EQ(std::string(flat.begin(), flat.end()), compiler.m_sPreprocessed);
            EXPECT_EQ(references.Size(), 1u);
            compiler.AddReference("X\\\\Y");
            return new ZCountedEffect(std::string(flat.begin(), flat.end()));
        };
        SCall call;
        ICompiledEffect* pEffect =
            call.Run(compiler, "#include <Fx/A.fxh>\ntechnique t { }\n", folder.Path() + ";;" + folder / "b");
        ASSERT_NE(pEffect, nullptr) << compiler.GetLastError().ToCString();
        EXPECT_FALSE(std::filesystem::exists(first));
        EXPECT_FALSE(std::filesystem::exists(second));
        ASSERT_EQ(call.references.Size(), 2u);
        EXPECT_TRUE(call.references[0] ==
                    FXCompilerUtil::NormalizeReferencePath(ZString::FromView(folder / "Fx/A.fxh")));
        EXPECT_TRUE(call.references[1] == "x/y");
        EXPECT_TRUE(compiler.GetSharedParameters()[0] == "g_A");
        EXPECT_EQ(compiler.m_sProfiles, "vs_5_0 ps_5_0 gs_5_0 hs_5_0 ds_5_0 cs_5_0 ");
        EXPECT_TRUE(compiler.GetLastError().IsEmpty());
        EXPECT_TRUE(call.context.Messages().IsEmpty());
        EXPECT_EQ(compiler.m_directories.Size(), 3u);
        EXPECT_TRUE(compiler.m_directories[0] == ZString::FromView(std::filesystem::current_path().string()));
        pEffect->Release();

        // The list was the caller's for that call only; what was read is copied.
        compiler.AddReference("late");
        EXPECT_EQ(call.references.Size(), 2u);
        ZPlainCompiler copy;
        copy = compiler;
        EXPECT_TRUE(ZPlainCompiler(copy).GetSharedParameters()[0] == "g_A");
    }
    EXPECT_EQ(GetMemoryManager()->LiveBlockCount(), nBlocks);
}

TEST(FXCompilerBase, EveryWayToFail)
{
    const ZTempFolder folder;
    folder.Write("bad.fxh", "float x;\nsampler s\n{\n    AddressU = MIRROR;\n};\n");
    folder.Write("odd.fxh", "\n#include oops\n");
    const std::string path = folder.Path();
    const std::string missing = "Could not find file 'none.fxh' while looking into following directories: " +
                                std::filesystem::current_path().string() + ", " + path;
    // error: of GetLastError
    // told: to the context
    const std::tuple<const char*, std::string, bool, std::string, std::string, std::string> cases[] = {
        {"no such file", "\n\n  #include \"none.fxh\"\n", false, "assembly:/fx/main.fx:3: " + missing,
         "error: " + missing, PREPROCESS_FAILED},
        {"a sampler in a file", "#include \"bad.fxh\"", true,
         path + "/bad.fxh:4: sampler 's': 'MIRROR' is no address mode; known are WRAP, CLAMP, BORDER", "",
         "3 Error: {0}\n: !\"Unknown address mode\""},
        {"and behind it", "float a;\n#include \"odd.fxh\"", true,
         path + "/odd.fxh:2: expected a name in quotes or angle brackets before 'oops'", "",
         "3 Error: {0}\n: *c=='\\\"' || *c=='<'"},
        {"the backend", "float a;", false, "assembly:/fx/main.fx:1: the effect does not compile", "", ""},
    };
    const size_t nBlocks = GetMemoryManager()->LiveBlockCount();
    for (const auto& [szLabel, source, bThrows, error, told, trace] : cases)
    {
        SCOPED_TRACE(szLabel);
        ZPlainCompiler compiler;
        ZTraceRecorder recorder;
        SCall call;
        if (bThrows)
            EXPECT_THROW(call.Run(compiler, source, path), zhalt_exception);
        else
            EXPECT_EQ(call.Run(compiler, source, path), nullptr);
        EXPECT_EQ(compiler.GetLastError().View(), error);
        EXPECT_EQ(call.context.FirstMessage().View(), told);
        EXPECT_EQ(recorder.Texts().IsEmpty() ? std::string() : std::string(recorder.Texts()[0].View()), trace);
    }
    {
        ZPlainCompiler compiler;
        ZTraceRecorder recorder;
        SCall call;
        compiler.m_bPreprocessorWorks = false;
        EXPECT_EQ(call.Run(compiler, "x", path), nullptr);
        EXPECT_EQ(recorder.Texts()[0].View(), PREPROCESS_FAILED);
        EXPECT_EQ(compiler.GetLastError().View(), "assembly:/fx/main.fx:1: the preprocessor fails");
        // What failed once may be used again.
        compiler.m_bPreprocessorWorks = true;
        compiler.m_compile = [](TArrayRef<const char>, TArray<ZString>&) { return new ZCountedEffect(""); };
        call.Run(compiler, "x", path)->Release();
        EXPECT_TRUE(compiler.GetLastError().IsEmpty());
    }
    EXPECT_EQ(GetMemoryManager()->LiveBlockCount(), nBlocks);
}

} // namespace
