#include "top/top_page.h"

#include "output/amounts.h"
#include "output/text_width.h"

#include <algorithm>

namespace MERO::Tool {
namespace {

constexpr std::size_t kPercentWidth = 6;
constexpr std::size_t kMemoryWidth = 9;
constexpr double kLeastPlotTop = 0.01; // lest the plot of an idle slice looks busy
constexpr const char* kHelp = "Up/Down j/k: slice   Sort: c CPU  m memory  p PID  n name   h: help   q: quit";

/// How a line of the slices divides the width of a page.
struct SliceColumns {
    SliceColumns(const std::vector<SliceUsage>& slices, std::size_t width)
    {
        for (const SliceUsage& slice : slices) {
            name = std::max(name, WidthOf(slice.unit) + 2);
        }
        name = std::min(name, std::max<std::size_t>(width * 3 / 10, 12));
        measure = width > name ? (width - name) / 2 : 0;
    }

    std::size_t name = 0;
    std::size_t measure; ///< for each of CPU and memory: bar, value and plot
};

/// What a slice uses of something.
struct Measure {
    double share;
    std::string value;
    std::size_t valueWidth;
    const History& history;
    double leastTop;
    Style style;
};

void AddMeasure(Line& line, const Measure& measure, std::size_t width, const Glyphs& glyphs)
{
    const std::size_t blanks = 4; // two before the bar, and one on each side of the value
    const std::size_t taken = measure.valueWidth + blanks;
    const std::size_t room = width > taken ? width - taken : 0;
    const double highest =
        measure.history.empty() ? 0.0 : *std::max_element(measure.history.begin(), measure.history.end());
    line.push_back({"  "});
    line.push_back({Bar(measure.share, room / 2, glyphs), measure.style});
    line.push_back({" " + FitRight(measure.value, measure.valueWidth) + " "});
    const double top = std::max(highest, measure.leastTop);
    line.push_back({Plot(measure.history, top, room - room / 2, glyphs), measure.style});
}

Line SliceLine(const SliceUsage& slice, bool isChosen, const SliceColumns& columns, const Glyphs& glyphs)
{
    Line line{{FitLeft((isChosen ? "> " : "  ") + slice.unit, columns.name), isChosen ? Style::Chosen : Style::Plain}};
    const std::string share = slice.cpuHistory.empty() ? "-" : PercentText(slice.total.cpuShare);
    AddMeasure(line, {slice.total.cpuShare, share, kPercentWidth, slice.cpuHistory, kLeastPlotTop, Style::Cpu},
               columns.measure, glyphs);
    const std::string memory = MemoryText(slice.total.memory);
    AddMeasure(line, {slice.memoryShare, memory, kMemoryWidth, slice.memoryHistory, 0.0, Style::Memory},
               columns.measure, glyphs);
    return line;
}

Line SliceHeading(const SliceColumns& columns)
{
    return {{FitLeft("  SLICE", columns.name) + FitLeft("  CPU", columns.measure) + "  MEMORY", Style::Strong}};
}

struct ProcessColumn {
    const char* heading;
    std::size_t width;
    std::string (*text)(const ProcessUsage&);
};

const ProcessColumn kProcessColumns[] = {
    {"CPU", 8, [](const ProcessUsage& process) { return PercentText(process.cpuShare); }},
    {"MEMORY", 11, [](const ProcessUsage& process) { return MemoryText(process.memory); }},
    {"CPU SECONDS", 13, [](const ProcessUsage& process) { return SecondsText(process.cpuSeconds); }},
    {"READ", 13, [](const ProcessUsage& process) { return RateText(process.readRate); }},
    {"WRITE", 13, [](const ProcessUsage& process) { return RateText(process.writeRate); }},
};

constexpr std::size_t kPidWidth = 8;
constexpr std::size_t kLeastNameWidth = 10;

/// A line of the processes' table: as many columns as leave room for the name. `cell` makes a column's text.
template <typename Cell>
std::string ProcessRow(const std::string& pid, const std::string& name, std::size_t width, const Cell& cell)
{
    std::size_t left = width > kPidWidth + 2 ? width - kPidWidth - 2 : 0;
    std::string columns;
    for (const ProcessColumn& column : kProcessColumns) {
        if (left < column.width + kLeastNameWidth) {
            break;
        }
        columns += FitRight(cell(column), column.width);
        left -= column.width;
    }
    return FitRight(pid, kPidWidth) + "  " + FitLeft(name, left) + columns;
}

const char* OrderWord(Order order)
{
    switch (order) {
    case Order::Cpu:
        return "CPU";
    case Order::Memory:
        return "memory";
    case Order::Pid:
        return "PID";
    default:
        return "name";
    }
}

void AddProcesses(std::vector<Line>& page, const SliceUsage& slice, Order order, PageSize size)
{
    page.push_back(
        {{"Processes of " + slice.unit + ": " + std::to_string(slice.processes.size()) + ", by " + OrderWord(order)}});
    page.push_back({{ProcessRow("PID", "NAME", size.width, [](const ProcessColumn& column) { return column.heading; }),
                     Style::Strong}});
    std::vector<ProcessUsage> processes = slice.processes;
    Sort(processes, order);
    for (const ProcessUsage& process : processes) {
        if (page.size() >= size.height) {
            break;
        }
        page.push_back({{ProcessRow(std::to_string(process.pid), process.name, size.width,
                                    [&](const ProcessColumn& column) { return column.text(process); })}});
    }
}

/// Cuts off what is beyond the width, and replaces what cannot be printed.
void Trim(Line& line, std::size_t width)
{
    for (Span& span : line) {
        const std::size_t columns = WidthOf(span.text);
        span.text = FitLeft(span.text, std::min(columns, width));
        width -= std::min(columns, width);
    }
}

} // namespace

std::size_t ChosenSlice(const std::vector<SliceUsage>& slices, const TopView& view)
{
    const auto found =
        std::find_if(slices.begin(), slices.end(), [&](const SliceUsage& slice) { return slice.unit == view.unit; });
    return found == slices.end() ? 0 : static_cast<std::size_t>(found - slices.begin());
}

std::vector<Line> ComposePage(const std::vector<SliceUsage>& slices, const TopView& view, PageSize size,
                              const Glyphs& glyphs)
{
    const std::size_t helpLines = view.hasHelp && size.height > 1 ? 1 : 0;
    const PageSize body{size.width, size.height - helpLines};
    std::vector<Line> page;
    if (slices.empty()) {
        page.push_back({{"no slice is tracked"}});
    } else {
        const SliceColumns columns(slices, size.width);
        page.push_back(SliceHeading(columns));
        // With many slices, half of the page is the processes', and the others move along with the chosen one.
        const std::size_t chosen = ChosenSlice(slices, view);
        const std::size_t shown = std::clamp<std::size_t>(body.height / 2, 1, slices.size());
        const std::size_t first = std::min(chosen - std::min(chosen, shown / 2), slices.size() - shown);
        for (std::size_t i = first; i < first + shown; ++i) {
            page.push_back(SliceLine(slices[i], i == chosen, columns, glyphs));
        }
        page.emplace_back();
        AddProcesses(page, slices[chosen], view.order, body);
    }
    page.resize(body.height);
    if (helpLines > 0) {
        page.push_back({{kHelp}});
    }
    for (Line& line : page) {
        Trim(line, size.width);
    }
    return page;
}

} // namespace MERO::Tool
