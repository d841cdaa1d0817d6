#include "top/top_page.h"

#include "output/amounts.h"
#include "output/text_width.h"

#include <algorithm>

namespace MERO::Tool {
namespace {

constexpr std::size_t kPercentWidth = 6;
constexpr std::size_t kMemoryWidth = 9;
constexpr std::size_t kRateWidth = 13;
// Smaller changes are not drawn: an idle slice must not look busy.
constexpr double kLeastCpuSpan = 0.01;
constexpr double kLeastMemorySpan = 0.001;
constexpr const char* kHelp = "Arrows PgUp PgDn  Sort: c CPU m memory i input o output p n  x kill  h  q quit";

/// How a slice's line divides the width of a page.
struct SliceColumns {
    SliceColumns(const std::vector<SliceUsage>& slices, std::size_t width)
    {
        for (const SliceUsage& slice : slices) {
            name = std::max(name, WidthOf(slice.unit) + 2);
        }
        name = std::min(name, std::max<std::size_t>(width * 3 / 10, 12));
        constexpr std::size_t kLeastMeasure = 20;
        rate = width >= name + 2 * (kLeastMeasure + kRateWidth) ? kRateWidth : 0;
        measure = width > name ? (width - name) / 2 - rate : 0;
    }

    std::size_t name = 0;
    std::size_t measure; ///< each for CPU and memory: bar, value and plot
    std::size_t rate;    ///< each for input and output; 0: there is no room for them
};

/// A slice's use of one resource.
struct Measure {
    double share;
    std::string value;
    std::size_t valueWidth;
    const History& history;
    double leastSpan;
    Style style;
};

void AddMeasure(Line& line, const Measure& measure, std::size_t width, const Glyphs& glyphs)
{
    const std::size_t blanks = 4; // two before the bar, and one on each side of the value
    const std::size_t taken = measure.valueWidth + blanks;
    const std::size_t room = width > taken ? width - taken : 0;
    line.push_back({"  "});
    line.push_back({Bar(measure.share, room / 2, glyphs), measure.style});
    line.push_back({" " + FitRight(measure.value, measure.valueWidth) + " "});
    line.push_back({Plot(measure.history, measure.leastSpan, room - room / 2, glyphs), measure.style});
}

Line SliceLine(const SliceUsage& slice, bool isChosen, const SliceColumns& columns, const Glyphs& glyphs)
{
    Line line{{FitLeft((isChosen ? "> " : "  ") + slice.unit, columns.name), isChosen ? Style::Chosen : Style::Plain}};
    const std::string share = slice.cpuHistory.empty() ? "-" : PercentText(slice.total.cpuShare);
    AddMeasure(line, {slice.total.cpuShare, share, kPercentWidth, slice.cpuHistory, kLeastCpuSpan, Style::Cpu},
               columns.measure, glyphs);
    const std::string memory = MemoryText(slice.total.memory);
    AddMeasure(line, {slice.memoryShare, memory, kMemoryWidth, slice.memoryHistory, kLeastMemorySpan, Style::Memory},
               columns.measure, glyphs);
    line.push_back({FitRight(RateText(slice.total.readRate), columns.rate)});
    line.push_back({FitRight(RateText(slice.total.writeRate), columns.rate)});
    return line;
}

Line SliceHeading(const SliceColumns& columns)
{
    return {{FitLeft("  SLICE", columns.name) + FitLeft("  CPU", columns.measure) +
                 FitLeft("  MEMORY", columns.measure) + FitRight("INPUT", columns.rate) +
                 FitRight("OUTPUT", columns.rate),
             Style::Strong}};
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
    {"INPUT", kRateWidth, [](const ProcessUsage& process) { return RateText(process.readRate); }},
    {"OUTPUT", kRateWidth, [](const ProcessUsage& process) { return RateText(process.writeRate); }},
};

constexpr std::size_t kPidWidth = 8;
constexpr std::size_t kLeastNameWidth = 10;

/// How many lines each part of a page has.
struct PageParts {
    PageParts(std::size_t slicesThere, const TopView& view, std::size_t height)
        : help((view.hasHelp || !view.message.empty()) && height > 1 ? 1 : 0)
    {
        const std::size_t body = height - help;
        slices = std::clamp<std::size_t>(body / 2, 1, slicesThere);
        total = slicesThere > 1 && body > 7 ? 1 : 0;
        const std::size_t taken = slices + total + 4; // the headings, and a blank line
        processes = body > taken ? body - taken : 0;
    }

