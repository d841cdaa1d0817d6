#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "core/errors.h"
#include "core/names.h"
#include "core/systemctl_dialect.h"
#include "core/text.h"
#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdListUnits(std::vector<std::string>& units, const std::string& strType)
{
    // Programs that read the log match this text.
    if (!CheckArgument(strType.empty() || IsUnitType(strType), MERO_HERE,
                       "(strType.empty() || setUnitTypes.end() != setUnitTypes.find(strType))")) {
        return false;
    }
    try {
        std::vector<std::string> options{"--no-legend", kOfflineOption};
        if (!strType.empty()) {
            options.insert(options.end(), {"--type", strType});
        }
        const SystemctlDialect dialect = ConfiguredSystemctlDialect();
        const auto addUnits = [&](int exitCode, const std::vector<std::string>& lines) {
            if (exitCode != 0) {
                return false;
            }
            dialect.CheckColumns(lines, dialect.unitFileColumns);
            for (const std::string& line : lines) {
                std::vector<std::string> fields;
                if (!Split(dialect.Row(line), fields, " ")) {
                    throw std::bad_alloc();
                }
                if (fields.size() == dialect.unitFileColumns) {
                    units.push_back(fields.front());
                }
            }
            return true;
        };
        return MEROSystemdSystemctl("list-unit-files", options, {}, addUnits);
    } catch (const std::exception&) {
        MERO_LOG(LOG_ERR, "list-unit-files failed.");
        return false;
    }
}
