/// What does reading a command's output cost? 100,000 lines from a systemctl that is a `cat`, passed to the callback,
/// against the same `cat` into memory; and how that grows with the lines.
#include "measure.h"
#include "peer_program.h"

#include <merosystemd/systemd.hpp>

#include <malloc.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

using namespace MERO::Bench;

/// Writes the lines that systemctl prints.
void WriteLines(const std::string& folder, int lines)
{
    std::ofstream text(folder + "/lines", std::ios::trunc);
    for (int line = 0; line < lines; ++line) {
        text << "  session-" << line << ".scope loaded active running Session " << line << " of User root\n";
    }
}

void Library(benchmark::State& state, int lines)
{
    for (auto _ : state) {
        const bool done = MEROSystemdSystemctl("list-units", {}, [&](int exitCode, const auto& output) {
            return exitCode == 0 && output.size() == static_cast<std::size_t>(lines);
        });
        if (!done) {
            state.SkipWithError("lines are missing");
        }
    }
}

void Cat(benchmark::State& state)
{
    for (auto _ : state) {
        std::string output;
        if (!ReadProgram({"/usr/bin/systemctl"}, output)) {
            state.SkipWithError("cat cannot be run");
        }
    }
}

} // namespace

int main(int argc, char* argv[])
{
    Initialize(argc, argv);
    // Makes both get their memory from the kernel each time, whichever runs first: half of the time goes there.
    mallopt(M_MMAP_THRESHOLD, 128 * 1024);
    const std::string folder = "/tmp/bench-output-lines";
    std::filesystem::create_directories(folder);
    const std::string systemctl = folder + "/systemctl";
    std::ofstream(systemctl, std::ios::trunc) << "#!/bin/sh\nexec cat " << folder << "/lines\n";
    std::filesystem::permissions(systemctl, std::filesystem::perms::owner_all);
    ReplaceSystemctl(systemctl);
    bool done = true;
    for (int lines : {1'000, 10'000, 100'000}) {
        WriteLines(folder, lines);
        const Results results = Measure(
            {
                {"library", [&](benchmark::State& state) { Library(state, lines); }},
                {"cat into memory", Cat},
            },
            {.iterations = 200'000 / lines, .repetitions = 15});
        done = results.PrintPoint("lines of output", lines, "library") && done;
        if (lines == 100'000) {
            done = results.PrintRatio("100,000 lines of output", "library", "cat into memory", 1.5) && done;
        }
    }
    std::filesystem::remove_all(folder);
    return done ? 0 : 1;
}
