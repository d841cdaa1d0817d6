#include "support/child.h"
#include "support/operations.h"

#include <sys/mount.h>

using namespace MERO::Test;
using namespace ::testing;
namespace fs = std::filesystem;

namespace {

const std::string kPid = std::to_string(getpid()), kOwn = "/proc/" + kPid + "/cgroup", kNone = "none";

struct Cgroups : Machine {
    ~Cgroups() override { umount2(kOwn.c_str(), MNT_DETACH), fs::remove_all("/sys/fs"); }
    /// What a move writes: the process' ID, and then that of its one other thread, which reads the log.
    static std::string Moved()
    {
        std::string threads = kPid;
        for (const auto& thread : fs::directory_iterator("/proc/self/task")) {
            threads += thread.path().filename() == kPid ? "" : thread.path().filename().string();
        }
        return threads;
    }
    static std::string Tasks(const std::string& cgroup) { return "/sys/fs/cgroup/" + cgroup + "/tasks"; }
};

TEST_F(Cgroups, AreReadFromTheProcessesLines)
{
    struct Case {
        std::string lines, path, unit = kNone, slice = kNone; ///< the path is that of the controllers "cpu,cpuacct"
    };
    const Case cases[] = {
        {"2:cpu,cpuacct:/a b\n1:name=systemd:/a.slice/nfs.service\n0::/x.service\n", "/a b", "nfs.service"},
        {"1:cpu,cpuacct:/a:b\n0::/a.slice/b@c.d.service\n3:cpu,cpuacct:/c", "/c", "b@c.d.service"},
        {"2:cpu:/x.service\n0::/nfs.service\n1:name=meromonitor:/a.slice/b.slice\n", kNone, "nfs.service", "a.slice"},
        {"\n1:name=systemd:/\n0::/a.service\n2:name=meromonitor:/b/a.slice\n1:cpu,cpuacct:/\n", "/"},
        {"1:name=systemd:/a:b.service\n0::/c.service\n2:name=meromonitor:/a.service\n", kNone},
        {"1:name=systemd:/user.slice\n2:name=meromonitor:/\n", kNone, "user.slice"},
        {"0::/a.service/worker", kNone},
        {"1:name=meromonitor:/longer.slice", kNone, kNone, "longer.slice"},
        {"2:pids:/x.service", kNone},
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
    std::string text;
    EXPECT_FALSE(MEROSystemdGetByPid(2147483647, text) || MEROSystemdCgroupPathnameGet(-1, "", text));
}

TEST_F(Cgroups, TheCallerMovesIntoSlicesThatExist)
{
    const std::string systemd = Tasks("systemd/a.slice"), monitor = Tasks("meromonitor/a.slice"),
                      root = Tasks("systemd");
    const std::string failed = "ERR Failed to write pid[" + kPid + "] to ";
    Write(monitor, "");
    EXPECT_FALSE(MEROSystemdCgroupSystemdSliceMove("a.slice") || !Read(monitor).empty());
    Write(systemd, ""), Write(monitor, ""), Write(root, "");
    EXPECT_TRUE(MEROCSystemdCgroupSystemdSliceMove("a.slice") && Read(systemd) == Moved() && Read(monitor) == Moved());
    EXPECT_TRUE(MEROCSystemdRunAsSystemProcess() && Read(root) == Moved() && Log().size() == 2);
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
    fs::remove_all("/sys/fs");
    for (const std::string name : {"", "a", "a.service", "b/x.slice", "../x.slice", "b.slice/", "/b.slice", "slice"}) {
        Write(Tasks("systemd/" + name), ""), Write(Tasks("meromonitor/" + name), "");
        EXPECT_FALSE(MEROSystemdCgroupMonitorSliceMove(name) || MEROCSystemdCgroupSystemdSliceMove(name.c_str()));
        EXPECT_TRUE(Read(Tasks("systemd/" + name)).empty() && Read(Tasks("meromonitor/" + name)).empty()) << name;
        EXPECT_THAT(Said("systemd_internal_lib"), Texts(2, "!strSlice.empty() && IsSliceName(strSlice)"));
    }
}

} // namespace
