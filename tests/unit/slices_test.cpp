#include "support/child.h"
#include "support/operations.h"
#include "support/sleeps.h"
#include "support/waiting.h"

#include <merosystemd/resource.hpp>

#include <sched.h>
#include <sys/mount.h>

#include <algorithm>
#include <thread>

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;

namespace {

const std::string kSystemd = "/sys/fs/cgroup/systemd/", kMonitor = "/sys/fs/cgroup/meromonitor/", kNone = "none";
const std::string kPid = std::to_string(getpid()), kOwn = "/proc/" + kPid + "/cgroup";

struct Slices : Machine {
    Slices() { Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n"); }
    ~Slices() override
    {
        umount2(kOwn.c_str(), MNT_DETACH), fs::remove_all("/sys/fs");
        sleeps.areCounted[0] = false, duringSleep = nullptr;
    }
    static void SetKeys(const std::string& slice, const std::string& keys)
    {
        Write("/usr/lib/systemd/system/" + slice, "[X-Tarvix]\n" + keys);
    }
    /// The ID of the process' other thread, which reads the log.
    static std::string Thread()
    {
        fs::directory_iterator threads("/proc/self/task");
        return (threads->path().filename() == kPid ? ++threads : threads)->path().filename();
    }
    static std::set<int> Pids(const std::set<Process>& processes)
    {
        std::set<int> pids;
        std::ranges::transform(processes, std::inserter(pids, pids.end()), &Process::PidGet);
        return pids;
    }
};

TEST_F(Slices, AreReadFromTheCgroupsOfProcesses)
{
    struct Case {
        std::string lines, path, unit = kNone, slice = kNone; ///< the path for the controllers "cpu,cpuacct"
    };
    const Case cases[] = {
        {"2:cpu,cpuacct:/a b\n1:name=systemd:/a.slice/nfs.service\n0::/x.service\n", "/a b", "nfs.service"},
        {"1:cpu,cpuacct:/a:b\n1:name=systemd:/a.slice/b@c.d.service\n3:cpu,cpuacct:/c", "/c", "b@c.d.service"},
        {"2:cpu:/x.service\n0::/nfs.service\n1:name=meromonitor:/a.slice/b.slice\n", kNone, kNone, "a.slice"},
        {"\n1:name=systemd:/\n0::/a.service\n2:name=meromonitor:/b/a.slice\n1:cpu,cpuacct:/\n", "/"},
        {"1:name=systemd:/a:b.service\n0::/c.service\n2:name=meromonitor:/a.service\n", kNone},
        {"1:name=systemd:/user.slice\n2:name=meromonitor:/\n", kNone, "user.slice"},
        {"1:name=systemd:/a.service/worker", kNone},
        {"1:name=meromonitor:/longer.slice", kNone, kNone, "longer.slice"},
    };
    Write("/run/cgroup", "");
    ASSERT_EQ(mount("/run/cgroup", kOwn.c_str(), nullptr, MS_BIND, nullptr), 0);
    for (const Case& c : cases) {
        Write("/run/cgroup", c.lines);
        std::string path = kNone, unit = kNone, slice = kNone;
        char buffer[8] = "none";
        EXPECT_TRUE(MEROSystemdCgroupPathnameGet(getpid(), "cpu,cpuacct", path) == (c.path != kNone) && path == c.path)
            << path;
        EXPECT_TRUE(MEROSystemdGetByPid(getpid(), unit) == (c.unit != kNone) && unit == c.unit) << unit;
        EXPECT_TRUE(MEROSystemdCgroupMonitorSliceGet(slice) == (c.slice != kNone) && slice == c.slice) << slice;
        EXPECT_EQ(MEROCSystemdCgroupMonitorSliceGet(buffer, 8), c.slice == "a.slice") << "the other is too long";
        EXPECT_EQ(buffer, c.slice == "a.slice" ? c.slice : kNone);
    }
    // The file system decides, not named hierarchies that nobody uses.
    fs::create_directories("/sys/fs/cgroup");
    ASSERT_EQ(mount("cgroup2", "/sys/fs/cgroup", "cgroup2", 0, nullptr), 0);
    Write("/run/cgroup", "2:name=meromonitor:/\n1:name=systemd:/\n0::/a.slice/nfs.service\n");
    for (const std::string dialect : {"classic", "current"}) {
        Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=" + dialect + "\n");
        std::string unit, slice, path;
        const bool isFound = MEROSystemdGetByPid(getpid(), unit) && MEROSystemdCgroupMonitorSliceGet(slice);
        EXPECT_TRUE(MEROSystemdCgroupPathnameGet(getpid(), "name=systemd", path));
        EXPECT_EQ(unit + slice + path, isFound ? "nfs.servicea.slice/a.slice/nfs.service" : "/");
        EXPECT_EQ(isFound, dialect == "current");
    }
    umount("/sys/fs/cgroup");
    std::string text;
    EXPECT_FALSE(MEROSystemdGetByPid(2147483647, text) || MEROSystemdCgroupPathnameGet(-1, "", text));
}

TEST_F(Slices, TheCallerMovesOnlyIntoExistingSlices)
{
    const std::string systemd = kSystemd + "a.slice/tasks", monitor = kMonitor + "a.slice/tasks";
    const std::string root = kSystemd + "tasks", failed = "ERR Failed to write pid[" + kPid + "] to ";
    const std::string moved = kPid + Thread(); // in this order
    Write(monitor, "");
    EXPECT_FALSE(MEROSystemdCgroupSystemdSliceMove("a.slice") || !Read(monitor).empty());
    Write(systemd, ""), Write(monitor, ""), Write(root, "");
    EXPECT_TRUE(MEROCSystemdCgroupSystemdSliceMove("a.slice") && Read(systemd) == moved && Read(monitor) == moved);
    EXPECT_TRUE(MEROCSystemdRunAsSystemProcess() && Read(root) == moved && Log().size() == 2);
    const auto movesOneThread = [&] {
        Write(monitor, "");
        return MEROSystemdCgroupMonitorSliceMove("a.slice") && Read(monitor) == std::to_string(getpid()) ? 0 : 1;
    };
    EXPECT_EQ(RunAs(0, movesOneThread), 0);
    fs::remove(systemd), fs::remove(root), fs::remove(monitor), fs::create_directory(monitor);
    fs::create_symlink("/dev/full", systemd), fs::create_symlink("/dev/full", root);
    EXPECT_FALSE(MEROSystemdCgroupSystemdSliceMove("a.slice") || MEROCSystemdCgroupMonitorSliceMove("a.slice"));
    EXPECT_THAT(Said("systemd_internal_lib"), ElementsAre(failed + systemd, "ERR Failed to open " + monitor));
    EXPECT_FALSE(MEROSystemdRunAsSystemProcess());
    EXPECT_THAT(Said("systemd_run_as_system_process"), ElementsAre(_, failed + "szfDefaultTaskPath"));
}

TEST_F(Slices, OtherNamesAreRefused)
{
    const Texts refused(1, "!strSlice.empty() && IsSliceName(strSlice)");
    std::set<Process> processes;
    for (const std::string name : {"", "a", "a.service", "b/x.slice", "../x.slice", "b.slice/", "/b.slice", "slice"}) {
        SCOPED_TRACE(name);
        Write(kSystemd + name + "/tasks", ""), Write(kMonitor + name + "/tasks", "");
        EXPECT_FALSE(MEROSystemdCgroupMonitorSliceMove(name) || MEROCSystemdCgroupSystemdSliceMove(name.c_str()));
        EXPECT_TRUE(Read(kSystemd + name + "/tasks").empty() && Read(kMonitor + name + "/tasks").empty());
        EXPECT_EQ(Said("systemd_internal_lib"), Texts(2, refused[0]));
        EXPECT_TRUE(!MEROSystemdKillSlice(name) && MLIBCErrGet() == 0x0D00 && Said("systemd_kill_slice") == refused);
        Write(kMonitor + name + "/tasks", kPid);
        EXPECT_TRUE(!Slice::ProcessList(name, processes) && processes.empty());
    }
    EXPECT_FALSE(Slice::ProcessList("c.slice", processes)) << "it is not tracked";
}

TEST_F(Slices, AreListedWhenTheMonitorTracksSome)
{
    Texts slices{"before"};
    List list = MakeList(slices);
    MLIBCSzList* items = list.release();
    for (const std::string folder : {"", "x.service", "slice", "a.slice.d/b.slice"}) {
        fs::create_directories(kMonitor + folder);
        EXPECT_FALSE(MEROSystemdSliceList(slices) || MEROCSystemdSliceList(&items) || slices.size() != 1) << folder;
    }
    fs::create_directories(kMonitor + "b c.slice"), fs::create_directories(kMonitor + "a-b.slice/c.slice");
    EXPECT_TRUE(MEROSystemdSliceList(slices) && MEROCSystemdSliceList(&items));
    list.reset(items);
    EXPECT_THAT(slices, UnorderedElementsAre("before", "a-b.slice", "b c.slice"));
    EXPECT_THAT(Items(items), UnorderedElementsAreArray(slices));
}

TEST_F(Slices, IncludeProcessesOneLevelBelow)
{
    Waiting own, below, both, deeper, dead;
    const auto line = [](int pid) { return std::to_string(pid) + "\n"; };
    Write(kMonitor + "a.slice/tasks", "x\n\n" + line(own.pid) + "99999999999\n-1\n0\n2147483647\n" + line(both.pid) +
                                          Thread() + "\n" + line(getpid()) + line(dead.pid) + line(own.pid));
    Write(kMonitor + "a.slice/x.service/tasks", line(both.pid) + std::to_string(below.pid));
    Write(kMonitor + "a.slice/x.service/y/tasks", line(deeper.pid)), Write(kMonitor + "tasks", line(deeper.pid));
    Write(kMonitor + "a.slice/notify_on_release", line(deeper.pid)), fs::create_directories(kMonitor + "a.slice/z");
    dead.End();
    std::set<Process> processes{Process(deeper.pid)};
    EXPECT_TRUE(Slice::ProcessList("a.slice", processes));
    EXPECT_EQ(Pids(processes), (std::set<int>{own.pid, both.pid, below.pid, deeper.pid, getpid()}));
}

TEST_F(Slices, AreDescribedByTheirUnitFiles)
{
    Waiting process;
    struct Case {
        std::string keys, name, nameI18n, icon; ///< name "none": there is no such slice
    };
    const Case cases[] = {
        {"Name=A b\nNameI18n=app:x:y\nIconName=i\nIconPath=/i.png\n", "A b", "app:x:y", "i /i.png"},
        {"Name=A\nIconPath=/i.png\n", "A", "", " /i.png"},
        {"NameI18n=x:y\n", "", "x:y", " "},
        {"NameI18n=x\n", kNone, "", " "},
        {"", kNone, "", " "},
    };
    Write(kMonitor + "a.slice/tasks", std::to_string(process.pid));
    for (const Case& c : cases) {
        SetKeys("a.slice", c.keys + "[Slice]\nName=B\nIconName=b\n");
        Icon icon{"x", "y"};
        EXPECT_TRUE(MEROSystemdIconGet("a.slice", icon) && icon.name + " " + icon.path == c.icon) << c.keys;
        if (c.name == kNone) {
            EXPECT_THROW(Slice("a.slice"), std::exception) << c.keys;
            continue;
        }
        Slice slice("a.slice");
        const Slice copy(slice), moved(std::move(slice));
        for (const Slice& one : {slice, copy, moved}) {
            EXPECT_TRUE(one.UnitNameGet() == "a.slice" && one.NameGet() == c.name && one.NameI18nGet() == c.nameI18n);
            EXPECT_EQ(one.IconGet().name + " " + one.IconGet().path, c.icon);
            EXPECT_EQ(Pids(one.ProcessesGet()), std::set{process.pid});
        }
    }
    SetKeys("b.slice", "Name=B\n");
    EXPECT_TRUE(Slice("b.slice").ProcessesGet().empty()) << "it is not tracked";
    Icon icon{"x", "y"};
    EXPECT_TRUE(!MEROSystemdIconGet("c.slice", icon) && MLIBCErrGet() == 0x0700 && icon.name + icon.path == "xy");
    EXPECT_THROW(Slice("c.slice"), std::exception);
    EXPECT_THROW(Slice(""), std::exception);
}

TEST_F(Slices, AreKilledInPhases)
{
    struct Case {
        std::string script, timeout; ///< systemctl's; a line of the slice's file, which is missing if it is "none"
        bool killed;
        unsigned seconds, lives; ///< seconds slept; after how many of them the process ends
        Texts calls, said;       ///< after those for the units' stop
        std::string phases = "0123";
    };
    const std::string key = "SliceKillTimeoutSec=", bad = "ERR Failed to get SliceKillTimeoutSec: [";
    const std::string sentTerm = "INFO has sent SIGTERM to [a-b.slice]", done = "INFO [a-b.slice] killed.";
    const std::string sentKill = "INFO has sent SIGKILL to [a-b.slice]", error = "ERR [a-b.slice] ";
    const std::string failed = "killing failed in process kill phase.";
    const std::string noTerm = error + "SIGTERM " + failed, noKill = error + "SIGKILL " + failed;
    const std::string noStop = error + "killing failed in service stop phase.";
    const Texts one{"stop z.scope", "kill a-b.slice"};
    const Texts both{one[0], one[1], "kill --signal=SIGKILL a-b.slice"};
    const Case cases[] = {
        {"", "", true, 10, 99, both, {sentTerm, sentKill, done}},
        {"", key + "0", true, 0, 99, both, {sentTerm, sentKill, done}},
        {"", key + "+2", true, 2, 99, both, {sentTerm, sentKill, done}},
        {"", key + "-1", true, 10, 99, both, {sentTerm, bad + "stoul]", sentKill, done}},
        {"", kNone, true, 10, 99, both, {sentTerm, bad + "Unit is not found [a-b.slice]]", sentKill, done}},
        {"[ $1 != kill ] || > $procs", key + "1", true, 0, 99, one, {sentTerm, done}, "012"},
        {"[ $1 != stop ] || > $procs", key + "0", true, 0, 99, both, {sentTerm, sentKill, done}},
        {"", key + "3", true, 2, 2, one, {sentTerm, done}, "012"},
        {"", key + "3", true, 3, 3, both, {sentTerm, sentKill, done}},
        {"[ $1 != stop ]", key + "1", true, 1, 9, both, {noStop, sentTerm, sentKill, done}},
        {"[ \"$*\" != 'kill a-b.slice' ]", "", true, 1, 1, one, {noTerm, sentTerm, done}, "012"},
        {"[ $1 != kill ]", key + "1", false, 1, 9, both, {noTerm, sentTerm, noKill}},
    };
    const std::string slice = kSystemd + "a.slice/a-b.slice/", procs = slice + "a-b-c.slice/z.scope/d/cgroup.procs";
    sleeps.areCounted[0] = true;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.script + c.timeout);
        SetKeys("a-b.slice", c.timeout + "\n");
        c.timeout == kNone ? void(fs::remove("/usr/lib/systemd/system/a-b.slice")) : void();
        Write(slice + "plain/cgroup.procs", "");
        Write(slice + "cgroup.procs", ""), Write(slice + "../cgroup.procs", "1\n"), Write(procs, "1\n");
        Write(slice + "file.service", ""), Write(slice + "../v.service/cgroup.procs", "1\n");
        SystemctlScript("procs=" + procs + "\n" + c.script);
        sleeps.seconds = 0;
        duringSleep = [&] { sleeps.seconds == c.lives ? Write(procs, "") : void(); };
        std::string phases;
        const auto progress = [&](KillPhase phase) { phases += std::to_string(static_cast<int>(phase)); };
        EXPECT_EQ(MEROSystemdKillSlice("a-b.slice", progress), c.killed);
        EXPECT_TRUE(sleeps.seconds == c.seconds && phases == c.phases) << sleeps.seconds << phases;
        Texts calls = Calls(),
              said{"INFO [a-b.slice] killing...", "INFO The following units will be stopped: [z.scope]"};
        std::erase(calls, "list-jobs --no-legend");
        said.insert(said.end(), c.said.begin(), c.said.end());
        EXPECT_EQ(calls, c.calls);
        EXPECT_EQ(Said("systemd_kill_slice"), said);
    }
}

