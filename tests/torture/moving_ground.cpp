// Processes and slices are born and die by the hundred while they are looked for.
#include "support/child.h"
#include "torture/torture.h"

#include <merosystemd/resource.hpp>
#include <merosystemd/systemd.hpp>

#include <sys/mount.h>

#include <fstream>
#include <set>

namespace MERO::Torture {

const char* const kName = "moving_ground";
const Place kPlace = Place::Systemd;

namespace {

using namespace Systemd;
namespace fs = std::filesystem;

const std::string kMonitor = "/sys/fs/cgroup/meromonitor/", kProgram = "/usr/local/bin/births";

[[noreturn]] void Passing()
{
    for (unsigned number = 0;; ++number) {
        const std::string slice = kMonitor + "passing-" + std::to_string(number % 10) + ".slice";
        fs::create_directory(slice);
        usleep(2000);
        rmdir(slice.c_str());
    }
}

bool IsKnown(const std::string& command)
{
    const bool hasEnded = command.empty();
    return hasEnded || command == "births" || command == "dash" || command == "sleep"; // the first runs as a script
}

void LookOnce(Run& run)
{
    Texts services, slices;
    VolumeUnmountPlan plan;
    run.Expect(MEROSystemdServiceListByMntPath("/vol", services), "the services could not be listed");
    run.Expect(services == Texts{"on.service"}, "users of the volume: " + Joined(services));
    run.Expect(MEROSystemdVolumeUnmountPlan({"/vol"}, plan), "no plan");
    run.Expect(plan.stops.size() == 1 && plan.stops[0].unit == "on.service", "the plan stops something else");
    for (const PlannedStop& stop : plan.stops) {
        for (const StopCause& cause : stop.causes) {
            for (const VolumeUser& user : cause.users) {
                run.Expect(IsKnown(user.command) && user.file.starts_with("/vol"),
                           "a user: [" + user.command + "] " + user.file);
            }
        }
    }
    for (const VolumeBlocker& blocker : plan.blockers) {
        run.Expect(false, "in the way: [" + blocker.unit + "] [" + blocker.user.command + "] " + blocker.user.file);
    }
    run.Expect(MEROSystemdSliceList(slices), "the slices could not be listed");
    const std::set<std::string> unique(slices.begin(), slices.end());
    const auto isKnown = [](const std::string& slice) {
        return slice == "steady.slice" || (slice.starts_with("passing-") && slice.size() == 15);
    };
    run.Expect(unique.contains("steady.slice") && unique.size() == slices.size() &&
                   std::ranges::all_of(slices, isKnown),
               "slices: " + Joined(slices));
    const auto processes = Slice("steady.slice").ProcessesGet();
    run.Expect(processes.size() >= 2, "the slice has lost processes");
    for (const Process& process : processes) {
        run.Expect(IsKnown(process.NameGet()), "a process: " + process.NameGet());
        (void)process.CPUUtilizationGet();
    }
    run.Done();
}

long ResidentKb()
{
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

} // namespace

void Torture(Run& run)
{
    fs::create_directories("/vol");
    fs::create_directory(kMonitor + "steady.slice");
    run.Expect(mount("torture", "/vol", "tmpfs", 0, nullptr) == 0, "no volume");
    Machine::WriteProgram(kProgram,
                          "cd $1 && echo $$ > " + kMonitor +
                              "steady.slice/tasks && while sleep 0.02; do sleep 0.02 & (sleep 0.03; :) & done");
    Machine::Write(kUnits + "steady.slice", "[Slice]\n[X-Tarvix]\nName=Steady\n");
    Machine::Write(kUnits + "on.service", "[Service]\nExecStart=" + kProgram + " /vol\n");
    Machine::Write(kUnits + "off.service", "[Service]\nExecStart=" + kProgram + " /run\n");
    MEROSystemdDaemonReload();
    Texts failed;
    run.Expect(MEROSystemdStart({"on", "off"}, failed), "the services did not start");
    run.Expect(Comes(10s, [] { return Slice("steady.slice").ProcessesGet().size() > 4; }), "nothing is born");
    const pid_t passing = Test::Fork([]() -> int { Passing(); });
    for (int warmUp = 0; warmUp < 10; ++warmUp) {
        LookOnce(run);
    }
    const std::string before = Footprint();
    const long residentKb = ResidentKb();
    for (const auto begin = Clock::now(); Since(begin) < 60 * run.Scale();) {
        LookOnce(run);
    }
    run.Expect(Difference(before, Footprint()).empty(), Difference(before, Footprint()));
    run.Expect(ResidentKb() <= residentKb + 1024, "the memory has grown");
    Kill(passing);
    run.Expect(HasNoChild(), "children are left");
    MEROSystemdStop({"on", "off"}, failed);
}

} // namespace MERO::Torture
