#include "base/misc/utf8.h"
#include "host/build/session.h"
#include "host/build/whatthereis.h"
#include "host/commands/commands.h"
#include "host/files/derivedkinds.h"
#include "host/files/outputpath.h"
#include "host/files/outputplace.h"
#include "host/files/resourceids.h"
#include "host/plan/depfile.h"
#include "host/show/jobtext.h"
#include "host/text/hosterror.h"
#include "host/text/jsonwriter.h"
#include "os/interrupt.h"

#include <algorithm>
#include <filesystem>

namespace Host
{

namespace
{

constexpr std::string_view RIG_EXTENSION = "animationrig";

/// What is packed of a rig: for one that reads packed rigs, and knows them by no other name.
ZResourceID PackedRig(const ZResourceID& rig, const std::string& sPlatform)
{
    return rig.IsDerived() ? rig : rig.CreateDerivedResourceID(ToZString(RIG_EXTENSION), "", ToZString(sPlatform));
}

std::vector<SJob> JobsOf(const SOptions& options, const ZAssetTree& tree, const std::string& sSource)
{
    std::vector<SJob> jobs;
    for (const std::string& sPlatform : options.platforms)
    {
        std::string sParameters;
        for (const std::string& sParameter : options.parameters)
            sParameters.append(sParameters.empty() ? "" : "|")
                .append(options.sExtension != "metarig" ? sParameter
                                                        : ToStd(PackedRig(ToId(tree.IdOf(sParameter)), sPlatform)));
        const ZResourceID source = options.sExtension == "rigxml" ? PackedRig(ToId(sSource), sPlatform) : ToId(sSource);
        const ZResourceID id =
            source.CreateDerivedResourceID(ToZString(options.sExtension), ToZString(sParameters), ToZString(sPlatform));
        if (!id.IsValid())
            throw ZUsageError("'" + sSource + "' is no identifier of a source");
        jobs.push_back({SJob::ePack, CanonicalId(id)});
    }
    return jobs;
}

/// For make and ninja: what the packed files were made of.
void WriteDepFile(const SOptions& options, ZConsole& console, ZHostSession& session, const std::vector<SJob>& jobs,
                  const std::string& sPlace)
{
    std::vector<std::string> ids, targets, leftOut;
    for (const SJob& job : jobs)
    {
        ids.push_back(job.sId);
        targets.push_back(session.Out() + '/' + OutputPathOf(ToId(job.sId)));
    }
    ZHostSession::SInputs inputs = session.InputsOf(ids);
    const std::filesystem::path source = session.Tree().Find(ToId(jobs.front().sId)).sPath;
    for (const std::string& sAbsent : inputs.absent)
    {
        const std::filesystem::path absent = sAbsent;
        if (!options.bBesideGiven || ToLower(absent.stem().string()) != ToLower(source.stem().string()) ||
            ToLower(absent.parent_path().string()) != ToLower(source.parent_path().string()))
            inputs.files.push_back(FolderToWatch(sAbsent));
    }
    WriteIfOther(sPlace, DepFileText(targets, inputs.files, leftOut));
    for (const std::string& sName : leftOut)
        console.Diagnostic(ESeverity::eWarning, sName, "has a name that no depfile can hold, and is left out of it");
}

} // namespace

int RunPack(const SOptions& options, ZConsole& console)
{
    const SDerivedKind* pKind = FindDerivedKind(options.sExtension);
    if (pKind == nullptr)
    {
        std::string sKnown;
        for (const SDerivedKind& kind : DerivedKinds())
            if (!kind.component.empty())
                sKnown += (sKnown.empty() ? "" : ", ") + std::string(kind.extension);
        throw ZUsageError("nothing is packed as '" + options.sExtension + "'; there are " + sKnown);
    }
    if (options.sExtension == "metarig" && options.parameters.empty())
        throw ZUsageError("a metarig is merged of the rigs that --param names, and none is named");
    ZHostSession session(options.session, console, ZHostSession::EUse::eWrites);
    const std::string sSource = session.Tree().IdOf(options.sources.front());
    if (options.sources.front().starts_with('/') &&
        session.Tree().Find(ToId(sSource)).eState == ZAssetTree::SLookup::eMissing)
        throw ZUsageError("'" + options.sources.front() + "' is not in the asset tree '" + session.Tree().Root() + "'");
    if (!IsUtf8(sSource))
        throw ZUsageError("'" + sSource + "': its name is no UTF-8, so there is no identifier for it");
    if (!ToId(sSource).IsValid())
        throw ZUsageError("'" + sSource + "' is no identifier of a source: " + NO_IDENTIFIER);
    const std::string sDepFile =
        options.sDepFile.empty() ? std::string() : OutputPlaceOfReader(options.sDepFile, session.Tree(), session.Out());
    const std::vector<SJob> jobs = JobsOf(options, session.Tree(), sSource);

    bool bAllGood = true;
    std::string sFiles;
    std::vector<SJobResult> failed;
    const auto tell = [&](const SJobResult& result)
    {
        console.Job(result);
        if (console.IsJson())
            console.Output(JobLine(result, session.Out()));
    };
    session.Run(jobs,
                [&](const SJobResult& result)
                {
                    const bool bAskedFor = std::any_of(
                        jobs.begin(), jobs.end(), [&result](const SJob& job) { return job.sId == result.job.sId; });
                    if (bAskedFor && !result.IsGood())
                        return failed.push_back(result);
                    tell(result);
                    if (bAskedFor)
                        sFiles += session.Out() + '/' + result.sFile + '\n';
                });
    for (SJobResult& result : failed)
    {
        bAllGood = false;
        if (const std::string sHint = WhatThereIs(session, result.job); !sHint.empty())
            result.messages.push_back({ESeverity::eError, sHint});
        tell(result);
    }
    if (Os::Interrupted())
        return eExit_Interrupted;
    if (!options.sDepFile.empty() && bAllGood)
        WriteDepFile(options, console, session, jobs, sDepFile);
    if (!console.IsJson() && !options.bQuiet && !sFiles.empty())
        console.Output(sFiles);
    return bAllGood ? eExit_Done : eExit_AssetsFailed;
}

} // namespace Host
