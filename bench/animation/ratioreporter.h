#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// Prints, behind the usual table, what the run says about the ratios between its rows. Other work on the machine slows
/// all rows alike; rows of different runs can't be compared.
class ZRatioReporter : public benchmark::ConsoleReporter
{
public:
    using TPairs = std::vector<std::pair<std::string, std::string>>;

    /// Rows by name, without their arguments: the first is set against the second.
    explicit ZRatioReporter(TPairs pairs) : m_pairs(std::move(pairs)) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (!run.error_occurred && (m_seconds.count(Name(run)) == 0 || Seconds(run) < m_seconds[Name(run)]))
                m_seconds[Name(run)] = Seconds(run);
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        for (const auto& [name, reference] : m_pairs)
            if (m_seconds.count(name) != 0 && m_seconds.count(reference) != 0)
                std::printf("%-22s takes %6.3f of the time of %s\n", name.c_str(),
                            m_seconds[name] / m_seconds[reference], reference.c_str());
    }

private:
    static std::string Name(const Run& run) { return run.run_name.function_name; }
    static double Seconds(const Run& run) { return run.GetAdjustedCPUTime(); }

    TPairs m_pairs;
    std::map<std::string, double> m_seconds; ///< of repetitions the fastest
};
