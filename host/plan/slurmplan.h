#pragma once

#include <string>
#include <vector>

namespace Host
{

struct SSlurmPlan
{
    std::string sProgram;
    std::string sModule;
    std::string sAssets; ///< absolute, as all paths here: nodes see them under the same names
    std::string sOut;
    std::string sFarm; ///< for the tasks' output
    std::vector<std::string> platforms;
    size_t nShares = 1;
    unsigned int nCores = 1; ///< of a task
};

/// A script that hands a build in shares to Slurm (https://slurm.schedmd.com/sbatch.html): run by a shell it submits
/// itself once for each stage, each after the one before.
std::string SlurmScript(const SSlurmPlan& plan);

} // namespace Host
