#include "commands/usual_arguments.h"

#include "running/general_options.h"
#include "running/unit_patterns.h"

#include <charconv>

namespace MERO::Tool {
namespace {

constexpr int kLongest = 24 * 60 * 60;

std::string IntervalFault(const std::string& text)
{
    double seconds = 0;
    const char* end = text.data() + text.size();
    const auto [parsed, error] = std::from_chars(text.data(), end, seconds);
    const bool isNumber = error == std::errc() && parsed == end;
    return isNumber && seconds > 0 && seconds <= kLongest ? "" : "must be a positive number of seconds, a day at most";
}

std::string WithoutSlashAtEnd(std::string path)
{
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

std::string VolumeFault(const std::string& volume)
{
    const bool isVolume = volume.size() > 1 && volume.front() == '/';
    return isVolume ? "" : volume + ": a mount path begins with \"/\" and does not end with it";
}

std::string PatternFault(const std::string& unit)
{
    return IsPattern(unit) ? unit + ": patterns do not work here; name the unit" : "";
}

} // namespace

void AddGeneralOptions(const Command& program)
{
    GeneralOptions& general = General();
    program.AddFlag("-q,--quiet", general.quiet, "Print errors and answers only");
    program.AddFlag("--no-progress", general.noProgress, "Do not show what is waited for");
    program.AddFlag("--no-legend", general.noLegend, "Print tables without headings");
    program.AddFlag("--system", general.system, "Query the system manager; queries only");
    program.AddOption("--timeout", "SECONDS", general.timeout, "Wait this long for jobs, then leave them queued")
        .MustLie(1, kLongest);
}

void AddUnit(const Command& command, std::string& unit)
{
    command.AddOperand("UNIT", unit, "A unit; a name without a type means a service");
}

Argument AddUnits(const Command& command, Texts& units)
{
    return command.AddOperand("UNIT", units, "Units; a name without a type means a service");
}

void AddDryRun(const Command& command, bool& dryRun)
{
    command.AddFlag("--dry-run", dryRun, "Show what would happen, and change nothing");
}

void AddUnitsOrPatterns(const Command& command, Texts& units)
{
    command.AddOperand("UNIT", units, "Units or patterns ('nfs*'); without a type, services");
}

void TakeNames(const Argument& argument)
{
    argument.MustPass(PatternFault);
}

void TakeVolumes(const Argument& argument)
{
    argument.TakeAs(WithoutSlashAtEnd).MustPass(VolumeFault);
}

void AddInterval(const Command& command, double& seconds, const std::string& help)
{
    command.AddOption("--interval", "SECONDS", seconds, help).MustPass(IntervalFault);
}

} // namespace MERO::Tool
