/// What does one metadata key of a unit cost among 500 unit files, against opening and reading its file once? And how
/// does that grow with the number of unit files? Runs inside mero-sandbox.
#include "measure.h"

#include <merosystemd/systemd.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace {

using namespace MERO::Bench;

std::string UnitName(int number)
{
    return "bench-" + std::to_string(number) + ".service";
}

void WriteUnit(const std::string& folder, int number)
{
    std::ofstream(folder + UnitName(number))
        << "[Unit]\nDescription=Bench\nAfter=network.target\n\n[Service]\nExecStart=/bin/sleep "
           "infinity\nRestart=always\n"
        << "\n[X-Tarvix]\nName=Bench " << number << "\nPackedIn=bench\n\n[Install]\nWantedBy=multi-user.target\n";
}

void Library(benchmark::State& state, const std::string& unit)
{
    std::string name;
    for (auto _ : state) {
        if (!MEROSystemdNameGet(unit, name)) {
            state.SkipWithError("the unit has no name");
        }
    }
}

void BareRead(benchmark::State& state, const std::string& path)
{
    static char text[64 * 1024];
    for (auto _ : state) {
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        while (read(file, text, sizeof text) > 0) {
        }
        close(file);
    }
}

} // namespace

int main(int argc, char* argv[])
{
    Initialize(argc, argv);
    bool done = true;
    int written = 0;
    for (const std::string folder = "/usr/lib/systemd/system/"; int files : {1, 10, 100, 500}) {
        for (; written < files; ++written) {
            WriteUnit(folder, written);
        }
        const std::string unit = UnitName(files / 2);
        const Results results = Measure(
            {
                {"library", [&](benchmark::State& state) { Library(state, unit); }},
                {"one open and read", [&](benchmark::State& state) { BareRead(state, folder + unit); }},
            },
            {.iterations = 5'000, .repetitions = 21});
        done = results.PrintPoint("a metadata key, by unit files", files, "library") && done;
        if (files == 500) {
            done =
                results.PrintRatio("a metadata key among 500 unit files", "library", "one open and read", 1.5) && done;
        }
    }
    return done ? 0 : 1;
}
