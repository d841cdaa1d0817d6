#include "support/operations.h"
#include "support/waiting.h"

#include <merosystemd/resource.hpp>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <thread>

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;
namespace fs = std::filesystem;

namespace {

const std::string kMonitor = "/sys/fs/cgroup/meromonitor/", kNone = "none";

struct Slices : Machine {
    ~Slices() override { fs::remove_all("/sys/fs"); }
    static std::set<int> Pids(const std::set<Process>& processes)
    {
        std::set<int> pids;
        std::ranges::transform(processes, std::inserter(pids, pids.end()), &Process::PidGet);
        return pids;
    }
};

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

TEST_F(Slices, HaveTheProcessesOfTheirCgroupsAndOfThoseOneLevelBelow)
{
    Waiting own, below, both, deeper, dead;
    const auto line = [](int pid) { return std::to_string(pid) + "\n"; };
    std::atomic<int> task = 0, end = 0;
    std::thread thread([&] { task = gettid(), task.notify_all(), end.wait(0); });
    task.wait(0);
    Write(kMonitor + "a.slice/tasks", "x\n\n" + line(own.pid) + "99999999999\n-1\n0\n2147483647\n" + line(both.pid) +
                                          line(task) + line(getpid()) + line(dead.pid) + line(own.pid));
    Write(kMonitor + "a.slice/x.service/tasks", line(both.pid) + std::to_string(below.pid));
    Write(kMonitor + "a.slice/x.service/y/tasks", line(deeper.pid)), Write(kMonitor + "tasks", line(deeper.pid));
    Write(kMonitor + "a.slice/notify_on_release", line(deeper.pid)), fs::create_directories(kMonitor + "a.slice/z");
    dead.End();
    std::set<Process> processes{Process(deeper.pid)};
    EXPECT_TRUE(Slice::ProcessList("a.slice", processes));
    EXPECT_EQ(Pids(processes), (std::set<int>{own.pid, both.pid, below.pid, deeper.pid, getpid()}));
    processes.clear();
    for (const std::string name : {"", "a", "b.slice", "../meromonitor/a.slice", "x.service", "a.slice/../a.slice"}) {
        Write(kMonitor + "x.service/tasks", line(own.pid));
        EXPECT_TRUE(!Slice::ProcessList(name, processes) && processes.empty()) << name;
    }
    end = 1, end.notify_all(), thread.join();
}

TEST_F(Slices, AreDescribedByTheirUnitFiles)
{
    Waiting process;
    struct Case {
        std::string keys, name, nameI18n, icon; ///< no name: there is no such slice
    };
    const Case cases[] = {
        {"Name=A b\nNameI18n=app:x:y\nIconName=i\nIconPath=/i.png\n", "A b", "app:x:y", "i /i.png"},
        {"Name=A\nIconPath=/i.png\n", "A", "", " /i.png"},
        {"NameI18n=x:y\n", "", "x:y", " "},
        {"IconName=i\n", kNone, "", "i "},
        {"NameI18n=x\n", kNone, "", " "},
        {"", kNone, "", " "},
    };
    Write(kMonitor + "a.slice/tasks", std::to_string(process.pid));
    for (const Case& c : cases) {
        Write("/usr/lib/systemd/system/a.slice", "[X-Tarvix]\n" + c.keys + "[Slice]\nName=B\nIconName=b\n");
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
    Write("/usr/lib/systemd/system/b.slice", "[X-Tarvix]\nName=B\n");
    EXPECT_TRUE(Slice("b.slice").ProcessesGet().empty()) << "it is not tracked";
    Icon icon{"x", "y"};
    EXPECT_TRUE(!MEROSystemdIconGet("c.slice", icon) && MLIBCErrGet() == 0x0700 && icon.name + icon.path == "xy");
    EXPECT_THROW(Slice("c.slice"), std::exception);
    EXPECT_THROW(Slice(""), std::exception);
}

} // namespace
