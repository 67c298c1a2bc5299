#include "host/module/effectrun.h"

#include "base/component/componentmanager.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "host/files/resourceids.h"
#include "host/module/hostmodule.h"
#include "host/module/moduleloader.h"
#include "host/text/textformat.h"

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

/// A compiler looks into the working directory first: the effect's own folder while it is compiled, so that its
/// includes are found beside it, as for every file that it includes.
class ZEffectFolder
{
public:
    explicit ZEffectFolder(const std::string& sEffect) : m_before(fs::current_path())
    {
        if (const fs::path own = fs::path(sEffect).parent_path(); !own.empty())
            fs::current_path(own);
    }
    ZEffectFolder(const ZEffectFolder&) = delete;
    ZEffectFolder& operator=(const ZEffectFolder&) = delete;
    ~ZEffectFolder()
    {
        std::error_code error;
        fs::current_path(m_before, error);
    }

    /// What is looked into behind it: the folder that it was before, then those of the command line.
    std::string IncludePath(const std::vector<std::string>& folders) const
    {
        std::string sResult = m_before.string();
        for (const std::string& sFolder : folders)
            (sResult += ';') += (m_before / sFolder).string();
        return sResult;
    }

private:
    fs::path m_before;
};

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

void Compile(IFXCompiler& compiler, const SEffectSource& source, SEffectRun& run)
{
    std::string sText;
    if (!ReadEffect(source.sPath, sText, run.sError))
        return;
    ZEffectContext context(run.messages);
    try
    {
        const ZEffectFolder folder(source.sPath);
        run.pEffect =
            compiler.CompileEffect(&context, ToId(source.sName), sText.data(), sText.size(), Defines(source.defines),
                                   ToZString(folder.IncludePath(source.includeFolders)), run.references);
    }
    catch (const zhalt_exception&)
    {
        // Malformed text. The compiler knows more.
    }
    catch (const fs::filesystem_error& e)
    {
        run.sError = e.what();
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

} // namespace

std::string EffectCompilerPath(const std::string& sCompiler)
{
    std::error_code error;
    const std::string sName = sCompiler.empty() ? SAMPLE_COMPILER : sCompiler;
    if (sName.find('/') == std::string::npos && !fs::exists(sName, error))
        return LibraryPath(sName);
    return fs::absolute(sName, error).string();
}

void CompileEffect(const std::string& sLibrary, const SEffectSource& source, SEffectRun& run)
{
    RegisterHostModules();
    LoadModule(sLibrary, FX_COMPILER_MODULE_ENTRY, "effect compiler", "--compiler");
    const TComponentScope<IFXCompiler> compiler(
        CreateComponent<IFXCompiler>(ZString::ReferenceCString(FX_COMPILER_COMPONENT)));
    if (!compiler)
        throw ZHostError("'" + sLibrary + "' does not make the component " + FX_COMPILER_COMPONENT,
                         "its module has to register it under IFXCompiler");
    Compile(*compiler.Get(), source, run);
}

} // namespace Host
