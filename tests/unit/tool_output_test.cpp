#include "commands/volume_report.h"
#include "output/amounts.h"
#include "output/metrics.h"
#include "output/text_width.h"
#include "output/times.h"
#include "top/top_page.h"
#include "usage/slice_monitor.h"
#include "usage/usage_report.h"

#include <gmock/gmock.h>

#include <array>
#include <clocale>
#include <tuple>

using namespace MERO::Tool;
using namespace std::chrono_literals;
using namespace ::testing;

namespace {

const Clock::time_point kBegin{1h};

ProcessReading Process(int pid, double cpuSeconds, std::uint64_t read = 0, std::uint64_t written = 0)
{
    return {pid, "", cpuSeconds, 100, read, written};
}

struct Screen : Test {
    Screen() { EXPECT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr); }
    ~Screen() override { std::setlocale(LC_CTYPE, "C"); }
};

TEST_F(Screen, MeasuresColumnsNotBytes)
{
    const std::tuple<std::string, std::size_t, const char*> cases[] = {
        // the last text: fitted into four columns
        {"", 0, "    "},
        {"grüßen", 6, "grüß"},
        {"a日本", 5, "a日 "}, // half a character does not fit
        {"e\u0301te", 3, "e\u0301te "},
        {"\x1b[2J\n", 5, "?[2J"},
        {"\xff\xe6\x97", 3, "??? "}, // not UTF-8, and only the first bytes of a character
        {std::string("a\0b", 3), 3, "a?b "},
    };
    for (const auto& [text, width, fitted] : cases) {
        EXPECT_EQ(WidthOf(text), width) << text;
        EXPECT_EQ(FitLeft(text, 4), fitted);
    }
    EXPECT_EQ(FitRight("a日本", 4), " a日");
    std::setlocale(LC_CTYPE, "C");
    EXPECT_EQ(FitLeft("ü", 4), "??  ") << "characters of another locale";
}

TEST(Colours, TellStatesApart)
{
    const std::pair<Colour, Texts> colours[] = {{Colour::Green, {"active", "reloading"}},
                                                {Colour::Yellow, {"activating", "deactivating"}},
                                                {Colour::Red, {"failed", "not-found", "error", "masked"}},
                                                {Colour::None, {"inactive", "loaded", "other"}}};
    for (const auto& [colour, states] : colours) {
        for (const std::string& state : states) {
            EXPECT_EQ(ColourOfState(state), colour) << state;
        }
    }
}

TEST(Metrics, HaveEscapedLabelsAndPlainNumbers)
{
    testing::internal::CaptureStdout();
    PrintMetrics({{"m", MetricType::Gauge, "Help.", "unit", {{"a\\x2d\"\n", 2e12}, {"b", 0.25}}}});
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "# HELP m Help.\n# TYPE m gauge\nm{unit=\"a\\\\x2d\\\"\\n\"} 2000000000000\nm{unit=\"b\"} 0.25\n");
}

TEST(Json, IsReadable)
{
    Json::Value value;
    value["a"] = "ü", value["b"] = 1234.56789;
    testing::internal::CaptureStdout();
    PrintJson(value), PrintJson(value, Spread::OneLine);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "{\n  \"a\" : \"ü\",\n  \"b\" : 1234.568\n}\n{\"a\":\"ü\",\"b\":1234.568}\n");
}

TEST(Figures, AreShortInTheirUnits)
{
    const std::pair<std::uint64_t, const char*> memories[] = {
        {0, "0 B"},           {1, "1.0 KiB"},          {999, "999.0 KiB"},
        {1000, "1.0 MiB"},    {1536, "1.5 MiB"},       {1023948, "999.9 MiB"},
        {1023949, "1.0 GiB"}, {3ULL << 40, "3.0 PiB"}, {3ULL << 50, "3072.0 PiB"},
    };
    for (const auto& [kB, text] : memories) {
        EXPECT_EQ(MemoryText(kB), text) << kB;
    }
    const std::pair<double, const char*> rates[] = {
        {999.4, "999 B/s"}, {1024, "1.0 KiB/s"}, {3.5 * 1024 * 1024, "3.5 MiB/s"}};
    for (const auto& [rate, text] : rates) {
        EXPECT_EQ(RateText(rate), text) << rate;
    }
    const std::pair<std::time_t, const char*> ages[] = {
        {-5, "0 s"},     {58, "58 s"},     {60, "1 min"},     {3598, "59 min"},   {3600, "1 h"},
        {86398, "23 h"}, {86400, "1 day"}, {172790, "1 day"}, {172800, "2 days"}, {864000, "10 days"}};
    for (const auto& [age, text] : ages) {
        EXPECT_EQ(AgeText(std::time(nullptr) - age), text);
    }
}

