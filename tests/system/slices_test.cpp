#include "system/box.h"

#include <merosystemd/resource.hpp>
#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
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

/// What the kernel has counted at a time.
struct Counted {
    explicit Counted(int pid) : folder("/proc/" + std::to_string(pid)) {}
    std::string folder;
    double processor = Number("awk '{ print $14 + $15 }' " + folder + "/stat");
    double machine = Number("awk 'NR == 1 { print $2 + $3 + $4 + $5 + $6 + $7 + $8 + $9 }' /proc/stat");
    double read = Number("awk '/^read_bytes/ { print $2 }' " + folder + "/io");
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
};

struct RealSlices : Box {
    ~RealSlices() override { Shell("rmdir " + kMonitor + "/sub " + kMonitor); }
};

TEST_F(RealSlices, FiguresAreThoseOfTheKernel)
{
    Unit("load.slice", "[Slice]\n[X-Tarvix]\nName=Load\n");
    Unit("busy.service", "[Service]\nSlice=load.slice\nExecStart=/bin/sh -c 'while :; do :; done'\n");
    Unit("big.service", "[Service]\nSlice=load.slice\nExecStart=perl -e '$$x = \"a\" x shift; sleep' 209715200\n");
    Load();
    // Only the host's files are on a disk, and they cannot be written. A shell counts what its children have read.
    Shell("mkdir -p " + kMonitor +
          "/sub; systemctl start busy big; systemd-run --scope -u reader --slice=load.slice"
          " sh -c 'while :; do dd if=/usr/bin/perl of=/run/copy bs=64k iflag=direct; done' > /dev/null 2>&1 &");
    const std::string tasks = " | tee -a " + kMonitor, first = "head -n 1 " + kSystemd + "/reader.scope/cgroup.procs";
    ASSERT_TRUE(Comes([&] { return Number(first) > 0; }));
    const int busy = static_cast<int>(Number("systemctl show --value -p MainPID busy" + tasks + "/tasks"));
    const int big = static_cast<int>(Number("systemctl show --value -p MainPID big" + tasks + "/sub/tasks"));
    const int reader = static_cast<int>(Number(first + tasks + "/sub/tasks"));
    const std::string ofBig = "ps -o pss= " + std::to_string(big);
    ASSERT_TRUE(Comes([&] { return Counted(reader).read > 0 && Number(ofBig) > 200 * 1024; }));

    const std::vector pids{busy, big, reader};
    std::vector<Counted> before(pids.begin(), pids.end());
    const Slice slice("load.slice");
    const std::vector<Counted> start(pids.begin(), pids.end());
    std::this_thread::sleep_for(1s);
    const auto processes = slice.ProcessesGet();
    for (std::size_t i = 0; i < pids.size(); ++i) {
        const auto process = std::ranges::find(processes, pids[i], &Process::PidGet);
        ASSERT_NE(process, processes.end()) << i;
        EXPECT_EQ(process->NameGet() + "\n", Shell("basename $(readlink -f " + start[i].folder + "/exe)").output);
        const double ticks = process->CPUTimeGet() * static_cast<double>(sysconf(_SC_CLK_TCK));
        EXPECT_TRUE(ticks > before[i].processor - 0.5 && ticks < start[i].processor + 0.5) << i << " " << ticks;
        if (pids[i] == big) {
            const double pss = Number("awk '/^Pss:/ { sum += $2 } END { print sum }' " + start[i].folder + "/smaps");
            EXPECT_NEAR(static_cast<double>(process->MemoryPssGet()), pss, pss / 20);
            EXPECT_NEAR(static_cast<double>(process->MemoryPssGet()), Number(ofBig), pss / 20);
        }
        // What the kernel counted before and after each reading bounds what the reading can have seen.
        const Counted end(pids[i]);
        const double share = process->CPUUtilizationGet(), read = process->IOUtilizationGet().first;
        const Counted after(pids[i]);
        const auto isBound = [&](double figure, auto what, auto per) {
            return figure >= (end.*what - start[i].*what) / (after.*per - before[i].*per) &&
                   figure <= (after.*what - before[i].*what) / (end.*per - start[i].*per);
        };
        EXPECT_TRUE(isBound(share, &Counted::processor, &Counted::machine)) << i << " " << share;
        EXPECT_TRUE(isBound(read, &Counted::read, &Counted::seconds)) << i << " " << read;
    }
    Shell("systemctl kill -s KILL load.slice");
    EXPECT_TRUE(Comes([] { return Shell("cat " + kMonitor + "/tasks " + kMonitor + "/sub/tasks").output.empty(); }));
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
