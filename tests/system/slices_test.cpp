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
const std::string kSystemd = IsUnified() ? "/sys/fs/cgroup/load.slice" : "/sys/fs/cgroup/systemd/load.slice";

double Number(const std::string& command)
{
    return std::strtod(Shell(command).output.c_str(), nullptr);
}

struct RealSlices : Box {
    ~RealSlices() override { Shell("rmdir " + kMonitor + "/sub " + kMonitor); }
};

TEST_F(RealSlices, FiguresAreThoseOfTheKernel)
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
    ASSERT_EQ(processes.size(), 1U);
    const Process& process = *processes.begin();
    EXPECT_EQ(std::to_string(process.PidGet()) + process.NameGet(), pid + "perl");
    const double used = process.CPUTimeGet() * static_cast<double>(sysconf(_SC_CLK_TCK));
    EXPECT_TRUE(used > before - 0.5 && used < start + 0.5) << used;
    for (const std::string& command :
         {"ps -o pss= " + pid, "awk '/^Pss:/ { p += $2 } END { print p }' /proc/" + pid + "/smaps"}) {
        EXPECT_NEAR(static_cast<double>(process.MemoryPssGet()), Number(command), 10 * 1024);
    }
    std::this_thread::sleep_for(1s);
    // What the kernel counted before and after each reading bounds what the reading can have seen.
    const double end = ticks(), allEnd = allTicks(), share = process.CPUUtilizationGet();
    const double after = ticks(), allAfter = allTicks();
    EXPECT_GE(share, (end - start) / (allAfter - allBefore));
    EXPECT_LE(share, (after - before) / (allEnd - allStart));
    Shell("systemctl kill -s KILL load.slice");
    EXPECT_TRUE(Comes([] { return Slice("load.slice").ProcessesGet().empty(); }));
}

TEST_F(RealSlices, StubbornProcessesAreKilled)
{
    Unit("load-deep.slice", "[Slice]\n");
    Unit("load.slice", "[Slice]\n[X-Tarvix]\nSliceKillTimeoutSec=1\n");
    Unit("stubborn.service", "[Service]\nSlice=load.slice\nKillMode=none\nExecStart=/bin/sh -c "
                             "'trap \"echo asked >> /run/asked\" TERM; : > /run/asked; while :; do sleep 0.1; done'\n");
    Unit("deep.service", "[Service]\nSlice=load-deep.slice\nExecStart=/bin/sleep infinity\n");
    Load();
    Shell("rm -f /run/asked; systemctl start stubborn deep");
    ASSERT_TRUE(Comes([] { return Shell("cat /run/asked").exitCode == 0; }));
    std::string states;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(MEROSystemdKillSlice("load.slice", [&](KillPhase) { states += ActiveState("stubborn") + " "; }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
    EXPECT_EQ(states + ActiveState("deep"), "active inactive inactive inactive inactive");
    EXPECT_EQ(Shell("cat /run/asked").output, "asked\n");
    EXPECT_TRUE(Comes(
        [] { return Shell("find " + kSystemd + " -name cgroup.procs 2> /dev/null | xargs cat").output.empty(); }));
    EXPECT_TRUE(MEROSystemdKillSlice("load.slice", [](KillPhase) { FAIL() << "there is nothing to kill"; }));
}

/// The calling process' cgroup of systemd's, that of the monitor's, and the slice that it is accounted to.
std::string Place()
{
    if (Shell("cat /proc/" + std::to_string(getpid()) + "/task/*/cgroup | sort | uniq -u").output != "") {
        return "the threads are not together";
    }
    std::string systemd, monitor = "-", slice;
    const bool isSomewhere = MEROSystemdCgroupPathnameGet(getpid(), "name=systemd", systemd) &&
                             (!HasMonitor() || MEROSystemdCgroupPathnameGet(getpid(), "name=meromonitor", monitor));
    const std::size_t scope = std::min(systemd.find("/mero-" + std::to_string(getpid())), systemd.size());
    return isSomewhere ? systemd.substr(0, scope) + (scope < systemd.size() ? "/scope " : " ") + monitor + " " +
                             (MEROSystemdCgroupMonitorSliceGet(slice) ? slice : "none")
                       : "nowhere";
}

using RealCgroups = Box;

TEST_F(RealCgroups, ProcessesAreFoundAndMoveThemselvesInTheHierarchies)
{
    Unit("bulk.slice", "[Slice]\n");
    Unit("single.slice", "[Slice]\n"); // the monitor does not have it
    Unit("web.service", "[Service]\nExecStart=/bin/sleep infinity\n");
    Load();
    Shell("systemctl start bulk.slice single.slice web");
    HasMonitor() ? Shell("mkdir /sys/fs/cgroup/meromonitor/bulk.slice") : ShellResult();
    const auto unitOf = [](const std::string& pid) {
        std::string unit = "none";
        return MEROSystemdGetByPid(std::stoi(pid), unit) == (unit != "none") ? unit : "contradiction";
    };
    EXPECT_EQ(unitOf(Shell("systemctl show --value -p MainPID web").output), "web.service");
    EXPECT_EQ(unitOf("1"), "init.scope");
    EXPECT_EQ(unitOf(std::to_string(getpid())), "none") << "it is in the root";
    EXPECT_EQ(unitOf(Shell("echo $$").output), "none") << "it has ended";

    const auto both = MEROSystemdCgroupSystemdSliceMove;
    const auto monitor = MEROSystemdCgroupMonitorSliceMove;
    const std::string home = IsUnified() ? "/mero-sandbox" : "/", scope = IsUnified() ? "/scope" : "";
    // A move, and the cgroups after it; without the monitor's hierarchy its slice is the first folder of systemd's.
    const std::tuple<std::function<bool()>, std::string, std::string> moves[] = {
        {[&] { return both("bulk.slice"); }, "/bulk.slice" + scope, "bulk.slice"},
        {[&] { return monitor("bulk.slice") == HasMonitor(); }, home, HasMonitor() ? "bulk.slice" : "none"},
        {[&] { return both("bulk.slice") && MEROSystemdRunAsSystemProcess(); },
         IsUnified() ? "/system.slice/scope" : "/", HasMonitor() ? "bulk.slice" : "system.slice"},
        {[&] { return both("single.slice") != HasMonitor(); }, "/single.slice" + scope,
         HasMonitor() ? "none" : "single.slice"},
        {[&] { return !both("missing.slice") && !monitor("missing.slice"); }, home, "none"},
    };
    for (const auto& [move, systemd, slice] : moves) { // in a process of its own each
        const std::string monitors = !HasMonitor() ? "-" : slice == "none" ? "/" : "/" + slice;
        const std::string place = systemd + " " + monitors + " " + slice;
        const auto beMany = [] { std::thread(pause).detach(), std::thread(pause).detach(); };
        EXPECT_EXIT((beMany(), std::cerr << (move() ? Place() : "not so"), _exit(0)), ExitedWithCode(0), Eq(place));
    }
    Shell("rmdir /sys/fs/cgroup/meromonitor/bulk.slice");
}

} // namespace