TEST_F(Slices, AreLeftAloneIfThereIsNothingToKill)
{
    const std::string folder = kSystemd + "a.slice/";
    fs::create_directories(folder + "x.service"), Write(kSystemd + "b.slice/cgroup.procs", "1\n");
    for (int times = 0; times < 3; ++times) {
        EXPECT_TRUE(MEROSystemdKillSlice("a.slice") && Calls().empty());
        EXPECT_EQ(Said("systemd_kill_slice"), Texts{"INFO There is no alive process in [a.slice], skip kill slice"});
        times == 0 ? Write(folder + "x.service/cgroup.procs", "") : void(fs::remove_all(folder));
    }
    fs::create_directories(folder + "plain/x.service"), Write(folder + "cgroup.procs", "1\n");
    RemoveSystemctl();
    SetKeys("a.slice", "SliceKillTimeoutSec=0\n");
    EXPECT_FALSE(MEROSystemdKillSlice("a.slice"));
    EXPECT_THAT(Said("systemd_kill_slice"), Contains("INFO There is no units in [a.slice], skip stop units"));
    const std::string service = kSystemd + "_io.slice/io-deep.slice/_memory.service/"; // escaped kernel names
    Write(service + "cgroup.procs", "1\n"), Write(service + "y.service/cgroup.procs", "");
    SystemctlScript("[ $1 != stop ] || > " + service + "cgroup.procs");
    EXPECT_TRUE(MEROSystemdKillSlice("io-deep.slice"));
    EXPECT_EQ(Calls(), (Texts{"stop memory.service", "kill io-deep.slice"}));
    fs::create_symlink("loop.slice", kSystemd + "loop.slice"), SetKeys("loop.slice", "SliceKillTimeoutSec=0\n");
    SystemctlScript("exit 1");
    EXPECT_FALSE(MEROSystemdKillSlice("loop.slice")) << "whether it has a process is unknown";
    EXPECT_THAT(Said("systemd_kill_slice"), IsSupersetOf({StartsWith("ERR Failed to check cgruop procs: ["),
                                                          StartsWith("ERR Failed to list the units of [loop.slice]")}));
}

