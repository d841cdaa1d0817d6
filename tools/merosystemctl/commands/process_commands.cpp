#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "usage/usage_report.h"

#include <limits>
#include <memory>
#include <thread>

namespace MERO::Tool {
namespace {

int Show(int pid, Seconds interval, bool json)
{
    const auto read = [pid](Reading& reading) {
        reading.time = Clock::now();
        return ReadProcess(pid, reading.processes.emplace_back());
    };
    Reading before;
    Reading after;
    if (!read(before)) {
        PrintError(std::to_string(pid) + ": there is no such process, or it cannot be read");
        return kFailed;
    }
    std::this_thread::sleep_for(interval);
    if (!read(after)) {
        PrintError(std::to_string(pid) + ": the process has ended");
        return kFailed;
    }
    const std::vector<ProcessUsage> usage = UsageBetween(before, after, ThisMachine().processors);
    json ? PrintJson(ToJson(usage.front())) : PrintUsage(UsageRows(usage));
    return kDone;
}

} // namespace

void AddProcessCommands(const Command& program)
{
    const Command process = program.AddGroup("process", "Show what a process uses");

    struct Arguments {
        int pid = 0;
        double interval = 1;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command show = process.AddCommand("show", "Show a process' CPU time, memory, input and output");
    show.AddOperand("PID", arguments->pid, "A process ID").MustLie(1, std::numeric_limits<int>::max());
    AddInterval(show, arguments->interval, "Measure for N seconds (default 1)");
    show.AddFlag("--json", arguments->json, "As a JSON object");
    show.OnCall([arguments] { return Show(arguments->pid, Seconds(arguments->interval), arguments->json); });
}

} // namespace MERO::Tool
