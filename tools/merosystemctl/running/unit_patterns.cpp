#include "running/unit_patterns.h"

#include "diagnosis/report.h"
#include "output/command_error.h"
#include "running/general_options.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>

namespace MERO::Tool {
namespace {

/// The first words of the lines of one of systemctl's lists.
bool List(const std::string& verb, Texts options, const std::string& pattern, Texts& names)
{
    options.insert(options.end(), {"--no-legend", "--no-pager", "--full"});
    const Systemd::SystemctlOpts opts =
        Systemd::SystemctlOptsBuilder().SetCmdOpts(&options).SetForceSystem(General().system).Build();
    try {
        return MEROSystemdSystemctlUltron(verb, opts, {pattern}, [&](int exitCode, const Texts& lines) {
            for (const std::string& line : lines) {
                const std::string name = line.substr(0, line.find_first_of(" \n"));
                if (exitCode == 0 && !name.empty()) {
                    names.push_back(name);
                }
            }
            return exitCode == 0;
        });
    } catch (const std::exception&) {
        return false; // systemctl cannot be run
    }
}

Texts Expand(const std::string& verb, const Texts& units, const std::string& list, const Texts& options,
             const std::string& what)
{
    Texts all;
    for (const std::string& unit : units) {
        if (!IsPattern(unit)) {
            all.push_back(unit);
            continue;
        }
        Texts names;
        if (!List(list, options, unit, names)) {
            throw FailureOf("looking for " + unit);
        }
        if (names.empty()) {
            throw CommandError(kNoSuchUnit, unit + ": no " + what + " matches");
        }
        if (names.size() > 1 && !verb.empty() && !General().quiet) {
            PrintError(unit + ": " + verb + " of " + std::to_string(names.size()) + " units: " + ToCell(names));
        }
        all.insert(all.end(), names.begin(), names.end());
    }
    return all;
}

} // namespace

bool IsPattern(const std::string& unit)
{
    return unit.find_first_of("*?[") != unit.npos;
}

Texts LoadedUnits(const std::string& verb, const Texts& units)
{
    return Expand(verb, units, "list-units", {"--all", "--plain"}, "loaded unit");
}

Texts UnitFiles(const std::string& verb, const Texts& units, const Texts& options)
{
    return Expand(verb, units, "list-unit-files", options, "unit file");
}

} // namespace MERO::Tool