TEST_F(Slices, ThatCannotBeSeenAreNotKilled)
{
    const auto withoutHierarchy = [] {
        const auto kills = [] { return MEROSystemdKillSlice("mero.slice") ? "1" : "0"; };
        const std::string shown = "/proc/" + std::to_string(getpid()) + "/cgroup";
        unshare(CLONE_NEWNS), mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
        std::string killed = kills();
        Write("/run/cgroup", ""), mount("/run/cgroup", shown.c_str(), nullptr, MS_BIND, nullptr);
        for (const std::string path : {"/mero.slicer", "/mero.slice/x.service"}) {
            Write("/run/cgroup", "1:name=systemd:" + path + "\n"), killed += kills();
        }
        mount("tmpfs", "/proc", "tmpfs", 0, nullptr);
        return killed + kills() == "1100" ? 0 : 1;
    };
    EXPECT_EQ(RunAs(0, withoutHierarchy), 0);
    const std::string none = "INFO There is no alive process in [mero.slice], skip kill slice";
    const std::string unknown =
        "ERR [mero.slice] is not killed: without systemd's cgroup hierarchy its processes are not known.";
    EXPECT_EQ(Said("systemd_kill_slice"), (Texts{none, none, unknown, unknown}));
    EXPECT_TRUE(Calls().empty());
    Write(kSystemd + "cgroup.procs", "1\n");
    SetKeys("-.slice", "SliceKillTimeoutSec=0\n");
    EXPECT_TRUE(MEROSystemdKillSlice("-.slice")) << "the caller decides";
    EXPECT_THAT(Said("systemd_kill_slice"), Contains("WARNING [-.slice] holds the process that kills it."));
}

TEST_F(Slices, AThreadCanEndDuringTheKill)
{
    Write(kSystemd + "a.slice/cgroup.procs", "1\n");
    sleeps.areCounted[0] = true;
    for (int at = 0; at < 10; ++at) { // in a phase of the kill, or in a sleep
        bool hasReturned = false;
        const auto end = [=](int phase) { phase == at % 5 ? (void)Act(at < 5 ? 3 : 4) : void(); };
        duringSleep = [=] { end(4); };
        std::thread([&] {
            const auto progress = [=](KillPhase phase) { end(static_cast<int>(phase)); };
            hasReturned = MEROSystemdKillSlice("a.slice", progress);
        }).join();
        EXPECT_EQ(hasReturned, at >= 5) << at;
    }
}
} // namespace
