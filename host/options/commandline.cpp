#include "host/options/commandline.h"

#include "host/module/moduleloader.h"
#include "host/options/commandoptions.h"
#include "host/options/manual.h"
#include "host/options/optionchecks.h"
#include "host/text/failureline.h"
#include "host/text/hosterror.h"
#include "host/text/words.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <map>
#include <thread>

namespace Host
{

namespace
{

/// Comma separated numbers. Throws what CLI11 turns into wrong usage.
template <class T>
void ParseList(const std::string& sName, const std::string& sText, std::vector<T>& values)
{
    size_t nStart = 0;
    while (nStart <= sText.size())
    {
        const size_t nEnd = std::min(sText.find(',', nStart), sText.size());
        T value{};
        const auto [pEnd, error] = std::from_chars(sText.data() + nStart, sText.data() + nEnd, value);
        if (error != std::errc() || pEnd != sText.data() + nEnd || !std::isfinite(static_cast<double>(value)))
            throw CLI::ValidationError(sName, "'" + sText.substr(nStart, nEnd - nStart) + "' is no number here");
        values.push_back(value);
        nStart = nEnd + 1;
    }
}

const std::map<std::string, EWhen> WHEN{{"auto", EWhen::eAuto}, {"always", EWhen::eAlways}, {"never", EWhen::eNever}};

const std::map<std::string, ERoot> ROOTS{
    {"", ERoot::eChosen}, {"floor", ERoot::eFloor}, {"static", ERoot::eStatic}, {"keep", ERoot::eKeep}};

void FillIn(const CLI::App& app, SOptions& options, const SRawOptions& raw)
{
    const CLI::App& command = *app.get_subcommands().front();
    options.sCommand = command.get_name();
    if (options.sCommand == "pack" || options.sCommand == "inspect" || options.sCommand == "scene" ||
        options.sCommand == "effect")
        options.sources = {raw.sSource};
    if (options.sCommand == "diff")
        options.sources = {raw.sMarks, raw.sMarked};
    if (options.sCommand == "mark")
        options.sources = {raw.sSource, raw.sMarks, raw.sMarked};
    if (std::find(options.sources.begin(), options.sources.end(), "") != options.sources.end())
        throw CLI::ValidationError(options.sCommand, "an empty word names nothing");
    RefuseEmptyNames(command);
    if (options.sCommand == "view" && options.sOutputFile.empty())
        options.sOutputFile = "animpack.html";
    options.eRoot = ROOTS.at(raw.sRoot);
    options.eColor = WHEN.at(raw.sColor);
    options.eProgress = WHEN.at(raw.sProgress);
    options.session.bExplain = options.bExplain || options.bJson || !options.sLogFile.empty();
    options.session.nMemoryLimit = raw.nMemoryMegabytes << 20;
    const CLI::Option* pJobs = command.get_option_no_throw("--jobs");
    options.nCores = pJobs != nullptr && pJobs->count() != 0 ? options.session.nWorkers : 1;
    if (options.sFormat == "slurm" && options.nShares == 0)
        throw CLI::RequiredError("-n: into how many shares the tree is divided");
    if ((options.sStage == "rigs" || options.sStage == "takes") == (options.nShare == 0))
        if (!options.sStage.empty() || options.nShare != 0)
            throw CLI::ValidationError("--share", "the stages rigs and takes are done of one share, the others of all");
    options.session.bShare = !options.sStage.empty() && options.sStage != "finish";
    const CLI::Option* pBeside = command.get_option_no_throw("--beside");
    options.bBesideGiven = pBeside != nullptr && pBeside->count() != 0;
    options.bPlatformGiven = !options.platforms.empty();
    const CLI::Option* pOut = command.get_option_no_throw("--out");
    options.bOutGiven = pOut != nullptr && pOut->count() != 0;
    if (options.platforms.empty())
        options.platforms = {"pc"};
    std::error_code error;
    std::replace(options.query.kinds.begin(), options.query.kinds.end(), std::string("character"),
                 std::string("chartype"));
    options.bAssetsGiven = !options.session.sAssets.empty();
    if (options.session.sAssets.empty())
        options.session.sAssets = std::filesystem::is_directory("assembly", error) ? "assembly" : ".";
    options.session.bMakeOut = !options.bForesee && (options.bOutGiven || options.sources.empty());
    if (options.session.sModule.empty())
        options.session.sModule = DefaultModulePath();
    if (options.sCommand == "inspect" && command.count("--frames") != 0)
        ParseList("--frames", raw.sFrames, options.frames);
    if (options.sCommand == "scene")
    {
        options.bStackGiven = command.count("--stack") != 0;
        if (command.count("--at") != 0)
            ParseList("--at", raw.sAt, options.seconds);
        if (command.count("--ticks") != 0)
            ParseList("--ticks", raw.sTicks, options.ticks);
    }
}

} // namespace

std::vector<std::string> NormalizeArguments(int nArguments, const char* const* ppArguments)
{
    std::vector<std::string> arguments(ppArguments + std::min(nArguments, 1), ppArguments + nArguments);
    for (std::string& sArgument : arguments)
    {
        if (sArgument == "--")
            break;
        if (sArgument.starts_with("-t:"))
            sArgument = "--target=" + sArgument.substr(3);
    }
    return arguments;
}

namespace
{

/// The first word is a command's name, or nothing.
void CheckCommand(const CLI::App& app, const std::vector<std::string>& arguments)
{
    const auto it = std::find_if(arguments.begin(), arguments.end(),
                                 [](const std::string& sWord) { return !sWord.starts_with('-'); });
    std::vector<std::string> names;
    for (const CLI::App* pCommand : app.get_subcommands({}))
        names.push_back(pCommand->get_name());
    std::string sAll;
    for (const std::string& sName : names)
        sAll += (sAll.empty() ? "" : ", ") + sName;
    if (it == arguments.end())
    {
        std::vector<std::string> unknown;
        for (const std::string& sWord : arguments)
            if (sWord != "--json" && app.get_option_no_throw(sWord) == nullptr)
                unknown.push_back(sWord);
        if (const std::string sWhy = TellUnexpected(app, unknown); !sWhy.empty())
            throw CLI::ParseError(sWhy, CLI::ExitCodes::ExtrasError);
        if (std::count(arguments.begin(), arguments.end(), "--json") == std::ssize(arguments))
            throw CLI::ParseError("a command is missing; there are " + sAll, CLI::ExitCodes::RequiredError);
        return;
    }
    if (std::find(names.begin(), names.end(), *it) != names.end())
        return;
    const std::string sNearest = NearestName(*it, names);
    throw CLI::ParseError("there is no command '" + *it + "'" +
                              (sNearest.empty() ? "; there are " + sAll : "; is '" + sNearest + "' meant?"),
                          CLI::ExitCodes::ExtrasError);
}

} // namespace

namespace
{

SOptionHelp HelpOf(const CLI::Option& option)
{
    SOptionHelp help;
    for (const std::string& sName : option.get_snames())
        help.names.push_back('-' + sName);
    for (const std::string& sName : option.get_lnames())
        help.names.push_back("--" + sName);
    if (help.names.empty())
        help.names.push_back(option.get_name());
    help.sText = option.get_description();
    help.bValue = option.get_expected_max() > 0 && option.get_type_size() > 0;
    // "TEXT:{auto,always,never}"
    const std::string sType = option.get_type_name();
    if (const size_t nOpen = sType.find('{'), nClose = sType.rfind('}'); nOpen < nClose && nClose != std::string::npos)
        for (size_t n = nOpen + 1; n < nClose;)
        {
            const size_t nEnd = std::min(sType.find(',', n), nClose);
            help.choices.push_back(sType.substr(n, nEnd - n));
            n = nEnd + 1;
        }
    return help;
}

SCommandHelp HelpOf(const CLI::App& app, bool bProgram)
{
    SCommandHelp help{bProgram ? std::string() : app.get_name(), app.get_description(), {}, {}, app.get_footer()};
    for (const CLI::Option* pOption : app.get_options())
        (pOption->get_positional() ? help.words : help.options).push_back(HelpOf(*pOption));
    return help;
}

/// For the installation: "help --format man" and so on, from the very words that --help shows. Empty for anything else.
std::string ManualFor(const CLI::App& app, const std::vector<std::string>& arguments)
{
    if (arguments.size() != 3 || arguments[0] != "help" || arguments[1] != "--format")
        return {};
    std::vector<SCommandHelp> commands{HelpOf(app, true)};
    for (const CLI::App* pCommand : app.get_subcommands({}))
        commands.push_back(HelpOf(*pCommand, false));
    const std::string& sFormat = arguments[2];
    return sFormat == "man"    ? ManPage(commands, ANIMPACK_VERSION)
           : sFormat == "bash" ? BashCompletion(commands)
           : sFormat == "zsh"  ? ZshCompletion(commands)
           : sFormat == "fish" ? FishCompletion(commands)
                               : std::string();
}

int PrintedCode()
{
    if (std::cout.flush())
        return eExit_Done;
    std::cerr << "animpack: error: standard output can't be written to\n";
    return eExit_HostFailed;
}

} // namespace

bool ReadCommandLine(int nArguments, const char* const* ppArguments, SOptions& options, int& nExitCode)
{
    CLI::App app("Packs the animations and rigs of FBX scenes for a game's runtime.", "animpack");
    app.set_version_flag("--version", "animpack " ANIMPACK_VERSION);
    app.set_help_all_flag("--help-all", "Print the options of all commands and exit");
    app.require_subcommand(1);
    options.session.sOut = "./packed";
    options.session.nWorkers = std::max(1u, std::thread::hardware_concurrency());
    options.session.fJobTimeout = 600.0;
    SRawOptions raw;
    AddCommands(app, options, raw);
    std::vector<std::string> arguments = NormalizeArguments(nArguments, ppArguments);
    if (const std::string sManual = ManualFor(app, arguments); !sManual.empty())
    {
        std::cout << sManual;
        nExitCode = PrintedCode();
        return false;
    }
    // As other programs have it: "help build" is "build --help".
    if (!arguments.empty() && arguments.front() == "help")
    {
        arguments.erase(arguments.begin());
        arguments.emplace_back("--help");
    }
    // Also where the words that come before it can't be understood.
    const bool bJson = std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
    try
    {
        CheckCommand(app, arguments);
        std::reverse(arguments.begin(), arguments.end());
        app.parse(arguments);
        FillIn(app, options, raw);
        return true;
    }
    catch (const CLI::Success& e)
    {
        // Help and version.
        app.exit(e, std::cout, std::cerr);
        nExitCode = PrintedCode();
    }
    catch (const CLI::ParseError& e)
    {
        const auto commands = app.get_subcommands();
        std::string sWhy = e.what();
        if (dynamic_cast<const CLI::ExtrasError*>(&e) != nullptr)
            if (const std::string sUnexpected =
                    TellUnexpected(commands.empty() ? app : *commands.front(), app.remaining(true));
                !sUnexpected.empty())
                sWhy = sUnexpected;
        if (bJson)
            std::cout << FailureLine({}, sWhy, {}) << std::endl;
        std::cerr << "animpack: error: " << sWhy << "\nTry 'animpack "
                  << (commands.empty() ? std::string() : commands.front()->get_name() + ' ') << "--help'.\n";
        nExitCode = eExit_WrongUsage;
    }
    return false;
}

} // namespace Host
