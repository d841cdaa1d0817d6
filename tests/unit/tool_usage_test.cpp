#include "usage/slice_monitor.h"

#include <gmock/gmock.h>

#include <array>

using namespace MERO::Tool;
using namespace std::chrono_literals;
using namespace ::testing;

namespace {

const Clock::time_point kBegin{1h};

ProcessReading Process(int pid, double cpuSeconds, unsigned long read = 0, unsigned long written = 0)
{
    return {pid, "", cpuSeconds, 100, read, written};
}

TEST(Usage, IsWhatWasAddedInTheTimeBetween)
{
    struct Case {
        const char* what;
        ProcessReading before, after;
        Clock::duration between;
        double cpuShare, readRate, writeRate;
    };
    const Case cases[] = {
        {"busy", Process(7, 10, 1000, 50), Process(7, 12, 5000, 50), 2s, 0.25, 2000, 0},
        {"shorter than a second", Process(7, 1), Process(7, 1.5, 0, 300), 500ms, 0.25, 0, 600},
        {"more than all processors", Process(7, 0), Process(7, 9), 1s, 1, 0, 0},
        {"a new process", Process(8, 0), Process(7, 5, 500, 500), 1s, 0, 0, 0},
        {"no time between", Process(7, 1, 1, 1), Process(7, 2, 2, 2), 0s, 0, 0, 0},
        {"backwards", Process(7, 1, 1, 1), Process(7, 2, 2, 2), -1s, 0, 0, 0},
        {"another process' ID that has used less CPU", Process(7, 10, 0, 0), Process(7, 1, 900, 900), 1s, 0, 0, 0},
        {"another process' ID that has read less", Process(7, 1, 9, 0), Process(7, 2, 8, 1), 1s, 0, 0, 0},
        {"another process' ID that has written less", Process(7, 1, 9, 9), Process(7, 2, 10, 8), 1s, 0, 0, 0},
    };
    for (const Case& c : cases) {
        const auto usages = UsageBetween({"", kBegin, {c.before}}, {"", kBegin + c.between, {c.after}}, 4);
        ASSERT_EQ(usages.size(), 1U) << c.what;
        EXPECT_THAT((std::array{usages[0].cpuSeconds, usages[0].cpuShare, usages[0].readRate, usages[0].writeRate}),
                    ElementsAre(c.after.cpuSeconds, c.cpuShare, c.readRate, c.writeRate))
            << c.what;
    }
}

TEST(SliceMonitor, KeepsTheHistoryOfEachSliceWhileItIsThere)
{
    SliceMonitor monitor({.processors = 2, .memory = 1000});
    // A round is a second, in which each process uses the CPU for a quarter of it.
    const auto update = [&](int round, bool hasB, int processes) {
        const Clock::time_point time = kBegin + round * 1s;
        std::vector<Reading> readings;
        if (hasB) {
            readings.push_back({"b.slice", time, {Process(99, round * 0.25)}});
        }
        readings.push_back({"a.slice", time, {}});
        for (int pid = 1; pid <= processes; ++pid) {
            readings.back().processes.push_back(Process(pid, round * 0.25));
        }
        monitor.Update(readings);
    };
    update(0, true, 1);
    ASSERT_EQ(monitor.Slices().size(), 2U);
    EXPECT_EQ(monitor.Slices()[0].unit, "a.slice");
    EXPECT_THAT(monitor.Slices()[0].cpuHistory, IsEmpty()) << "of one reading no share is known";

    update(1, true, 4);
    EXPECT_THAT(monitor.Slices()[0].cpuHistory, ElementsAre(0.125)) << "three processes are new";
    update(2, false, 4);
    ASSERT_EQ(monitor.Slices().size(), 1U);
    update(3, true, 0);
    EXPECT_THAT(monitor.Slices()[0].cpuHistory, ElementsAre(0.125, 0.5, 0));
    EXPECT_THAT(monitor.Slices()[0].memoryHistory, ElementsAre(0.1, 0.4, 0.4, 0));
    EXPECT_THAT(monitor.Slices()[1].cpuHistory, IsEmpty()) << "what was read before it went is not counted";

    for (int round = 4; round < 400; ++round) {
        update(round, true, 20);
    }
    EXPECT_THAT(monitor.Slices()[0].cpuHistory, SizeIs(240));
    EXPECT_EQ(monitor.Slices()[0].cpuHistory.back(), 1) << "no more than the machine";
    EXPECT_EQ(monitor.Slices()[0].memoryShare, 1);
}

} // namespace
