/// Does starting a unit cost more in a caller with much memory? Starts a real unit from a small process and from the
/// same process with 4 GiB resident, in turns, and prints both medians and their ratio. Runs inside mero-sandbox.
#include "median_reporter.h"

#include <merosystemd/systemd.hpp>

#include <benchmark/benchmark.h>

#include <sys/mman.h>

#include <chrono>
#include <cstdio>
#include <fstream>

namespace {

constexpr const char* kUnit = "bench-caller-memory.service";
constexpr const char* kSmall = "small caller";
constexpr const char* kLarge = "caller with 4 GiB resident";
constexpr std::size_t kGiB = std::size_t{1} << 30;

/// Resident memory in ordinary pages, which is what a fork has to copy the tables of.
class ResidentMemory {
public:
    explicit ResidentMemory(std::size_t size) : size_(size)
    {
        if (size_ == 0) {
            return;
        }
        memory_ = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory_ == MAP_FAILED || madvise(memory_, size_, MADV_NOHUGEPAGE) != 0 ||
            madvise(memory_, size_, MADV_POPULATE_WRITE) != 0) {
            std::perror("no memory to make resident");
            std::exit(1);
        }
    }
    ResidentMemory(const ResidentMemory&) = delete;
    ResidentMemory& operator=(const ResidentMemory&) = delete;
    ~ResidentMemory()
    {
        if (size_ != 0) {
            munmap(memory_, size_);
        }
    }

private:
    void* memory_ = nullptr;
    std::size_t size_;
};

void StartUnit(benchmark::State& state, std::size_t resident)
{
    const ResidentMemory memory(resident);
    // Making that much memory resident leaves the processor's caches cold; that is not what is asked here.
    for (int warmUp = 0; warmUp < 3; ++warmUp) {
        (void)(MEROSystemdStart(std::string(kUnit)) && MEROSystemdStop(std::string(kUnit)));
    }
    for (auto _ : state) {
        const auto begin = std::chrono::steady_clock::now();
        const bool started = MEROSystemdStart(std::string(kUnit));
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
        if (!started || !MEROSystemdStop(std::string(kUnit))) {
            state.SkipWithError("the unit could not be started and stopped: is this inside mero-sandbox?");
            break;
        }
    }
}

} // namespace

int main(int argc, char* argv[])
{
    benchmark::SetDefaultTimeUnit(benchmark::kMillisecond);
    for (const auto& [name, resident] : {std::pair{kSmall, std::size_t{0}}, std::pair{kLarge, 4 * kGiB}}) {
        benchmark::RegisterBenchmark(name, StartUnit, resident)
            ->UseManualTime()->Iterations(20)->Repetitions(11)->ReportAggregatesOnly();
    }
    MERO::Bench::InitializeInterleaved(argc, argv);
    std::ofstream("/run/systemd/system/" + std::string(kUnit)) << "[Service]\nExecStart=/bin/sleep infinity\n";
    MERO::Bench::MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.PrintRatio(kLarge, kSmall) ? 0 : 1;
}
