// Hundreds of processes and slices start and end while the library looks for them.
#include "torture/torture.h"

#include <merosystemd/resource.hpp>

#include <sys/mount.h>

#include <fstream>
#include <set>

using namespace MERO::Torture;
using namespace MERO::Systemd;

namespace {

const std::string kMonitor = "/sys/fs/cgroup/meromonitor/", kProgram = "/usr/local/bin/births";

[[noreturn]] void Passing()
{
    for (unsigned number = 0;; ++number) {
        const std::string slice = kMonitor + "passing-" + std::to_string(number % 10) + ".slice";
        std::filesystem::create_directory(slice);
        usleep(2000);
        rmdir(slice.c_str());
    }
}

void LookOnce(Run& run)
{
    Texts services, slices;
    VolumeUnmountPlan plan;
    const auto expect = [&](const std::string& text, const char* pattern) {
        run.Expect(Fits(text, pattern), "found: " + text);
    };
    const char* const kProcess = "(births|dash|sleep)?"; // empty: it has ended; the first one is a script
    run.Expect(MEROSystemdServiceListByMntPath("/vol", services), "the services could not be listed");
    expect(Joined(services), "on.service");
    run.Expect(MEROSystemdVolumeUnmountPlan({"/vol"}, plan), "no plan");
    run.Expect(plan.stops.size() == 1 && plan.blockers.empty(), "the plan is about something else");
    for (const PlannedStop& stop : plan.stops) {
        expect(stop.unit, "on.service");
        for (const VolumeUser& user : stop.causes.at(0).users) {
            expect(user.command, kProcess);
            expect(user.file, "/vol.*");
        }
    }
    run.Expect(MEROSystemdSliceList(slices), "the slices could not be listed");
    const std::set<std::string> unique(slices.begin(), slices.end());
    run.Expect(unique.size() == slices.size(), "a slice is listed twice");
    expect(Joined(unique), "(passing-.\\.slice )*steady.slice");
    const auto processes = Slice("steady.slice").ProcessesGet();
    run.Expect(processes.size() >= 2, "the slice has lost processes");
    for (const Process& process : processes) {
        expect(process.NameGet(), kProcess);
        (void)process.CPUUtilizationGet();
    }
    run.Done();
}

long ResidentPages()
{
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    return pages;
}

} // namespace

MERO_TORTURE(moving_ground, Systemd)
{
    std::filesystem::create_directories("/vol");
    std::filesystem::create_directory(kMonitor + "steady.slice");
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
    const pid_t passing = Fork([]() -> int { Passing(); });
    for (int warmUp = 0; warmUp < 10; ++warmUp) {
        LookOnce(run);
    }
    const std::string before = Footprint();
    const long residentPages = ResidentPages();
    for (const auto begin = Clock::now(); Since(begin) < 60 * run.Scale();) {
        LookOnce(run);
    }
    run.ExpectSame(before, Footprint());
    run.Expect(ResidentPages() <= residentPages + 256, "the memory has grown");
    kill(passing, SIGKILL);
    run.Expect(ResultOf(passing) == 255 && wait(nullptr) < 0, "children are left");
}
