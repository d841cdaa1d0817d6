/// What does the library add to one systemctl run, and does that grow with the caller's memory? MEROSystemdShow with a
/// systemctl that ends immediately, from a small process and from one with 4 GiB resident, against a bare start of that
/// program with its output read.
#include "measure.h"
#include "peer_program.h"

#include <merosystemd/systemd.hpp>

#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using namespace MERO::Bench;

constexpr std::size_t kGiB = std::size_t{1} << 30;

/// Resident memory in ordinary pages, whose tables a fork would have to copy.
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

void Show(benchmark::State& state, std::size_t resident)
{
    const ResidentMemory memory(resident);
    const std::string unit = "nfs.service";
    std::string value;
    // Making so much memory resident leaves the processor's caches cold, which is not to be measured.
    for (int warmUp = 0; warmUp < 20; ++warmUp) {
        (void)MEROSystemdShow(unit, "Id", value);
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(MEROSystemdShow(unit, "Id", value));
    }
}

void BareSpawn(benchmark::State& state)
{
    std::string output;
    for (auto _ : state) {
        if (!ReadProgram({"/usr/bin/systemctl", "show", "--property", "Id", "nfs.service"}, output)) {
            state.SkipWithError("systemctl cannot be run");
        }
    }
}

} // namespace

int main(int argc, char* argv[])
{
    Initialize(argc, argv);
    ReplaceSystemctl("/bin/true");
    const char* small = "MEROSystemdShow";
    const char* large = "MEROSystemdShow, 4 GiB resident";
    const Results results = Measure(
        {
            {small, [](benchmark::State& state) { Show(state, 0); }},
            {large, [](benchmark::State& state) { Show(state, 4 * kGiB); }},
            {"bare posix_spawn", BareSpawn},
        },
        {.iterations = 100, .repetitions = 31});
    return results.PrintRatio("one systemctl that ends at once", small, "bare posix_spawn", 1.10) &&
                   results.PrintRatio("the same in a large caller", large, small, 1.30)
               ? 0
               : 1;
}
