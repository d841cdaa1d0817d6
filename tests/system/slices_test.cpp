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

const std::string kMonitor = "/sys/fs/cgroup/meromonitor/load.slice", kSystemd = "/sys/fs/cgroup/systemd/load.slice";

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
    Shell("mkdir -p " + kMonitor + "/sub; systemctl start busy");
    const std::string pid =
        std::to_string(std::lround(Number("systemctl show --value -p MainPID busy | tee " + kMonitor + "/sub/tasks")));
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
    EXPECT_TRUE(Comes([] { return Shell("cat " + kMonitor + "/sub/tasks").output.empty(); }));
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
    EXPECT_TRUE(Comes([] { return Shell("find " + kSystemd + " -name cgroup.procs | xargs cat").output.empty(); }));
    EXPECT_TRUE(MEROSystemdKillSlice("load.slice", [](KillPhase) { FAIL() << "there is nothing to kill"; }));
}

/// The calling process' cgroup of systemd's, that of the monitor's, and the slice that it is accounted to.
std::string Place()
{
    if (Shell("cat /proc/" + std::to_string(getpid()) + "/task/*/cgroup | sort | uniq -u").output != "") {
        return "the threads are not together";
    }
    std::string systemd, monitor, slice;
    return MEROSystemdCgroupPathnameGet(getpid(), "name=systemd", systemd) &&
                   MEROSystemdCgroupPathnameGet(getpid(), "name=meromonitor", monitor)
               ? systemd + " " + monitor + " " + (MEROSystemdCgroupMonitorSliceGet(slice) ? slice : "none")
               : "nowhere";
}

using RealCgroups = Box;

TEST_F(RealCgroups, ProcessesAreFoundAndMoveThemselvesInTheHierarchies)
{
    Unit("bulk.slice", "[Slice]\n");
    Unit("single.slice", "[Slice]\n"); // the monitor does not have it
    Unit("web.service", "[Service]\nExecStart=/bin/sleep infinity\n");
    Load();
    Shell("systemctl start bulk.slice single.slice web; mkdir /sys/fs/cgroup/meromonitor/bulk.slice");
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
    const std::pair<std::function<bool()>, std::string> moves[] = {
        {[&] { return both("bulk.slice"); }, "/bulk.slice /bulk.slice bulk.slice"},
        {[&] { return monitor("bulk.slice"); }, "/ /bulk.slice bulk.slice"},
        {[&] { return both("bulk.slice") && MEROSystemdRunAsSystemProcess(); }, "/ /bulk.slice bulk.slice"},
        {[&] { return !both("single.slice"); }, "/single.slice / none"},
        {[&] { return !both("missing.slice") && !monitor("missing.slice"); }, "/ / none"},
    };
    for (const auto& [move, place] : moves) { // in a process of its own each
        const auto beMany = [] { std::thread(pause).detach(), std::thread(pause).detach(); };
        EXPECT_EXIT((beMany(), std::cerr << (move() ? Place() : "not so"), _exit(0)), ExitedWithCode(0), Eq(place));
    }
    Shell("rmdir /sys/fs/cgroup/meromonitor/bulk.slice");
}

} // namespace
