#pragma once

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

namespace MERO::Bench {

/// The console's report, and the medians for ratios.
class MedianReporter : public benchmark::ConsoleReporter {
public:
    MedianReporter() : ConsoleReporter(isatty(STDOUT_FILENO) != 0 ? OO_ColorTabular : OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.aggregate_name == "median") {
                medians_[run.run_name.function_name] = run.GetAdjustedRealTime();
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    /// In the benchmarks' time unit; not a number when the benchmark did not come to its end.
    double Median(const std::string& name) const
    {
        const auto median = medians_.find(name);
        return median != medians_.end() ? median->second : std::nan("");
    }
    double Ratio(const std::string& name, const std::string& other) const { return Median(name) / Median(other); }

private:
    std::map<std::string, double> medians_;
};

/// benchmark::Initialize, with the repetitions of all benchmarks run in turns: the machine's moods meet all of them.
inline void InitializeInterleaved(int argc, char* argv[])
{
    static std::string inTurns = "--benchmark_enable_random_interleaving=true";
    static std::vector<char*> arguments(argv, argv + argc);
    arguments.push_back(inTurns.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
}

} // namespace MERO::Bench
