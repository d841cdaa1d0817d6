#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "diagnosis/report.h"
#include "output/output.h"
#include "running/general_options.h"
#include "running/unit_patterns.h"
#include "running/unit_queries.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <string_view>

namespace MERO::Tool {
namespace {

struct StateQuery {
    const char* name;
    const char* help;
    const char* property;
    std::vector<std::string_view> yes; ///< the values that mean yes
};

const StateQuery kQueries[] = {
    {"is-active", "Print whether units are active", "ActiveState", {"active", "reloading"}},
    {"is-failed", "Print whether units are failed", "ActiveState", {"failed"}},
    {"is-enabled",
     "Print whether units are enabled",
     "UnitFileState",
     {"enabled", "enabled-runtime", "static", "alias", "indirect", "generated"}},
};

/// Prints a word for each unit. Returns systemctl's exit code in this program's numbers: kDone if one of the units
/// qualifies.
int Ask(const StateQuery& query, const Texts& words)
{
    const Texts units = LoadedUnits("", words);
    auto shown = AskUnits(units, {"LoadState", query.property});
    int code = kNoSuchUnit;
    for (const std::string& unit : units) {
        auto& properties = shown[unit].properties;
        const std::string& value = properties[query.property];
        const bool isMissing = IsMissing(properties["LoadState"]);
        const std::string word = !value.empty() ? value : isMissing ? "not-found" : "-";
        if (!General().quiet) {
            std::cout << word << '\n';
        }
        if (std::find(query.yes.begin(), query.yes.end(), word) != query.yes.end()) {
            code = kDone;
        } else if (!isMissing && code != kDone) {
            code = kNotActive;
        }
    }
    return code;
}

} // namespace

void AddStateCommands(const Command& program)
{
    for (const StateQuery& query : kQueries) {
        const auto units = std::make_shared<Texts>();
        const Command command = program.AddCommand(query.name, query.help);
        AddUnitsOrPatterns(command, *units);
        command.OnCall([&query, units] { return Ask(query, *units); });
    }
}

} // namespace MERO::Tool
