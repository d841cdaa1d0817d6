#include "output/text_width.h"
#include "top/top_page.h"

#include <gmock/gmock.h>

#include <clocale>

using namespace MERO::Tool;
using namespace ::testing;

namespace {

using Texts = std::vector<std::string>;

class TopPage : public Test {
protected:
    TopPage() { EXPECT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr); }
    ~TopPage() override { std::setlocale(LC_CTYPE, "C"); }
};

ProcessUsage Process(int pid, const std::string& name, double cpuShare, unsigned long memory)
{
    return {{pid, name, 0, memory, 0, 0}, cpuShare};
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

TEST_F(TopPage, ShowsSlicesAndTheProcessesOfTheChosenOne)
{
    const std::vector<SliceUsage> slices = {
        Slice("db.slice", {Process(41, "writer", 0.25, 2048), Process(4194304, "日本語\x1b[2J\n", 1, 1UL << 20)},
              {0, 0.5, 1}),
        Slice("web.slice", {}, {})};
    const auto page = [](const std::vector<SliceUsage>& shown, const TopView& view, const PageSize& size) {
        Texts lines;
        for (const Line& line : ComposePage(shown, view, size, kAsciiGlyphs)) {
            lines.push_back(Text(line));
        }
        return lines;
    };
    EXPECT_EQ(page({}, {"", Order::Cpu, false}, {9, 2}), (Texts{"no slice ", ""}));
    EXPECT_THAT(page(slices, {.unit = "gone.slice"}, {80, 10}),
                ElementsAre("  SLICE      CPU                               MEMORY",
                            "> db.slice   ############ 100.0%          _=#  #####.....   1.0 GiB          =#",
                            "  web.slice  ............      -               #####.....       0 B          =#", "",
                            "Processes of db.slice: 2, by CPU",
                            "     PID  NAME             CPU     MEMORY  CPU SECONDS         READ        WRITE",
                            " 4194304  日本語?[2J?   100.0%    1.0 GiB         0.00        0 B/s        0 B/s",
                            "      41  writer         25.0%    2.0 MiB         0.00        0 B/s        0 B/s", "",
                            "Up/Down j/k: slice   Sort: c CPU  m memory  p PID  n name   h: help   q: quit"));
}

TEST_F(TopPage, SortsTheProcesses)
{
    const std::vector<SliceUsage> slices = {Slice(
        "a.slice",
        {Process(3, "b", 0.1, 50), Process(1, "c", 0.2, 10), Process(4, "a", 0.2, 50), Process(2, "b", 0.1, 50)}, {})};
    const std::pair<Order, const char*> orders[] = {
        {Order::Cpu, "4123"}, {Order::Memory, "4231"}, {Order::Pid, "1234"}, {Order::Name, "4231"}};
    for (const auto& [order, expected] : orders) {
        const auto page = ComposePage(slices, {.unit = "", .order = order, .hasHelp = false}, {20, 9}, kAsciiGlyphs);
        std::string pids;
        for (std::size_t i = 5; i < page.size(); ++i) {
            pids += Text(page[i]).substr(7, 1);
        }
        EXPECT_EQ(pids, expected) << Text(page[3]);
    }
}

TEST_F(TopPage, FitsEveryScreenAndHoldsTheChosenSlice)
{
    std::vector<SliceUsage> slices;
    for (int i = 0; i < 40; ++i) {
        slices.push_back(Slice("größe-データ" + std::to_string(i), {Process(i, "データベース", 0.5, 100)}, {0.5}));
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
    EXPECT_EQ(Plot({1, 0, 0.1, 0.2}, 0.2, 3, kAsciiGlyphs), "_=#");
    EXPECT_EQ(Plot({-1, 3}, 1, 4, kBlockGlyphs), "  ▁█") << "beyond the plot";
    EXPECT_EQ(Plot({0, 0}, 0, 2, kAsciiGlyphs), "__");
    EXPECT_EQ(Plot({1}, 1, 0, kAsciiGlyphs), "");
}

} // namespace
