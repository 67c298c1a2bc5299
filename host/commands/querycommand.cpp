#include "host/build/session.h"
#include "host/commands/commands.h"
#include "host/show/querytext.h"
#include "host/state/buildstate.h"
#include "host/text/hosterror.h"
#include "os/interrupt.h"

#include <filesystem>
#include <set>

namespace Host
{

namespace
{

void TellAge(const SOptions& options, ZConsole& console, ZBuildState& state)
{
    const std::string sRoot = options.bAssetsGiven ? options.session.sAssets : state.Assets();
    std::error_code error;
    if (!std::filesystem::is_directory(sRoot, error))
        return console.Notice("the asset tree '" + sRoot + "' of the index is not there");
    const std::string sAge = AgeText(AgeOf(state.ScannedSources(), ZAssetTree(sRoot)));
    if (!sAge.empty())
        console.Notice("the index is behind the asset tree: sources " + sAge + "; --scan brings it up to date");
}

/// Of the properties that the question names those that nothing has.
void TellUnknownNames(const ZQuery& query, ZConsole& console, ZBuildState& state)
{
    std::set<std::string> unknown;
    for (const auto& [sName, bSeen] : query.NamedProperties())
        if (!bSeen)
            unknown.insert(sName);
    if (query.LookedAt() == 0 || unknown.empty())
        return;
    std::set<std::string> names{"id", "source", "name", "kind"};
    state.VisitEntries(
        [&names](const ZScanIndex::SEntry& entry)
        {
            for (const auto& [sKey, sValue] : entry.properties)
                names.insert(sKey);
        });
    for (const std::string& sName : unknown)
    {
        const std::string sNearest = NearestName(sName, {names.begin(), names.end()});
        console.Notice("warning: no entry has a property '" + sName + "'" +
                       (sNearest.empty() ? "" : "; is '" + sNearest + "' meant?"));
    }
}

} // namespace

int RunQuery(const SOptions& options, ZConsole& console)
{
    ZQuery query(options.query);
    const bool bAllScanned =
        !options.bScanFirst ||
        ZHostSession(options.session, console, ZHostSession::EUse::eReads).Scan({}, [](const SJobResult&) {});
    if (Os::Interrupted())
        return eExit_Interrupted;
    const std::string& sOut = options.session.sOut;
    const std::string sFile = sOut + '/' + STATE_FILE;
    std::error_code error;
    if (!std::filesystem::exists(sFile, error))
        throw ZHostError("there is no index in '" + sOut + "'",
                         "'animpack scan --out " + sOut +
                             "' makes one, 'animpack build' does so too; or is it in another folder?");
    ZBuildState state(sFile);
    size_t nSources = 0;
    state.VisitEntries(
        [&](ZScanIndex::SEntry& entry)
        {
            nSources += entry.bIsSource;
            query.Look(entry);
        });
    if (nSources == 0)
        console.Notice("the index in '" + sOut + "' is empty; 'animpack scan' fills it");
    else if (!options.bScanFirst)
        TellAge(options, console, state);
    TellUnknownNames(query, console, state);

    std::vector<ZScanIndex::SEntry> found = query.TakeFound();
    const size_t nFound = found.size();
    if (options.query.nLimit != 0 && nFound > options.query.nLimit)
        found.resize(options.query.nLimit);
    if (console.IsJson())
        for (const ZScanIndex::SEntry& entry : found)
            console.Output(EntryLine(entry, options.query.columns));
    else if (!found.empty())
        console.Output(EntriesTable({options.query, found, query.NamedProperties()}));
    console.Summary(std::to_string(nFound) + " of " + std::to_string(query.LookedAt()) +
                        (query.LookedAt() == 1 ? " entry" : " entries") +
                        (found.size() < nFound ? ", " + std::to_string(found.size()) + " shown" : std::string()),
                    true);
    return bAllScanned ? eExit_Done : eExit_AssetsFailed;
}

} // namespace Host
