#pragma once

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

/// Of query. Each list narrows what is found; of the patterns in one list any will do.
struct SQueryOptions
{
    std::vector<std::string> conditions; ///< all have to hold
    std::vector<std::string> names;
    std::vector<std::string> sources;
    std::vector<std::string> uses;
    std::vector<std::string> kinds; ///< as extensions of sub-resources, or "source"
    std::vector<std::string> columns;
    std::string sSort;
    bool bReverse = false;
    size_t nLimit = 0; ///< 0: no limit
    bool bScan = false;
};

/// The command line, read and checked. Texts that name files or identifiers are as the user wrote them.
struct SOptions
{
    std::string sCommand;

    std::string sAssets; ///< never empty: the default is filled in
    bool bAssetsGiven = false;
    std::string sOut;
    bool bOutGiven = false;
    std::string sModule;
    std::vector<std::string> platforms;
    bool bPlatformGiven = false;

    unsigned int nWorkers = 1;
    double fJobTimeout = 0.0;
    uint64_t nMemoryLimit = 0; ///< bytes
    bool bForce = false;

    bool bJson = false;
    bool bVerbose = false;
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

    SQueryOptions query;

    // Of stats.
    std::string sSaveId; ///< empty: nothing is saved
    size_t nTop = 10;    ///< of the largest animations, how many are listed

    // Of verify; infinite: no bound.
    double fMaxMillimetres = std::numeric_limits<double>::infinity();
    double fMaxDegrees = std::numeric_limits<double>::infinity();

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
