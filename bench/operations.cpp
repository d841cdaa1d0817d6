/// Runs one of the library's main operations several times, so that bench/system_calls can count its system calls.
/// Without arguments it prints their names, one per line. Runs inside mero-sandbox.
#include <merosystemd/resource.hpp>
#include <merosystemd/systemd.hpp>

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

const std::string kUnit = "bench-operations.service";

struct Operation {
    const char* name;
    std::function<bool()> run;
};

const Operation kOperations[] = {
    {"start one unit", [] { return MEROSystemdStart(kUnit); }},
    {"start ten units",
     [] {
         Texts failed;
         return MEROSystemdStart(Texts(10, kUnit), failed);
     }},
    {"try-restart", [] { return MEROSystemdTryRestart(kUnit); }},
    {"reload", [] { return MEROSystemdReloadOrRestart(kUnit); }},
    {"enable", [] { return MEROSystemdEnable(kUnit); }},
    {"show a property",
     [] {
         std::string value;
         return MEROSystemdShow(kUnit, "Id", value);
     }},
    {"active status", [] { return MEROSystemdActiveStatusGet(kUnit) >= 0; }},
    {"list of jobs",
     [] {
         std::map<std::uint32_t, MERO::Systemd::JobInfo> jobs;
         return MEROSystemdIntJobList(jobs);
     }},
    {"a metadata key",
     [] {
         std::string name;
         return MEROSystemdNameGet(kUnit, name);
     }},
    {"stop by reason", [] { return MEROSystemdServiceStopByReason("bench", kUnit); }},
    {"start by reason", [] { return MEROSystemdServiceStartByReason("bench", kUnit); }},
    {"register a volume", [] { return MEROSystemdVolumeRegister(kUnit, "/volume1"); }},
    {"is a volume registered", [] { return MEROSystemdVolumeIsRegisteredByUnit(kUnit, {"/volume1"}); }},
    {"volume dependency",
     [] {
         MERO_SYSTEMD_VOLUME_DEPENDENCY dependency;
         return MEROSystemdVolumeDependencyGet(kUnit, dependency);
     }},
    {"isolation state",
     [] {
         MERO::Systemd::IsolateState state;
         return MEROSystemdIsolateStateGet(state);
     }},
    {"unit of a process",
     [] {
         std::string unit;
         return MEROSystemdGetByPid(getpid(), unit) || true; // a process without a unit costs the same
     }},
    {"snapshot of a process", [] { return MERO::Systemd::Process(getpid()).PidGet() > 0; }},
};

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 3) {
        for (const Operation& operation : kOperations) {
            std::puts(operation.name);
        }
        return 0;
    }
    for (const Operation& operation : kOperations) {
        for (int run = 0; argv[1] == std::string(operation.name) && run < std::atoi(argv[2]); ++run) {
            if (!operation.run()) {
                std::fprintf(stderr, "%s failed\n", operation.name);
                return 1;
            }
        }
    }
    return 0;
}
