#include "commands/commands.h"
#include "commands/slice_kill.h"
#include "commands/slice_metrics.h"
#include "commands/usual_arguments.h"
#include "output/amounts.h"
#include "top/slice_top.h"
#include "usage/slice_monitor.h"
#include "usage/usage_report.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <thread>

namespace MERO::Tool {
namespace {

struct Names {
    std::string name;
    std::string nameI18n;
};

/// A name that the slice does not have is empty.
Names NamesOf(const std::string& slice)
{
    Names names;
    if (!MEROSystemdNameGet(slice, names.name)) {
        names.name.clear();
    }
    if (!MEROSystemdNameI18nGet(slice, names.nameI18n)) {
        names.nameI18n.clear();
    }
    return names;
}

void PrintSlices(const std::vector<SliceUsage>& slices)
{
    const auto cell = [](const std::string& text) { return text.empty() ? "-" : text; };
    std::vector<Texts> rows{{"SLICE", "PROCESSES", "MEMORY", "CPU SECONDS", "NAME", "TRANSLATED NAME"}};
    for (const SliceUsage& slice : slices) {
        const Names names = NamesOf(slice.unit);
        rows.push_back({slice.unit, std::to_string(slice.processes.size()), MemoryText(slice.total.memory),
                        SecondsText(slice.total.cpuSeconds), cell(names.name), cell(names.nameI18n)});
    }
    AlignRight(rows, 1, 3);
    PrintTable(rows);
}

void PrintSlicesAsJson(const std::vector<SliceUsage>& slices)
{
    Json::Value list(Json::arrayValue);
    for (const SliceUsage& slice : slices) {
        const Names names = NamesOf(slice.unit);
        Json::Value& entry = list.append(Json::objectValue);
        entry["slice"] = slice.unit;
        entry["name"] = names.name;
        entry["nameI18n"] = names.nameI18n;
        entry["processes"] = Json::UInt64(slice.processes.size());
        entry["memoryKB"] = Json::UInt64(slice.total.memory);
        entry["cpuSeconds"] = slice.total.cpuSeconds;
    }
    PrintJson(list);
}

int ListSlices(bool json)
{
    SliceMonitor monitor(ThisMachine());
    monitor.Update(ReadTrackedSlices());
    if (monitor.Slices().empty()) {
        PrintError("no slice is tracked");
        return kNotActive;
    }
    json ? PrintSlicesAsJson(monitor.Slices()) : PrintSlices(monitor.Slices());
    return kDone;
}

void PrintProcesses(const std::vector<ProcessUsage>& processes)
{
    std::vector<Texts> rows = UsageRows(processes);
    rows.push_back(TotalRow(processes));
    PrintUsage(rows);
}

void PrintProcessesAsJson(const std::string& slice, const Names& names, const std::vector<ProcessUsage>& processes)
{
    Json::Value object(Json::objectValue);
    object["slice"] = slice;
    object["name"] = names.name;
    object["nameI18n"] = names.nameI18n;
    object["processes"] = Json::Value(Json::arrayValue);
    for (const ProcessUsage& process : processes) {
        object["processes"].append(ToJson(process));
    }
    object["total"] = TotalToJson(processes);
    PrintJson(object);
}

/// Returns false if the slice is not tracked, or no longer.
bool Measure(const std::string& slice, Seconds interval, std::vector<ProcessUsage>& processes)
{
    Reading before;
    if (!ReadSlice(slice, before)) {
        return false;
    }
    std::this_thread::sleep_for(interval);
    processes = UsageBetween(before, ReadAgain(before), ThisMachine().processors);
    Sort(processes, Order::Cpu);
    return true;
}

int ReportUntracked(const std::string& slice)
{
    PrintError(slice + (IsThere(slice) ? ": this slice is not tracked" : ": there is no such slice"));
    return kNoSuchUnit;
}

/// Prints the metrics of a slice; if none is named, of all tracked slices.
int ShowMetrics(const std::string& slice)
{
    if (geteuid() != 0) { // what cannot be read would be missing from the sums
        throw CommandError(kFailed, "the processes of all users can be read by root only; run it as root");
    }
    std::vector<Reading> readings;
    if (slice.empty()) {
        readings = ReadTrackedSlices();
    } else if (!ReadSlice(slice, readings.emplace_back())) {
        return ReportUntracked(slice);
    }
    PrintSliceMetrics(readings);
    return kDone;
}

int Show(const std::string& slice, Seconds interval, bool json)
{
    if (slice.empty()) {
        throw UsageError("SLICE is required; only --prometheus shows all slices");
    }
    std::vector<ProcessUsage> processes;
    if (!Measure(slice, interval, processes)) {
        return ReportUntracked(slice);
    }
    json ? PrintProcessesAsJson(slice, NamesOf(slice), processes) : PrintProcesses(processes);
    return kDone;
}

const std::pair<Order, const char*>* FindOrder(const std::string& word)
{
    return std::find_if(std::begin(kOrders), std::end(kOrders),
                        [&](const auto& order) { return order.second == word; });
}

std::string OrderFault(const std::string& word)
{
    return FindOrder(word) != std::end(kOrders) ? "" : "must be cpu, memory, input, output, pid or name";
}

} // namespace

void AddSliceCommands(const Command& program)
{
    const Command slice = program.AddGroup("slice", "Show what slices use, and kill them");

    struct Arguments {
        std::string slice;
        std::string order = "cpu";
        double interval = 1;
        unsigned count = 0;
        bool json = false;
        bool prometheus = false;
        bool force = false;
    };
    const auto arguments = std::make_shared<Arguments>();

    const Command list = slice.AddCommand("list", "List the slices that are tracked");
    list.AddFlag("--json", arguments->json, "As a JSON array");
    list.OnCall([arguments] { return ListSlices(arguments->json); });

    const Command show = slice.AddCommand("show", "Show what the processes of a slice use");
    show.AddOptionalOperand("SLICE", arguments->slice, "A slice that is tracked");
    AddInterval(show, arguments->interval, "Measure for N seconds (default 1)");
    const Argument json = show.AddFlag("--json", arguments->json, "As a JSON object");
    show.AddFlag("--prometheus", arguments->prometheus, "As metrics; without SLICE, for all tracked slices")
        .Excludes(json);
    show.OnCall([arguments] {
        return arguments->prometheus ? ShowMetrics(arguments->slice)
                                     : Show(arguments->slice, Seconds(arguments->interval), arguments->json);
    });

    const Command kill = slice.AddCommand("kill", "Stop the units of a slice and kill what is left");
    kill.AddOperand("SLICE", arguments->slice, "A slice such as system.slice");
    kill.AddFlag("--force", arguments->force, "Kill even \"-.slice\" or the slice of this process");
    kill.OnCall([arguments] { return KillSlice(arguments->slice, arguments->force); });

    const Command top = slice.AddCommand("top", "Watch what the tracked slices use");
    AddInterval(top, arguments->interval, "Update every N seconds (default 1)");
    top.AddOption("--sort", "ORDER", arguments->order, "cpu (default), memory, input, output, pid or name")
        .MustPass(OrderFault);
    top.AddOption("--count", "N", arguments->count, "Exit after N updates")
        .MustLie(1, std::numeric_limits<unsigned>::max());
    top.AddFlag("--json", arguments->json, "As a JSON array on one line, at each update");
    top.SetNote("On a terminal it is a screen with these keys; elsewhere a line for each slice.\n"
                "  Up Down j k   choose a slice           PgUp PgDn  scroll its processes\n"
                "  c m i o p n   order by CPU, memory, input, output, PID or name\n"
                "  x             kill the chosen slice, after asking\n"
                "  h             show or hide the keys    q          quit\n"
                "Input and output are what processes read from storage and write to it.");
    top.OnCall([arguments] {
        return ShowTop({.interval = Seconds(arguments->interval),
                        .count = arguments->count,
                        .json = arguments->json,
                        .order = FindOrder(arguments->order)->first,
                        .kill = [](const std::string& slice) { return KillSlice(slice, false); }});
    });
}

} // namespace MERO::Tool
