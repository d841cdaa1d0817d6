#include "system/box.h"

#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

#include <unistd.h>

#include <iostream>
#include <thread>

using namespace MERO::Test;

namespace {

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
        EXPECT_EXIT((beMany(), std::cerr << (move() ? Place() : "not so"), _exit(0)), ::testing::ExitedWithCode(0),
                    ::testing::Eq(place));
    }
    Shell("rmdir /sys/fs/cgroup/meromonitor/bulk.slice");
}

} // namespace
