#include "commands/commands.h"
#include "commands/slice_kill.h"
#include "commands/usual_arguments.h"
#include "output/amounts.h"
#include "top/slice_top.h"
#include "usage/slice_monitor.h"
#include "usage/usage_report.h"

#include <merosystemd/systemd.hpp>

#include <limits>
#include <memory>
#include <thread>

namespace MERO::Tool {
namespace {

struct Names {
    std::string name;
    std::string nameI18n;
};

/// Empty where the slice has none.
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

/// False when the slice is not tracked, or no longer.
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

int Show(const std::string& slice, Seconds interval, bool json)
{
    const Names names = NamesOf(slice);
    if (names.name.empty() && names.nameI18n.empty()) {
        PrintError(slice + ": there is no such slice, or it has no name");
        return kNoSuchUnit;
    }
    std::vector<ProcessUsage> processes;
    if (!Measure(slice, interval, processes)) {
        PrintError(slice + ": it is no slice that is tracked");
        return kNoSuchUnit;
    }
    json ? PrintProcessesAsJson(slice, names, processes) : PrintProcesses(processes);
    return kDone;
}

} // namespace

void AddSliceCommands(const Command& program)
{
    const Command slice = program.AddGroup("slice", "Show what slices use of the machine, and kill them");

    struct Arguments {
        std::string slice;
        double interval = 1;
        unsigned count = 0;
        bool json = false;
        bool force = false;
    };
    const auto arguments = std::make_shared<Arguments>();

    const Command list = slice.AddCommand("list", "List the slices that are tracked");
    list.AddFlag("--json", arguments->json, "As a JSON array");
    list.OnCall([arguments] { return ListSlices(arguments->json); });

    const Command show = slice.AddCommand("show", "Show what the processes of a slice use");
    show.AddOperand("SLICE", arguments->slice, "A slice that is tracked");
    AddInterval(show, arguments->interval, "Measure for so long (1)");
    show.AddFlag("--json", arguments->json, "As a JSON object");
    show.OnCall([arguments] { return Show(arguments->slice, Seconds(arguments->interval), arguments->json); });

    const Command kill = slice.AddCommand("kill", "Stop a slice's units, and end what is left");
    kill.AddOperand("SLICE", arguments->slice, "A slice of systemd's");
    kill.AddFlag("--force", arguments->force, "Even \"-.slice\", or the slice of this process");
    kill.OnCall([arguments] { return KillSlice(arguments->slice, arguments->force); });

    const Command top = slice.AddCommand("top", "Watch what the tracked slices use");
    AddInterval(top, arguments->interval, "Measure so often (1)");
    top.AddOption("--count", "N", arguments->count, "End after so many times")
        .MustLie(1, std::numeric_limits<unsigned>::max());
    top.AddFlag("--json", arguments->json, "As a JSON array on a line, each time");
    top.SetNote("A screen with keys on a terminal; elsewhere a line for each slice.");
    top.OnCall([arguments] { return ShowTop(Seconds(arguments->interval), arguments->count, arguments->json); });
}

} // namespace MERO::Tool
