#pragma once

#include "host/adopt/character.h"
#include "host/build/session.h"
#include "host/index/query.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace Host
{

/// When to do something that suits a terminal.
enum class EWhen
{
    eAuto, ///< on a terminal
    eAlways,
    eNever
};

/// The command line, read and checked. Texts that name files or identifiers are as the user wrote them.
struct SOptions
{
    std::string sCommand;

    SSessionOptions session; ///< nothing in it is empty: defaults are filled in
    bool bAssetsGiven = false;
    bool bOutGiven = false;
    std::vector<std::string> platforms;
    bool bPlatformGiven = false;

    bool bJson = false;
    bool bVerbose = false;
    bool bQuiet = false;  ///< people are told of errors only
    std::string sLogFile; ///< where all is told as well; empty: nowhere
    EWhen eColor = EWhen::eAuto;
    EWhen eProgress = EWhen::eAuto;

    std::vector<std::string> sources; ///< of scan and build; one for pack, inspect and scene
    bool bScanData = false;           ///< of scan: its blobs are written too
    std::string sExtension;
    std::vector<std::string> parameters;
    std::vector<uint32_t> frames;
    bool bStackGiven = false;
    std::string sStack;
    std::vector<double> seconds;
    std::vector<int64_t> ticks;

    SQuestion query;
    bool bScanFirst = false; ///< of query: the index is brought up to date

    // Of stats.
    std::string sSaveId; ///< empty: nothing is saved
    size_t nTop = 10;    ///< of the largest animations, how many are listed

    // Of build.
    bool bForesee = false; ///< only tells what would be done
    bool bExplain = false;
    bool bWatch = false;
    std::string sStage; ///< of a build in shares; empty: none
    unsigned int nShare = 0;

    std::string sDepFile;      ///< of pack; empty: none
    bool bBesideGiven = false; ///< whoever runs pack sees to what comes and goes beside the source
    std::string sBeside;

    // Of plan.
    std::string sFormat;
    std::string sOutput; ///< empty: standard output
    unsigned int nShares = 0;
    unsigned int nCores = 1; ///< of a task

    // Of adopt.
    std::string sFolder; ///< below --assets; empty: the character's name
    std::string sName;   ///< empty: made of the files' names
    ERoot eRoot = ERoot::eChosen;
    bool bKeepGeometry = false;
    bool bDryRun = false;

    // Of verify; infinite: no bound.
    double fMaxMillimetres = std::numeric_limits<double>::infinity();
    double fMaxDegrees = std::numeric_limits<double>::infinity();

    // Of export and view.
    std::string sOutputFile;
    bool bSource = false; ///< what the scene says, not what was packed

    // Of effect.
    std::vector<std::string> includeFolders;
    std::vector<std::string> defines; ///< NAME=VALUE, or NAME
    std::string sCompiler;            ///< empty: the sample
};

/// True: run the command. False: `nExitCode` is what the program ends with; help, version or the message have been
/// printed.
bool ReadCommandLine(int nArguments, const char* const* ppArguments, SOptions& options, int& nExitCode);

/// `-t:pc`, as the pipeline spells it, is `--target=pc` to everything else here.
std::vector<std::string> NormalizeArguments(int nArguments, const char* const* ppArguments);

} // namespace Host
