/// What does a start through the library cost? Starts a service that ends by itself on the real systemd: with the
/// library, for a unit without and with a display name, which the event log needs; with `systemctl start` from a shell
/// and without one; and with the same call over D-Bus, which does not wait for the start. Runs inside mero-sandbox.
#include "measure.h"
#include "peer_program.h"
#include "sandbox_units.h"

#include <merosystemd/systemd.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace {

using namespace MERO::Bench;

// Can be started again and again without a stop in between.
const std::string kService = "[Unit]\nStartLimitIntervalSec=0\n[Service]\nType=oneshot\nExecStart=/bin/true\n";

void Library(benchmark::State& state, const std::string& unit)
{
    for (auto _ : state) {
        if (!MEROSystemdStart(unit)) {
            state.SkipWithError("not started");
        }
    }
}

void Program(benchmark::State& state, const std::vector<std::string>& words)
{
    for (auto _ : state) {
        if (!RunProgram(words)) {
            state.SkipWithError("not started");
        }
    }
}

void Call(benchmark::State& state)
{
    for (auto _ : state) {
        if (!RunProgram({"busctl", "call", "org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                         "org.freedesktop.systemd1.Manager", "StartUnit", "ss", "plain.service", "replace"})) {
            state.SkipWithError("not started");
        }
        state.PauseTiming();
        StartUnit("plain.service"); // joins that start and waits for its end
        state.ResumeTiming();
    }
}

void MakeEventLog()
{
    std::filesystem::create_directories("/usr/mero/bin");
    std::filesystem::remove("/usr/mero/bin/merologset");
    std::filesystem::create_symlink("/bin/true", "/usr/mero/bin/merologset");
}

} // namespace

int main(int argc, char* argv[])
{
    Initialize(argc, argv);
    SetUpMachine();
    MakeEventLog();
    WriteUnit("plain.service", kService);
    WriteUnit("named.service", kService + "[X-Tarvix]\nName=Named\n");
    LoadUnits();
    const char* named = "library, with an event";
    const char* shell = "systemctl from sh";
    const char* bare = "systemctl alone";
    const Results results = Measure(
        {
            {"library", [](benchmark::State& state) { Library(state, "plain.service"); }},
            {named, [](benchmark::State& state) { Library(state, "named.service"); }},
            {shell,
             [](benchmark::State& state) {
                 Program(state, {"sh", "-c", "systemctl start plain.service"});
             }},
            {bare,
             [](benchmark::State& state) {
                 Program(state, {"/usr/bin/systemctl", "start", "plain.service"});
             }},
            {"busctl", Call},
        },
        {.iterations = 4, .repetitions = 101});
    const std::string question = "start of a service that ends at once";
    return results.PrintRatio(question, "library", shell, 1.03) &&
                   results.PrintRatio(question + ", with a program for the event log", named, shell, 1.03) &&
                   results.PrintRatio(question, "library", bare, std::nullopt) &&
                   results.PrintRatio(question + ", which busctl does not wait for", "library", "busctl", std::nullopt)
               ? 0
               : 1;
}
