#include "host/commands/effectcommand.h"

#include "base/component/componentmanager.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "host/files/assettree.h"
#include "host/files/resourceids.h"
#include "host/module/hostmodule.h"
#include "host/module/moduleloader.h"
#include "host/text/hosterror.h"
#include "host/text/jsonwriter.h"
#include "resource/_shared/ifxcompiler.h"

#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace Host
{

namespace fs = std::filesystem;

namespace
{

constexpr const char SAMPLE_COMPILER[] = "samples.effectcompiler";
constexpr uint64_t LARGEST_EFFECT = uint64_t(256) << 20;

/// What came of one effect.
struct SEffectRun
{
    std::vector<SMessage> messages;
    TArray<ZString> references;
    std::vector<std::string> warnings;
    std::string sError;
    ICompiledEffect* pEffect = nullptr;

    SEffectRun() = default;
    SEffectRun(const SEffectRun&) = delete;
    SEffectRun& operator=(const SEffectRun&) = delete;
    ~SEffectRun()
    {
        if (pEffect != nullptr)
            pEffect->Release();
    }
};

class ZEffectContext final : public IResourcePackerContext
{
public:
    explicit ZEffectContext(std::vector<SMessage>& messages) : m_messages(messages) {}
    void Info(const ZString& text) override { m_messages.push_back({ESeverity::eInfo, ToStd(text)}); }
    void Warning(const ZString& text) override { m_messages.push_back({ESeverity::eWarning, ToStd(text)}); }
    void Error(const ZString& text) override { m_messages.push_back({ESeverity::eError, ToStd(text)}); }

private:
    std::vector<SMessage>& m_messages;
};

/// A path; a bare name that is no file here is that of a library beside the module.
std::string CompilerPath(const std::string& sCompiler)
{
    std::error_code error;
    const std::string sName = sCompiler.empty() ? SAMPLE_COMPILER : sCompiler;
    if (sName.find('/') == std::string::npos && !fs::exists(sName, error))
        return LibraryPath(sName);
    return fs::absolute(sName, error).string();
}

/// False, with the reason, when it can't be read whole.
bool ReadEffect(const std::string& sPath, std::string& sText, std::string& sWhy)
{
    std::error_code error;
    if (!fs::is_regular_file(sPath, error))
        sWhy = "there is no such file";
    else if (fs::file_size(sPath, error) > LARGEST_EFFECT)
        sWhy = "an effect source of more than " + BytesText(LARGEST_EFFECT) + " is not read";
    else
    {
        std::ifstream file(sPath, std::ios::binary);
        sText.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        if (!file)
            sWhy = "it can't be read";
    }
    return sWhy.empty();
}

/// The effect's own folder, as for every file that it includes, then those of the command line.
std::string IncludePath(const std::string& sPath, const std::vector<std::string>& folders)
{
    std::string sResult = fs::path(sPath).parent_path().string();
    if (sResult.empty())
        sResult += '.';
    for (const std::string& sFolder : folders)
        (sResult += ';') += sFolder;
    return sResult;
}

TArray<SFXCompilerDefine> Defines(const std::vector<std::string>& words)
{
    TArray<SFXCompilerDefine> defines;
    for (const std::string& sWord : words)
    {
        const size_t nEquals = sWord.find('=');
        const std::string sValue = nEquals == std::string::npos ? "1" : sWord.substr(nEquals + 1);
        defines.Add({ToZString(sWord.substr(0, nEquals)), ToZString(sValue)});
    }
    return defines;
}

void Compile(IFXCompiler& compiler, const SOptions& options, SEffectRun& run)
{
    const std::string sPath = PathOfWord(options.sources.front(), options.sAssets);
    std::string sText;
    if (!ReadEffect(sPath, sText, run.sError))
        return;
    ZEffectContext context(run.messages);
    try
    {
        run.pEffect = compiler.CompileEffect(&context, ToId(options.sources.front()), sText.data(), sText.size(),
                                             Defines(options.defines),
                                             ToZString(IncludePath(sPath, options.includeFolders)), run.references);
    }
    catch (const zhalt_exception&)
    {
        // Malformed text. The compiler knows more.
    }
    catch (const SAssertionFailed& failed)
    {
        run.sError = "assertion failed: " + failed.sExpression;
    }
    const std::string sWarnings = ToStd(compiler.GetLastWarning());
    for (size_t nStart = 0; nStart < sWarnings.size();)
    {
        const size_t nEnd = std::min(sWarnings.find('\n', nStart), sWarnings.size());
        run.warnings.push_back(sWarnings.substr(nStart, nEnd - nStart));
        nStart = nEnd + 1;
    }
    if (run.pEffect == nullptr && run.sError.empty())
        run.sError = ToStd(compiler.GetLastError());
    if (run.pEffect == nullptr && run.sError.empty())
        run.sError = "the effect does not compile, and the compiler does not say why";
}

void WriteSamplers(ZJsonWriter& json, const TMap<ZString, SFXSamplerState>& samplers)
{
    for (const auto& [name, sampler] : samplers)
    {
        json.Open('{');
        json.TextField("name", sampler.name.View());
        json.UnsignedField("borderColor", sampler.borderColor);
        json.UnsignedField("flags", sampler.flags);
        json.UnsignedField("addressU", sampler.addressU);
        json.UnsignedField("addressV", sampler.addressV);
        json.UnsignedField("addressW", sampler.addressW);
        json.UnsignedField("filter", sampler.filter);
        json.UnsignedField("maxAnisotropy", sampler.maxAnisotropy);
        json.Key("mipLODBias");
        json.Number(sampler.mipLODBias);
        json.Close('}');
    }
}

void WriteTechniques(ZJsonWriter& json, const TArray<SFXTechnique>& techniques)
{
    for (const SFXTechnique& technique : techniques)
    {
        json.Open('{');
        json.TextField("name", technique.name.View());
        json.Key("passes");
        json.Open('[');
        for (const SFXPass& pass : technique.passes)
        {
            json.Open('{');
            json.TextField("name", pass.name.View());
            json.Key("states");
            json.Open('[');
            for (const SFXPassState& state : pass.states)
            {
                json.Open('{');
                json.TextField("name", state.name.View());
                json.TextField("value", state.value.View());
                json.Close('}');
            }
            json.Close(']');
            json.Close('}');
        }
        json.Close(']');
        json.Close('}');
    }
}

std::string EffectJson(const std::string& sFile, const SEffectRun& run)
{
    ZJsonWriter json;
    const auto list = [&json](const char* szKey, auto&& write)
    {
        json.Key(szKey);
        json.Open('[');
        write();
        json.Close(']');
    };
    json.Open('{');
    json.TextField("file", sFile);
    json.BoolField("ok", run.pEffect != nullptr);
    json.OptionalField("error", run.sError);
    list("warnings",
         [&]
         {
             for (const std::string& sWarning : run.warnings)
                 json.Text(sWarning);
         });
    list("messages",
         [&]
         {
             for (const SMessage& message : run.messages)
             {
                 json.Open('{');
                 json.TextField("severity", NameOf(message.eSeverity));
                 json.TextField("text", message.sText);
                 json.Close('}');
             }
         });
    list("references",
         [&]
         {
             for (const ZString& reference : run.references)
                 json.Text(reference.View());
         });
    json.Key("flat");
    if (run.pEffect != nullptr)
        json.Text({run.pEffect->GetFlatSource().GetStart(), run.pEffect->GetFlatSource().Size()});
    else
        json.Null();
    list("samplers", [&] { run.pEffect != nullptr ? WriteSamplers(json, run.pEffect->GetSamplers()) : void(); });
    list("sharedParameters",
         [&]
         {
             if (run.pEffect != nullptr)
                 for (const ZString& name : run.pEffect->GetSharedParameters())
                     json.Text(name.View());
         });
    list("techniques", [&] { run.pEffect != nullptr ? WriteTechniques(json, run.pEffect->GetTechniques()) : void(); });
    json.Close('}');
    return json.Take();
}

std::string SamplerText(const SFXSamplerState& sampler)
{
    char bias[40];
    const auto biasEnd = std::to_chars(bias, bias + sizeof bias, sampler.mipLODBias);
    char numbers[160];
    std::snprintf(numbers, sizeof numbers,
                  "flags 0x%02x  filter %u  address %u %u %u  borderColor 0x%08" PRIx32 "  maxAnisotropy %u",
                  sampler.flags, sampler.filter, sampler.addressU, sampler.addressV, sampler.addressW,
                  sampler.borderColor, sampler.maxAnisotropy);
    return "  " + ToStd(sampler.name) + "  " + numbers + "  mipLODBias " + std::string(bias, biasEnd.ptr) + '\n';
}

std::string EffectText(const std::string& sFile, const ICompiledEffect& effect, const TArray<ZString>& references)
{
    const auto head = [](const char* szWhat, size_t nCount)
    { return std::string(szWhat) + " (" + std::to_string(nCount) + ")\n"; };
    std::string sText = sFile + '\n' + head("flat source, bytes", effect.GetFlatSource().Size());
    for (const char c : effect.GetFlatSource())
        if (c != '\r') // for people; the exact bytes are in the JSON form
            sText += c;
    if (sText.back() != '\n')
        sText += '\n';
    sText += head("references", references.Size());
    for (const ZString& reference : references)
        sText += "  " + ToStd(reference) + '\n';
    sText += head("samplers", effect.GetSamplers().Size());
    for (const auto& [name, sampler] : effect.GetSamplers())
        sText += SamplerText(sampler);
    sText += head("shared parameters", effect.GetSharedParameters().Size());
    for (const ZString& name : effect.GetSharedParameters())
        sText += "  " + ToStd(name) + '\n';
    sText += head("techniques", effect.GetTechniques().Size());
    for (const SFXTechnique& technique : effect.GetTechniques())
    {
        sText += "  " + ToStd(technique.name) + '\n';
        for (const SFXPass& pass : technique.passes)
        {
            sText += "    pass " + ToStd(pass.name) + '\n';
            for (const SFXPassState& state : pass.states)
                sText += "      " + ToStd(state.name) + ": " + ToStd(state.value) + '\n';
        }
    }
    return sText;
}

} // namespace

int RunEffect(const SOptions& options, ZConsole& console)
{
    RegisterHostModules();
    const std::string sLibrary = CompilerPath(options.sCompiler);
    LoadModule(sLibrary, FX_COMPILER_MODULE_ENTRY, "effect compiler", "--compiler");
    auto* pCompiler = CreateComponent<IFXCompiler>(ZString::ReferenceCString(FX_COMPILER_COMPONENT));
    if (pCompiler == nullptr)
        throw ZHostError("'" + sLibrary + "' does not make the component " + FX_COMPILER_COMPONENT,
                         "its module has to register it under IFXCompiler");
    const TComponentScope<IFXCompiler> compiler(pCompiler);

    const std::string& sFile = options.sources.front();
    ZTraceCollector traces;
    SEffectRun run;
    Compile(*compiler.Get(), options, run);
    for (const SMessage& message : run.messages)
        // The compiler's last error has the same text with its place.
        if (message.eSeverity != ESeverity::eError || !run.sError.ends_with(message.sText))
            console.Diagnostic(message.eSeverity, sFile, message.sText);
    for (const std::string& sWarning : run.warnings)
        console.Diagnostic(ESeverity::eWarning, sFile, sWarning);
    if (!run.sError.empty())
        console.Diagnostic(ESeverity::eError, sFile, run.sError);
    if (options.bVerbose)
        for (const std::string& sLine : traces.TakeFailures())
            console.Notice(sLine);
    if (console.IsJson())
        console.Output(EffectJson(sFile, run));
    else if (run.pEffect != nullptr)
        console.Output(EffectText(sFile, *run.pEffect, run.references));
    return run.pEffect != nullptr ? eExit_Done : eExit_AssetsFailed;
}

} // namespace Host
