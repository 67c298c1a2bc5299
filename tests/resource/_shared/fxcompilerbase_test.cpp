#include "tests/resource/_shared/effectfixtures.h"
#include "tests/support/packerhost.h"
#include "tests/support/tracerecorder.h"

#include <gtest/gtest.h>

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
    const ZTemporaryFolder folder;
    folder.Write("Fx/A.fxh", "shared float g_A;\n");
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
        ICompiledEffect* pEffect = call.Run(compiler, "#include <Fx/A.fxh>\ntechnique t { }\n", folder.Path());
        ASSERT_NE(pEffect, nullptr) << compiler.GetLastError().ToCString();
        EXPECT_FALSE(std::filesystem::exists(first));
        EXPECT_FALSE(std::filesystem::exists(second));
        ASSERT_EQ(call.references.Size(), 2u);
        EXPECT_TRUE(call.references[0] ==
                    FXCompilerUtil::NormalizeReferencePath(ZString::FromView(folder.Path("Fx/A.fxh"))));
        EXPECT_TRUE(call.references[1] == "x/y");
        EXPECT_TRUE(compiler.GetSharedParameters()[0] == "g_A");
        EXPECT_EQ(compiler.m_sProfiles, "vs_5_0 ps_5_0 gs_5_0 hs_5_0 ds_5_0 cs_5_0 ");
        EXPECT_TRUE(compiler.GetLastError().IsEmpty());
        EXPECT_TRUE(call.context.Messages().IsEmpty());
        EXPECT_EQ(compiler.m_directories.Size(), 2u);
        EXPECT_TRUE(compiler.m_directories[0] == ZString::FromView(std::filesystem::current_path().string()));
        pEffect->Release();

        // The list was the caller's for that call only.
        compiler.AddReference("late");
        EXPECT_EQ(call.references.Size(), 2u);
    }
    EXPECT_EQ(GetMemoryManager()->LiveBlockCount(), nBlocks);
}

TEST(FXCompilerBase, EveryWayToFail)
{
    const ZTemporaryFolder folder;
    folder.Write("loop.fxh", "#include \"loop.fxh\"\n");
    folder.Write("bad.fxh", "float x;\nsampler s\n{\n    AddressU = MIRROR;\n};\n");
    folder.Write("odd.fxh", "\n#include oops\n");
    const std::string path = folder.Path();
    const std::string missing = "Could not find file 'none.fxh' while looking into following directories: " +
                                std::filesystem::current_path().string() + ", " + path;
    const struct
    {
        const char* szLabel;
        std::string source;
        bool bThrows;
        std::string error; ///< of GetLastError
        std::string told;  ///< to the context
        std::string trace;
    } cases[] = {
        {"no such file", "\n\n  #include \"none.fxh\"\n", false, "assembly:/fx/main.fx:3: " + missing,
         "error: " + missing, PREPROCESS_FAILED},
        {"itself", "#include \"loop.fxh\"", false,
         path + "/loop.fxh:1: '" + path + "/loop.fxh' stands inside 1024 includes: does a file include itself?",
         "error: '" + path + "/loop.fxh' stands inside 1024 includes: does a file include itself?", PREPROCESS_FAILED},
        {"a sampler in a file", "#include \"bad.fxh\"", true,
         path + "/bad.fxh:4: sampler 's': 'MIRROR' is no address mode; known are WRAP, CLAMP, BORDER", "",
         "3 Error: {0}\n: !\"Unknown address mode\""},
        {"and behind it", "float a;\n#include \"odd.fxh\"", true,
         path + "/odd.fxh:2: expected a name in quotes or angle brackets before 'oops'", "",
         "3 Error: {0}\n: *c=='\\\"' || *c=='<'"},
        {"the effect's own", "float a;\n\nsampler s { x }", true,
         "assembly:/fx/main.fx:3: sampler 's': expected '=' before '}'", "", "3 Error: {0}\n: !\"Unexpected token\""},
        {"the backend", "float a;", false, "assembly:/fx/main.fx:1: the effect does not compile", "", ""},
    };
    const size_t nBlocks = GetMemoryManager()->LiveBlockCount();
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.szLabel);
        ZPlainCompiler compiler;
        ZTraceRecorder recorder;
        SCall call;
        if (c.bThrows)
            EXPECT_THROW(call.Run(compiler, c.source, path), zhalt_exception);
        else
            EXPECT_EQ(call.Run(compiler, c.source, path), nullptr);
        EXPECT_EQ(compiler.GetLastError().View(), c.error);
        EXPECT_EQ(call.context.FirstMessage().View(), c.told);
        EXPECT_EQ(recorder.Texts().IsEmpty() ? std::string() : std::string(recorder.Texts()[0].View()), c.trace);
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

TEST(FXCompilerBase, SeveralIncludeDirectories)
{
    const ZTemporaryFolder folder;
    folder.Write("a/x.fxh", "from a\n");
    folder.Write("b/x.fxh", "from b\n");
    folder.Write("b/y.fxh", "from b\n");
    ZPlainCompiler compiler;
    SCall call;
    call.Run(compiler, "#include \"x.fxh\"\n#include \"y.fxh\"", folder.Path("a") + ";;" + folder.Path("b"));
    ASSERT_EQ(call.references.Size(), 2u);
    EXPECT_TRUE(call.references[0].EndsWith("a/x.fxh"));
    EXPECT_TRUE(call.references[1].EndsWith("b/y.fxh"));
    EXPECT_EQ(compiler.m_directories.Size(), 3u);
    call.Run(compiler, "", "");
    EXPECT_EQ(compiler.m_directories.Size(), 2u) << "one directory stands as it is, an empty one too";
}

TEST(FXCompilerBase, CopiesCarryWhatWasRead)
{
    ZPlainCompiler compiler;
    compiler.SetTempFolderPath("/tmp/x");
    compiler.CollectText("shared float a;");
    const ZPlainCompiler copy(compiler);
    ZPlainCompiler assigned;
    assigned = compiler;
    EXPECT_TRUE(copy.GetSharedParameters()[0] == "a");
    EXPECT_TRUE(assigned.GetTempFolderPath() == "/tmp/x");
    EXPECT_EQ(assigned.QueryInterface(GetTypeID<IFXCompiler>()), static_cast<IFXCompiler*>(&assigned));
}

} // namespace
