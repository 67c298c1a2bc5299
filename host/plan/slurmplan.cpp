#include "host/plan/slurmplan.h"

#include "host/plan/shellword.h"

namespace Host
{

namespace
{

constexpr const char HEAD[] = R"(#!/bin/sh
# Written by animpack plan. Builds the tree on a Slurm cluster:
#
#   sh THIS            submits the build and prints the number of its last job
#   sh THIS --wait     and waits for that; ends as a build on one machine does
#
# Partition, account and the like come from the environment, as SBATCH_PARTITION and SBATCH_ACCOUNT. Nodes see the
# program, the tree and the output folder under the names below. What tasks say stands in the output folder, in farm/.
# Shares that are done stay done when it is submitted again.
set -eu
)";

constexpr const char BODY[] = R"(
stage() { # name, what it comes after, options
  name=$1 after=$2
  shift 2
  sbatch --parsable --requeue --open-mode=append --cpus-per-task="$cores" --job-name="animpack-$name" \
    ${after:+--dependency=afterany:$after} "$@" "$self" "$name"
}

case ${1:-} in
'' | --wait)
  self=$0
  rigs=$(stage rigs '' --array="1-$shares" --output="$said/rigs-%a.out")
  gather=$(stage gather "$rigs" --output="$said/gather.out")
  takes=$(stage takes "$gather" --array="1-$shares" --output="$said/takes-%a.out")
  status=0
  stage finish "$takes" --output="$said/finish.out" "$@" || status=$?
  if [ "${1:-}" = --wait ]; then cat "$out/farm/finish.out"; fi
  exit "$status"
  ;;
rigs | takes) set -- --farm "$1" --share "$SLURM_ARRAY_TASK_ID" ;;
gather | finish) set -- --farm "$1" ;;
*)
  echo "usage: sh $0 [--wait]" >&2
  exit 2
  ;;
esac

status=0
build "$@" || status=$?
# 1 is an asset that failed, as it would anywhere. The rest is a death, which a second try may get over; of a node that
# dies Slurm starts the tasks again by itself.
if [ "$status" -gt 1 ] && [ "${SLURM_RESTART_COUNT:-0}" -lt 3 ]; then
  echo "ended with $status, once more" >&2
  scontrol requeue "$SLURM_JOB_ID" && sleep 60
fi
exit "$status"
)";

/// sbatch reads % as the start of a pattern.
std::string Pattern(const std::string& sPath)
{
    std::string sPattern;
    for (const char c : sPath)
        sPattern += c == '%' ? std::string("%%") : std::string(1, c);
    return sPattern;
}

} // namespace

std::string SlurmScript(const SSlurmPlan& plan)
{
    std::string sText = HEAD;
    sText += "\nout=" + ShellWord(plan.sOut) + "\nsaid=" + ShellWord(Pattern(plan.sFarm)) +
             "\nshares=" + std::to_string(plan.nShares) + "\ncores=" + std::to_string(plan.nCores) + "\nbuild() {\n  " +
             ShellWord(plan.sProgram) + " build -q -j \"$cores\" --assets " + ShellWord(plan.sAssets) +
             " --out \"$out\" --module " + ShellWord(plan.sModule);
    for (const std::string& sPlatform : plan.platforms)
        sText += " -t:" + sPlatform;
    return sText + " \"$@\"\n}\n" + BODY;
}

} // namespace Host