TEST(VolumeReport, NamesEveryHolder)
{
    using namespace MERO::Systemd;
    using Kind = VolumeBlocker::Kind;
    VolumeUnmountPlan plan;
    plan.stops = {{"a", {{StopCause::Kind::UsesFiles, "a", "", {{1, "sh", FileUse::Executable, "/a"}}}}}};
    for (const FileUse use : {FileUse::WorkingDirectory, FileUse::Map, FileUse::Root, FileUse::Descriptor}) {
        plan.blockers.push_back({Kind::Process, "", {2, "ls", use, "/b"}});
    }
    plan.blockers.back().unit = "b.service";
    for (const Kind kind : {Kind::Mount, Kind::BindMount, Kind::LoopDevice, Kind::SwapFile, Kind::KernelExport}) {
        plan.blockers.push_back(
            {kind, "", {0, kind == Kind::LoopDevice ? "/dev/loop7" : "", FileUse::Descriptor, "/c"}});
    }
    plan.blockers.push_back({Kind::MountNamespace, "1.scope", {3, "sh", FileUse::Descriptor, "/c"}});
    const std::string user = "merosystemctl: in use by process 2 (ls), ", kernel = "merosystemctl: in use by a ";
    const std::string end = "  -> kill 2\n";
    ::testing::internal::CaptureStderr();
    PrintHolders(plan);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "merosystemctl: in use by process 1 (sh), exe: /a\n" + user + "cwd: /b\n" + end + user + "map: /b\n" +
                  end + user + "root: /b\n" + end + user + "fd: /b\n  -> merosystemctl stop b.service\n" + kernel +
                  "mount: /c\n  -> umount /c\n" + kernel + "bind mount: /c\n  -> umount /c\n" + kernel +
                  "loop device: /c\n  -> losetup --detach /dev/loop7\n" + kernel + "swap file: /c\n  -> swapoff /c\n" +
                  kernel + "kernel export: /c\n  -> exportfs -u CLIENT:/c\n" + kernel +
                  "mount namespace: /c\n  -> nsenter --mount --target 3 umount /c\n");
}

SliceUsage Slice(const std::string& unit, const std::vector<ProcessUsage>& processes, const History& cpuHistory)
{
    return {unit, processes, TotalOf(processes), 0.5, cpuHistory, {0.25, 0.5}};
}

std::string Text(const Line& line)
{
    std::string text;
    for (const Span& span : line) {
        text += span.text;
    }
    return text;
}