    std::size_t help;
    std::size_t slices;
    std::size_t total;
    std::size_t processes;
};

/// A line of the process table, with as many columns as leave room for the name. `cell` returns a column's text.
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
    case Order::Input:
        return "input";
    case Order::Output:
        return "output";
    case Order::Pid:
        return "PID";
    default:
        return "name";
    }
}

void AddProcesses(std::vector<Line>& page, const SliceUsage& slice, const TopView& view, const PageParts& parts,
                  std::size_t width)
{
    std::vector<ProcessUsage> processes = slice.processes;
    Sort(processes, view.order);
    const std::size_t shown = std::min(parts.processes, processes.size());
    const std::size_t first = std::min(view.firstProcess, processes.size() - shown);
    std::string title = "Processes of " + slice.unit + ": " + std::to_string(processes.size());
    if (shown > 0 && shown < processes.size()) {
        title += " (" + std::to_string(first + 1) + " to " + std::to_string(first + shown) + ")";
    }
    page.push_back({{title + ", by " + OrderWord(view.order)}});
    page.push_back({{ProcessRow("PID", "NAME", width, [](const ProcessColumn& column) { return column.heading; }),
                     Style::Strong}});
    for (std::size_t i = first; i < first + shown; ++i) {
        page.push_back({{ProcessRow(std::to_string(processes[i].pid), processes[i].name, width,
                                    [&](const ProcessColumn& column) { return column.text(processes[i]); })}});
    }
}

/// Cuts a line off at the width, and replaces what cannot be printed.
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

void ScrollProcesses(TopView& view, const std::vector<SliceUsage>& slices, PageSize size, int pages)
{
    if (slices.empty()) {
        return;
    }
    const std::size_t there = slices[ChosenSlice(slices, view)].processes.size();
    const std::size_t shown = std::min(PageParts(slices.size(), view, size.height).processes, there);
    const auto last = static_cast<long>(there - shown);
    const long wanted = static_cast<long>(view.firstProcess) + pages * static_cast<long>(shown);
    view.firstProcess = static_cast<std::size_t>(std::clamp(wanted, 0L, last));
}

std::vector<Line> ComposePage(const std::vector<SliceUsage>& slices, const TopView& view, PageSize size,
                              const Glyphs& glyphs)
{
    std::vector<Line> page;
    std::size_t foot = view.hasHelp && size.height > 1 ? 1 : 0;
    if (slices.empty()) {
        page.push_back({{"no slice is tracked"}});
    } else {
        const PageParts parts(slices.size(), view, size.height);
        foot = parts.help;
        const SliceColumns columns(slices, size.width);
        page.push_back(SliceHeading(columns));
        // With many slices, half of the page belongs to the processes, and the list scrolls to keep the chosen slice in
        // view.
        const std::size_t chosen = ChosenSlice(slices, view);
        const std::size_t first = std::min(chosen - std::min(chosen, parts.slices / 2), slices.size() - parts.slices);
        for (std::size_t i = first; i < first + parts.slices; ++i) {
            page.push_back(SliceLine(slices[i], i == chosen, columns, glyphs));
        }
        if (parts.total > 0) {
            page.push_back(SliceLine(TotalOf(slices), false, columns, glyphs));
        }
        page.emplace_back();
        AddProcesses(page, slices[chosen], view, parts, size.width);
    }
    page.resize(size.height - foot);
    if (foot > 0) {
        page.push_back({{view.message.empty() ? kHelp : view.message}});
    }
    for (Line& line : page) {
        Trim(line, size.width);
    }
    return page;
}

} // namespace MERO::Tool
