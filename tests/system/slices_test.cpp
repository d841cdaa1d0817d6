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
    EXPECT_TRUE(Comes([] { return Shell("rmdir " + kMonitor + "/sub " + kMonitor).exitCode == 0; }));
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

TEST_F(RealSlices, ProcessesMoveThemselvesInTheHierarchies)
{
    Unit("bulk.slice", "[Slice]\n");
    Unit("single.slice", "[Slice]\n"); // the monitor does not have it
    Load();
    Shell("systemctl start bulk.slice single.slice; mkdir /sys/fs/cgroup/meromonitor/bulk.slice");
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