TEST_F(Screen, ShowsSlicesAndTheProcessesOfTheChosenOneInOrder)
{
    const auto page = [](const std::vector<SliceUsage>& slices, const TopView& view, const PageSize& size) {
        std::vector<std::string> lines;
        std::ranges::transform(ComposePage(slices, view, size, kAsciiGlyphs), std::back_inserter(lines), Text);
        return lines;
    };
    const std::vector<ProcessUsage> processes{{{41, "writer", 0, 2048, 0, 0}, 0.25},
                                              {{4194304, "日本語\x1b[2J\n", 0, 1UL << 20, 0, 0}, 1}};
    EXPECT_THAT(page({}, {"", Order::Cpu, false}, {9, 2}), ElementsAre("no slice ", ""));
    EXPECT_THAT(page({Slice("db.slice", processes, {0, 0.5, 1}), Slice("web.slice", {}, {})}, {"gone.slice"}, {82, 10}),
                ElementsAre("  SLICE      CPU                   MEMORY                      INPUT       OUTPUT",
                            "> db.slice   ###### 100.0%    _=#  ##..   1.0 GiB    _#        0 B/s        0 B/s",
                            "  web.slice  ......      -         ##..       0 B    _#        0 B/s        0 B/s",
                            "  total      ###### 100.0%    _=#  ####   1.0 GiB    _#        0 B/s        0 B/s", "",
                            "Processes of db.slice: 2, by CPU",
                            "     PID  NAME               CPU     MEMORY  CPU SECONDS        INPUT       OUTPUT",
                            " 4194304  日本語?[2J?     100.0%    1.0 GiB         0.00        0 B/s        0 B/s",
                            "      41  writer           25.0%    2.0 MiB         0.00        0 B/s        0 B/s",
                            "Arrows PgUp PgDn  Sort: c CPU m memory i input o output p n  x kill  h  q quit"));
    for (const std::size_t height : {8, 9}) {
        const auto lines = page({Slice("a.slice", {}, {}), Slice("b.slice", {}, {})}, {}, {82, height});
        EXPECT_EQ(Value(lines, Contains(StartsWith("  total"))), height == 9) << "processes need the room";
    }
    const std::vector<ProcessUsage> alike{{{3, "b", 0, 50, 0, 0}, 0.1, 5, 0},
                                          {{1, "c", 0, 10, 0, 0}, 0.2, 0, 7},
                                          {{4, "a", 0, 50, 0, 0}, 0.2, 9, 7},
                                          {{2, "b", 0, 50, 0, 0}, 0.1, 5, 8}};
    const std::pair<Order, const char*> orders[] = {{Order::Cpu, "4123"},   {Order::Memory, "4231"},
                                                    {Order::Input, "4231"}, {Order::Output, "2143"},
                                                    {Order::Pid, "1234"},   {Order::Name, "4231"}};
    for (const auto& [order, expected] : orders) {
        const auto lines = page({Slice("a.slice", alike, {})}, {"", order, false}, {20, 9});
        std::string pids;
        std::for_each(lines.begin() + 5, lines.end(), [&](const std::string& line) { pids += line[7]; });
        EXPECT_EQ(pids, expected) << lines[3];
        std::vector<SliceUsage> slices;
        for (const ProcessUsage& process : alike) {
            slices.push_back(Slice(std::to_string(process.pid), {process}, {}));
        }
        Sort(slices, order);
        std::string units;
        std::ranges::for_each(slices, [&](const SliceUsage& slice) { units += slice.unit; });
        EXPECT_EQ(units, order == Order::Name ? "1234" : expected) << "slices have other names";
    }
    TopView view{"", Order::Pid, false};
    const std::vector<SliceUsage> one{Slice("a.slice", alike, {})};
    const PageSize low{40, 7}; // two processes
    const std::pair<int, const char*> scrolled[] = {{0, "12"}, {1, "34"}, {1, "34"}, {-1, "12"}, {-1, "12"}};
    for (const auto& [pages, expected] : scrolled) {
        ScrollProcesses(view, one, low, pages);
        const auto lines = page(one, view, low);
        EXPECT_EQ(lines[3], FitLeft(std::string("Processes of a.slice: 4 (") +
                                        (*expected == '1' ? "1 to 2" : "3 to 4") + "), by PID",
                                    40)
                                .substr(0, lines[3].size()));
        EXPECT_EQ((std::string{lines[5][7], lines[6][7]}), expected);
    }
}

TEST_F(Screen, FitsEverySizeAndShowsTheChosenSlice)
{
    std::vector<SliceUsage> slices;
    for (int i = 0; i < 40; ++i) {
        slices.push_back(Slice("größe-データ" + std::to_string(i), {{{i, "データベース", 0, 100, 0, 0}, 0.5}}, {0.5}));
    }
    for (std::size_t i = 0; i < 2000; ++i) {
        const PageSize size{i / 20, i % 31};
        const auto page = ComposePage(slices, {.unit = slices[i % 40].unit}, size, kBlockGlyphs);
        ASSERT_EQ(page.size(), size.height);
        std::size_t chosen = 0;
        for (const Line& line : page) {
            ASSERT_LE(WidthOf(Text(line)), size.width) << size.height;
            chosen += !line.empty() && line[0].style == Style::Chosen ? 1 : 0;
        }
        ASSERT_EQ(chosen, size.height < 3 ? 0 : 1) << i % 40 << " in " << size.width << "x" << size.height;
    }
}

