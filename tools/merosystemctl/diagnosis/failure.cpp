#include "diagnosis/failure.h"

#include "diagnosis/exit_status.h"
#include "diagnosis/journal.h"
#include "output/words.h"

#include <sys/wait.h>

#include <cstdlib>
#include <cstring>
#include <sstream>

namespace MERO::Tool {
namespace {

constexpr const char* kCommands[] = {"ExecMount", "ExecActivate",  "ExecCondition", "ExecStartPre",
                                     "ExecStart", "ExecStartPost", "ExecStop",      "ExecStopPost"}; // in this order

std::string EndText(int code, int status)
{
    if (code == CLD_EXITED) {
        return status != 0 ? "ended with exit code " + ExitStatusText(status) : "";
    }
    const char* signal = code == CLD_KILLED || code == CLD_DUMPED ? sigabbrev_np(status) : nullptr;
    return signal != nullptr ? std::string("was ended by SIG") + signal : "";
}

/// A value in "{ path=/bin/sh ; argv[]=... ; ignore_errors=no ; ... ; code=killed ; status=9/KILL }". Searches from the
/// end: the arguments can contain anything.
std::string ValueIn(const std::string& command, const std::string& name)
{
    const std::size_t begin = command.rfind(" " + name + "=");
    if (begin == command.npos) {
        return {};
    }
    const std::size_t value = begin + name.size() + 2;
    return command.substr(value, command.find(' ', value) - value);
}

/// The first command that failed, and how it ended; empty if systemd knows of none.
std::string FailedCommand(const UnitProperties& unit)
{
    for (const char* setting : kCommands) {
        std::istringstream commands(unit[setting]); // one per line
        for (std::string command; std::getline(commands, command);) {
            const std::string code = ValueIn(command, "code");
            const std::string end = EndText(code == "exited"   ? CLD_EXITED
                                            : code == "killed" ? CLD_KILLED
                                            : code == "dumped" ? CLD_DUMPED
                                                               : 0,
                                            std::atoi(ValueIn(command, "status").c_str()));
            if (!end.empty() && ValueIn(command, "ignore_errors") != "yes") {
                const std::size_t path = command.find("path="), rest = command.find(" ;", path);
                return setting + command.substr(path + 4, rest - path - 4) + " " + end;
            }
        }
    }
    return {};
}

} // namespace

bool Runs(const UnitProperties& unit)
{
    return IsRunning(unit["ActiveState"]);
}

bool IsRestarting(const UnitProperties& unit)
{
    return unit["SubState"] == "auto-restart";
}

std::string FailureText(const UnitProperties& unit)
{
    const bool wasRun = unit["Result"] != "start-limit-hit"; // an earlier end is not the cause
    std::string end = wasRun ? FailedCommand(unit) : "";
    if (wasRun && end.empty()) {
        end = EndText(std::atoi(unit["ExecMainCode"].c_str()), std::atoi(unit["ExecMainStatus"].c_str()));
        end.insert(0, end.empty() ? "" : "its main process ");
    }
    return "result " + (unit["Result"].empty() ? "unknown" : unit["Result"]) + (end.empty() ? "" : ": " + end);
}

void AddFailure(const UnitProperties& unit, bool hitStartLimit, std::vector<Cause>& causes)
{
    const std::string journal = "journalctl " + JournalOption(unit["Id"]);
    if (IsRestarting(unit)) {
        causes.push_back(
            {"restarting", "again and again, " + unit["NRestarts"] + " times so far: " + FailureText(unit), journal});
    } else if (unit["ActiveState"] == "failed" || (!unit["Result"].empty() && unit["Result"] != "success")) {
        causes.push_back({"failed", FailureText(unit), journal});
    }
    if (hitStartLimit || unit["Result"] == "start-limit-hit") {
        const std::string limit =
            unit["StartLimitBurst"].empty()
                ? ""
                : " (" + unit["StartLimitBurst"] + " times in " + unit["StartLimitIntervalUSec"] + " are allowed)";
        causes.push_back({"start limit", "started too often" + limit, "merosystemctl reset-failed " + unit["Id"]});
    }
}

} // namespace MERO::Tool
