#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MERO::Bench {

/// One way of answering a question.
struct Candidate {
    std::string name;
    std::function<void(benchmark::State&)> run;
};

/// How often each candidate is run: `repetitions` samples of `iterations` runs each.
struct Effort {
    int iterations;
    int repetitions;
};

/// What candidates took that were run in turns: the machine's moods meet all of them.
class Results {
public:
    struct Time {
        double median; ///< milliseconds
        double spread; ///< standard deviation by mean
    };

    explicit Results(std::map<std::string, Time> times) : times_(std::move(times)) {}

    /// Prints how many times the peer's median goes into the candidate's as a row of a Markdown table. The bar is the
    /// ratio that must not be exceeded; without one it is only reported. False when one of them could not be measured.
    bool PrintRatio(const std::string& question, const std::string& name, const std::string& peer,
                    std::optional<double> bar) const;

    /// Prints a point of the plot: what the candidate takes at this size.
    bool PrintPoint(const std::string& curve, int size, const std::string& name) const;

private:
    std::map<std::string, Time> times_;
};

Results Measure(const std::vector<Candidate>& candidates, Effort effort);

/// Prints a figure that is no ratio of times as a row of the same table.
void PrintFigure(const std::string& question, const std::string& figure);

/// Reads the options of Google Benchmark. Before the first measurement.
void Initialize(int argc, char* argv[]);

} // namespace MERO::Bench
