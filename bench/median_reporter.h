#pragma once

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace MERO::Bench {

/// The console's report, and the medians for ratios. Times are in milliseconds.
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

    /// Prints both medians and how many times the second goes into the first. False when one has no median: it was left
    /// out, or did not come to its end.
    bool PrintRatio(const std::string& name, const std::string& other) const
    {
        const auto median = medians_.find(name);
        const auto otherMedian = medians_.find(other);
        if (median == medians_.end() || otherMedian == medians_.end()) {
            std::fprintf(stderr, "no ratio of %s to %s: not both came to an end\n", name.c_str(), other.c_str());
            return false;
        }
        std::printf("median of %s %.2f ms, of %s %.2f ms: ratio %.3f\n", name.c_str(), median->second, other.c_str(),
                    otherMedian->second, median->second / otherMedian->second);
        std::fflush(stdout);
        return true;
    }

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
