// Compiles one effect through the interface: main.fx in the folder of the argument, whose files run.py has written.
#include "outsidecompiler.h"

#include "base/component/componentmanager.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace
{

int g_nFaults = 0;

void Expect(bool bGood, const char* szWhat)
{
    if (!bGood)
    {
        std::printf("FAILED: %s\n", szWhat);
        ++g_nFaults;
    }
}

class ZContext final : public IResourcePackerContext
{
public:
    void Info(const ZString&) override {}
    void Warning(const ZString&) override {}
    void Error(const ZString& text) override { m_error = text; }
    ZString m_error;
};

} // namespace

int main(int, char** ppArguments)
{
    const std::string folder = ppArguments[1];
    ImportZEffectCompilerModule();
    auto* pCompiler = CreateComponent<IFXCompiler>(ZString::ReferenceCString(FX_COMPILER_COMPONENT));
    if (pCompiler == nullptr)
        return std::printf("FAILED: there is no compiler\n"), 1;
    pCompiler->SetTempFolderPath(ZString::FromView(folder));

    ZContext context;
    const auto compile = [&](const std::string& text, TArray<ZString>& references)
    {
        return pCompiler->CompileEffect(&context, ZResourceID("assembly:/main.fx"), text.data(), text.size(),
                                        {{"A", "Some\\\\Path"}}, ZString::FromView(folder), references);
    };
    std::ifstream file(folder + "/main.fx", std::ios::binary);
    const std::string source((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    TArray<ZString> references;
    ICompiledEffect* pEffect = compile(source, references);
    if (pEffect == nullptr)
        return std::printf("FAILED: %s\n", pCompiler->GetLastError().ToCString()), 1;
    const std::string flat(pEffect->GetFlatSource().begin(), pEffect->GetFlatSource().end());
    Expect(flat.find("#line 1 \"" + folder + "/sub/inner.fxh\"\n") != std::string::npos, "the nested file is put in");
    Expect(flat.find("#line 2 \"" + folder + "/sub/outer.fxh\"\n") != std::string::npos,
           "and its return line is right");
    Expect(references.Size() == 3 && references[2] == "some/path", "references, in order, the subclass's last");
    Expect(pEffect->GetSharedParameters().Size() == 1 && pEffect->GetSharedParameters()[0] == "g_World", "shared");
    const SFXSamplerState* pSampler = pEffect->GetSamplers().Find("s");
    Expect(pSampler != nullptr && pSampler->filter == 85 && pSampler->flags == eSampler_Filter, "the sampler");
    Expect(pEffect->GetTechniques().Size() == 1 && pEffect->GetTechniques()[0].passes.Size() == 2, "techniques");
    Expect(!std::filesystem::exists(folder + "/P0.vs_5_0"), "temporary files are gone");
    pEffect->Release();

    Expect(compile("#include \"none\"", references) == nullptr, "a missing file fails");
    Expect(context.m_error.StartsWith("Could not find file 'none' while looking into following directories: "), "told");
    bool bHalted = false;
    try
    {
        compile("float x;\nsampler s { Filter = WRONG; };", references);
    }
    catch (const zhalt_exception&)
    {
        bHalted = true;
    }
    Expect(bHalted, "malformed text halts, across libraries");
    Expect(pCompiler->GetLastError().StartsWith("assembly:/main.fx:2: sampler 's': 'WRONG' is no filter"),
           "with a place");
    pCompiler->Release();
    std::printf("%d faults\n", g_nFaults);
    return g_nFaults == 0 ? 0 : 1;
}
