#include "running/unit_patterns.h"

#include "diagnosis/report.h"
#include "diagnosis/systemctl_table.h"
#include "running/general_options.h"

namespace MERO::Tool {
namespace {

const std::string kUnitFiles = "list-unit-files";

/// The units that one of systemctl's lists shows for a pattern.
Texts Matches(const std::string& list, const Texts& options, const std::string& pattern)
{
    SystemctlWords words;
    const auto rows = ReadTable(list, options, {pattern}, words.Listener());
    const bool mayBeEmpty = list == kUnitFiles && words.WereHeard(); // systemctl fails if it lists nothing
    if (!rows && (!mayBeEmpty || words.SayNoManager())) {
        throw FailureOf("looking for " + pattern, words);
    }
    Texts names;
    for (TableRow row : rows.value_or(std::vector<TableRow>())) {
        names.push_back(row["UNIT"]);
    }
    return names;
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
        const Texts names = Matches(list, options, unit);
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
    return Expand(verb, units, kUnitFiles, options, "unit file");
}

} // namespace MERO::Tool
