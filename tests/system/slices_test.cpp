#include "system/box.h"

#include <merosystemd/resource.hpp>
#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <thread>

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;
using namespace std::chrono_literals;

namespace {

const std::string kMonitor = "/sys/fs/cgroup/meromonitor/load.slice";

double Number(const std::string& command)
{
    return std::strtod(Shell(command).output.c_str(), nullptr);
}

using RealSlices = Box;

TEST_F(RealSlices, FiguresMatchTheKernels)
{
    Unit("load.slice", "[Slice]\n[X-Tarvix]\nName=Load\n");
    Unit("busy.service", "[Service]\nSlice=load.slice\nExecStart=perl -e '$$x = \"a\" x shift; 1 while 1' 209715200\n");
    Load();
    Shell("systemctl start busy");
    const std::string pid = std::to_string(std::lround(Number("systemctl show --value -p MainPID busy")));
    HasMonitor() ? Shell("mkdir -p " + kMonitor + "/sub; echo " + pid + " > " + kMonitor + "/sub/tasks")
                 : ShellResult();
    ASSERT_TRUE(Comes([&] { return Number("ps -o pss= " + pid) > 200 * 1024; }));

    const auto ticks = [&] { return Number("awk '{ print $14 + $15 }' /proc/" + pid + "/stat"); };
    const auto allTicks = [] {
        return Number("awk 'NR == 1 { for (i = 2; i < 10; ++i) t += $i; print t }' /proc/stat");
    };
    const double before = ticks(), allBefore = allTicks();
    const auto processes = Slice("load.slice").ProcessesGet();
    const double start = ticks(), allStart = allTicks();
    std::vector<std::string> slices;
    ASSERT_TRUE(processes.size() == 1 && MEROSystemdSliceList(slices));
    EXPECT_THAT(slices, Contains("load.slice"));
    const Process& process = *processes.begin();
    EXPECT_EQ(std::to_string(process.PidGet()) + process.NameGet(), pid + "perl");
    const double used = process.CPUTimeGet() * static_cast<double>(sysconf(_SC_CLK_TCK));
    EXPECT_TRUE(used > before - 0.5 && used < start + 0.5) << used;
    for (const std::string& command :
         {"ps -o pss= " + pid, "awk '/^Pss:/ { p += $2 } END { print p }' /proc/" + pid + "/smaps"}) {
        EXPECT_NEAR(static_cast<double>(process.MemoryPssGet()), Number(command), 10 * 1024);
    }
    std::this_thread::sleep_for(1s);
    // The kernel's counts before and after each reading bound the result.
    const double end = ticks(), allEnd = allTicks(), share = process.CPUUtilizationGet();
    const double after = ticks(), allAfter = allTicks();
    EXPECT_GE(share, (end - start) / (allAfter - allBefore));
    EXPECT_LE(share, (after - before) / (allEnd - allStart));
    Shell("systemctl kill -s KILL load.slice");
    EXPECT_TRUE(Comes([] { return Slice("load.slice").ProcessesGet().empty(); }));
    EXPECT_TRUE(Comes([] { return !HasMonitor() || Shell("rmdir " + kMonitor + "/sub " + kMonitor).exitCode == 0; }));
}

/// The calling process' cgroup in systemd's hierarchy, in the monitor's, and the slice that tracks it.
std::string Place()
{
    if (Shell("cat /proc/" + std::to_string(getpid()) + "/task/*/cgroup | sort | uniq -u").output != "") {
        return "the threads are in different cgroups";
    }
    std::string systemd, monitor = "-", slice;
    const bool isSomewhere = MEROSystemdCgroupPathnameGet(getpid(), "name=systemd", systemd) &&
                             (!HasMonitor() || MEROSystemdCgroupPathnameGet(getpid(), "name=meromonitor", monitor));
    const std::size_t scope = std::min(systemd.find("/mero-" + std::to_string(getpid())), systemd.size());
    return isSomewhere ? systemd.substr(0, scope) + (scope < systemd.size() ? "/scope " : " ") + monitor + " " +
                             (MEROSystemdCgroupMonitorSliceGet(slice) ? slice : "none")
                       : "nowhere";
}

TEST_F(RealSlices, ProcessesMoveThemselvesInBothHierarchies)
{
    Unit("bulk.slice", "[Slice]\n");
    Unit("single.slice", "[Slice]\n"); // not in the monitor's hierarchy
    Load();
    Shell("systemctl start bulk.slice single.slice");
    HasMonitor() ? Shell("mkdir /sys/fs/cgroup/meromonitor/bulk.slice") : ShellResult();
    const auto both = MEROSystemdCgroupSystemdSliceMove;
    const auto monitor = MEROSystemdCgroupMonitorSliceMove;
    const std::string home = IsUnified() ? "/mero-sandbox" : "/", scope = IsUnified() ? "/scope" : "";
    // A move and the cgroups after it. Without the monitor's hierarchy the slice is the first folder in systemd's.
    const std::tuple<std::function<bool()>, std::string, std::string> moves[] = {
        {[&] { return both("bulk.slice"); }, "/bulk.slice" + scope, "bulk.slice"},
        {[&] { return monitor("bulk.slice") == HasMonitor(); }, home, HasMonitor() ? "bulk.slice" : "none"},
        {[&] { return both("bulk.slice") && MEROSystemdRunAsSystemProcess(); },
         IsUnified() ? "/system.slice/scope" : "/", HasMonitor() ? "bulk.slice" : "system.slice"},
        {[&] { return both("single.slice") != HasMonitor(); }, "/single.slice" + scope,
         HasMonitor() ? "none" : "single.slice"},
        {[&] { return !both("missing.slice") && !monitor("missing.slice"); }, home, "none"},
    };
    for (const auto& [move, systemd, slice] : moves) { // each in a new process
        const std::string monitors = !HasMonitor() ? "-" : slice == "none" ? "/" : "/" + slice;
        const std::string place = systemd + " " + monitors + " " + slice;
        const auto beMany = [] { std::thread(pause).detach(), std::thread(pause).detach(); };
        EXPECT_EXIT((beMany(), std::cerr << (move() ? Place() : "failed"), _exit(0)), ExitedWithCode(0), Eq(place));
    }
    Shell("rmdir /sys/fs/cgroup/meromonitor/bulk.slice");
}

} // namespace
