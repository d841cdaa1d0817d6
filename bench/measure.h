#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MERO::Bench {

/// One way to answer a question.
struct Candidate {
    std::string name;
    std::function<void(benchmark::State&)> run;
};

/// How often each candidate runs: `repetitions` samples of `iterations` runs each.
struct Effort {
    int iterations;
    int repetitions;
};

/// The times of candidates that ran in turns, so that noise on the machine affects all of them.
class Results {
public:
    struct Time {
        double median; ///< milliseconds
        double spread; ///< standard deviation divided by the mean
    };

    explicit Results(std::map<std::string, Time> times) : times_(std::move(times)) {}

    /// Prints a row of a Markdown table: the candidate's median divided by the peer's. The ratio must not exceed the
    /// bar; without a bar it is only reported. Returns false if one of them could not be measured.
    bool PrintRatio(const std::string& question, const std::string& name, const std::string& peer,
                    std::optional<double> bar) const;

    /// Prints a point of the plot: the candidate's time at this size.
    bool PrintPoint(const std::string& curve, int size, const std::string& name) const;

private:
    std::map<std::string, Time> times_;
};

Results Measure(const std::vector<Candidate>& candidates, Effort effort);

/// Prints a figure that is not a ratio of times, as a row of the same table.
void PrintFigure(const std::string& question, const std::string& figure);

/// Reads Google Benchmark's options. Call it before the first measurement.
void Initialize(int argc, char* argv[]);

} // namespace MERO::Bench
