#include "running/unit_queries.h"

#include "diagnosis/report.h"
#include "output/command_error.h"
#include "running/general_options.h"

#include <merosystemd/systemd.hpp>

namespace MERO::Tool {

std::map<std::string, Systemd::ShownUnit> AskUnits(const Texts& units, const Texts& properties)
{
    std::map<std::string, Systemd::ShownUnit> shown;
    const auto ask = General().system ? MEROSystemdShowPropertiesSystem : MEROSystemdShowProperties;
    if (!ask(units, properties, shown)) {
        throw FailureOf("asking for " + ToCell(units));
    }
    for (const auto& [unit, answer] : shown) {
        if (!answer.asked) {
            throw CommandError(kFailed, unit + ": systemd cannot be asked for this name");
        }
    }
    return shown;
}

} // namespace MERO::Tool
