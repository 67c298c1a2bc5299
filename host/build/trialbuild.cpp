#include "host/build/trialbuild.h"

#include "host/build/treebuild.h"
#include "host/text/hosterror.h"
#include "os/files.h"
#include "os/interrupt.h"

#include <filesystem>

namespace Host
{

namespace
{

class ZTemporaryFolder
{
public:
    ZTemporaryFolder()
    {
        if (const std::error_code error = Os::MakeTemporaryFolder(m_sPath))
            throw ZHostError("can't make a temporary folder: " + error.message());
    }
    ~ZTemporaryFolder()
    {
        std::error_code error;
        std::filesystem::remove_all(m_sPath, error);
    }
    ZTemporaryFolder(const ZTemporaryFolder&) = delete;
    ZTemporaryFolder& operator=(const ZTemporaryFolder&) = delete;

    const std::string& Path() const { return m_sPath; }

private:
    std::string m_sPath;
};

/// All that matters is in the results.
class ZSilentWatcher final : public IBuildWatcher
{
public:
    void Notice(std::string_view) override {}
    void Error(const ZHostError&) override {}
    void Diagnostic(ESeverity, std::string_view, std::string_view) override {}
    void Progress(size_t, size_t, std::string_view) override {}
};

} // namespace

void TrialBuild(SSessionOptions options, const std::vector<std::string>& words, const std::string& sPlatform,
                const ZJobScheduler::FReport& report)
{
    const Os::ZInterruptNote note; // the folder is to go before the process does
    const ZTemporaryFolder folder;
    options.sOut = folder.Path() + "/packed";
    ZSilentWatcher watcher;
    ZHostSession session(options, watcher, ZHostSession::EUse::eWrites);
    ZTreeBuild(session, watcher, words, {sPlatform}).Run(report);
}

} // namespace Host
