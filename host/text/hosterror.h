#pragma once

#include <stdexcept>
#include <string>

namespace Host
{

/// Ends of a run, as scripts see them.
enum EExitCode : int
{
    eExit_Done = 0,
    eExit_AssetsFailed = 1,
    eExit_WrongUsage = 2,
    eExit_HostFailed = 3,
    eExit_Interrupted = 130 ///< as shells tell of a program that Ctrl-C has ended
};

/// The host itself can't go on: ends the run with eExit_HostFailed. The hint says what the user may do.
class ZHostError : public std::runtime_error
{
public:
    explicit ZHostError(const std::string& sWhat, std::string sHint = {})
        : std::runtime_error(sWhat), m_sHint(std::move(sHint))
    {
    }
    const std::string& Hint() const { return m_sHint; }

private:
    std::string m_sHint;
};

/// The command line asks for what there is not: eExit_WrongUsage.
class ZUsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Thrown from a failed assertion: the job that it happened in fails, the process goes on.
struct SAssertionFailed
{
    std::string sExpression;
};

} // namespace Host