TEST(Plot, ShowsTheNewestValuesAtTheRight)
{
    EXPECT_EQ(Plot({1, 0, 0.1, 0.2}, 0.01, 3, kAsciiGlyphs), "_=#");
    EXPECT_EQ(Plot({-1, 3}, 1, 4, kBlockGlyphs), "  ▁█");
    EXPECT_EQ(Plot({0.7, 0.7, 0.7}, 0.01, 4, kAsciiGlyphs), " ___") << "a steady value is flat";
    EXPECT_EQ(Plot({0.5, 0.505}, 0.01, 2, kAsciiGlyphs), "_=") << "a small change is nearly flat";
    EXPECT_EQ(Plot({1}, 1, 0, kAsciiGlyphs), "");
}

TEST(Usage, IsTheDifferenceBetweenTwoReadings)
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
        {"a reused ID with less CPU time", Process(7, 10, 0, 0), Process(7, 1, 900, 900), 1s, 0, 0, 0},
        {"a reused ID with fewer bytes read", Process(7, 1, 9, 0), Process(7, 2, 8, 1), 1s, 0, 0, 0},
        {"a reused ID with fewer bytes written", Process(7, 1, 9, 9), Process(7, 2, 10, 8), 1s, 0, 0, 0},
    };
    for (const Case& c : cases) {
        const auto usages = UsageBetween({"", kBegin, {c.before}}, {"", kBegin + c.between, {c.after}}, 4);
        ASSERT_EQ(usages.size(), 1U) << c.what;
        EXPECT_THAT((std::array{usages[0].cpuSeconds, usages[0].cpuShare, usages[0].readRate, usages[0].writeRate}),
                    ElementsAre(c.after.cpuSeconds, c.cpuShare, c.readRate, c.writeRate))
            << c.what;
    }
}

TEST(Usage, OfSeveralProcessesIsTheirSum)
{
    const ProcessUsage usage{Process(7, 1.5), 0.25, 10, 20};
    const ProcessUsage total = TotalOf({usage, usage, usage});
    EXPECT_THAT((std::array{total.cpuSeconds, total.cpuShare, total.readRate, total.writeRate}),
                ElementsAre(4.5, 0.75, 30, 60));
    EXPECT_EQ(total.memory, 300);
    EXPECT_EQ(TotalToJson({usage, usage})["cpuPercent"].asDouble(), 50);
    EXPECT_EQ(TotalOf(std::vector<ProcessUsage>(9, usage)).cpuShare, 1) << "no more than the machine";
}

TEST(SliceMonitor, KeepsTheHistoryOfEachTrackedSlice)
{
    SliceMonitor monitor({.processors = 2, .memory = 1000});
    // A round is a second, and each process uses a quarter of it.
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
    EXPECT_THAT(monitor.Slices()[0].cpuHistory, IsEmpty()) << "one reading gives no share";

    update(1, true, 4);
    EXPECT_THAT(monitor.Slices()[0].cpuHistory, ElementsAre(0.125)) << "three processes are new";
    update(2, false, 4);
    ASSERT_EQ(monitor.Slices().size(), 1U);
    update(3, true, 0);
    EXPECT_THAT(monitor.Slices()[0].cpuHistory, ElementsAre(0.125, 0.5, 0));
    EXPECT_THAT(monitor.Slices()[0].memoryHistory, ElementsAre(0.1, 0.4, 0.4, 0));
    EXPECT_THAT(monitor.Slices()[1].cpuHistory, IsEmpty()) << "readings before it went do not count";

    for (int round = 4; round < 400; ++round) {
        update(round, true, 20);
    }
    EXPECT_THAT(monitor.Slices()[0].cpuHistory, SizeIs(240));
    EXPECT_EQ(monitor.Slices()[0].cpuHistory.back(), 1) << "no more than the machine";
    EXPECT_EQ(monitor.Slices()[0].memoryShare, 1);
}

} // namespace
