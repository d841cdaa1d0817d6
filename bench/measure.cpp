#include "measure.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace MERO::Bench {
namespace {

/// Reports on standard error and keeps the medians: standard output is for the rows of the table.
class Reporter : public benchmark::ConsoleReporter {
public:
    Reporter() : ConsoleReporter(isatty(STDERR_FILENO) != 0 ? OO_ColorTabular : OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            const std::string& name = run.run_name.function_name;
            if (run.aggregate_name == "median") {
                times[name].median = run.GetAdjustedRealTime();
            } else if (run.aggregate_name == "cv") {
                times[name].spread = run.real_accumulated_time;
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    std::map<std::string, Results::Time> times;
};

} // namespace

bool Results::PrintRatio(const std::string& question, const std::string& name, const std::string& peer,
                         std::optional<double> bar) const
{
    const auto time = times_.find(name);
    const auto other = times_.find(peer);
    if (time == times_.end() || other == times_.end()) {
        std::fprintf(stderr, "no ratio of %s to %s: not both came to an end\n", name.c_str(), peer.c_str());
        return false;
    }
    const double ratio = time->second.median / other->second.median;
    char text[64] = "-";
    if (bar) {
        std::snprintf(text, sizeof text, "%.2f%s", *bar, ratio <= *bar ? "" : " missed");
    }
    std::printf("| %s | %s | %.3g ms ± %.0f%% | %s | %.3g ms ± %.0f%% | %.2f | %s |\n", question.c_str(), name.c_str(),
                time->second.median, 100 * time->second.spread, peer.c_str(), other->second.median,
                100 * other->second.spread, ratio, text);
    std::fflush(stdout);
    return true;
}

bool Results::PrintPoint(const std::string& curve, int size, const std::string& name) const
{
    const auto time = times_.find(name);
    if (time == times_.end()) {
        std::fprintf(stderr, "no point of %s at %d: it did not come to an end\n", curve.c_str(), size);
        return false;
    }
    std::printf("point\t%s\t%d\t%g\n", curve.c_str(), size, time->second.median);
    std::fflush(stdout);
    return true;
}

Results Measure(const std::vector<Candidate>& candidates, Effort effort)
{
    for (const Candidate& candidate : candidates) {
        benchmark::RegisterBenchmark(candidate.name.c_str(), candidate.run)
            ->Iterations(effort.iterations)
            ->Repetitions(effort.repetitions)
            ->ReportAggregatesOnly()
            ->UseRealTime();
    }
    Reporter reporter;
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::ClearRegisteredBenchmarks();
    return Results(std::move(reporter.times));
}

void PrintFigure(const std::string& question, const std::string& figure)
{
    std::printf("| %s | %s | | | | | - |\n", question.c_str(), figure.c_str());
    std::fflush(stdout);
}

void Initialize(int argc, char* argv[])
{
    static std::string inTurns = "--benchmark_enable_random_interleaving=true";
    static std::vector<char*> arguments(argv, argv + argc);
    arguments.push_back(inTurns.data());
    int count = static_cast<int>(arguments.size());
    benchmark::SetDefaultTimeUnit(benchmark::kMillisecond);
    benchmark::Initialize(&count, arguments.data());
}

} // namespace MERO::Bench
