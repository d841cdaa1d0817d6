#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "core/errors.h"
#include "core/names.h"
#include "core/systemctl_dialect.h"
#include "core/text.h"
#include "unit/unit_file_list.h"
#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

bool AskForUnitFiles(const SystemctlDialect& dialect, const std::string& type, Texts& units)
{
    Texts options{"--no-legend", kOfflineOption};
    if (!type.empty()) {
        options.insert(options.end(), {"--type", type});
    }
    return MEROSystemdSystemctl("list-unit-files", options, {}, [&](int exitCode, const Texts& lines) {
        if (exitCode != 0) {
            return false;
        }
        dialect.CheckColumns(lines, dialect.unitFileColumns);
        for (const std::string& line : lines) {
            Texts fields;
            if (!Split(dialect.Row(line), fields, " ")) {
                throw std::bad_alloc();
            }
            if (fields.size() == dialect.unitFileColumns) {
                units.push_back(fields.front());
            }
        }
        return true;
    });
}

/// Reads the folders that systemctl would read. systemctl takes seconds for 1,000 unit files, because it also finds out
/// which of them are enabled.
bool ReadFolders(const Texts& folders, const std::string& type, Texts& units)
{
    const int error = ListUnitFiles(folders, type, units);
    if (error != 0) {
        errno = error;
        SetError(MERO_HERE, MLIBC_ERR_OPEN_DIRECTORY);
        MERO_LOG(LOG_ERR, "Failed to read the folders of unit files: %m");
    }
    return error == 0;
}

} // namespace

bool MEROSystemdListUnits(std::vector<std::string>& units, const std::string& strType)
{
    // Programs match this text.
    if (!CheckArgument(strType.empty() || IsUnitType(strType), MERO_HERE,
                       "(strType.empty() || setUnitTypes.end() != setUnitTypes.find(strType))")) {
        return false;
    }
    try {
        const SystemctlDialect dialect = ConfiguredSystemctlDialect();
        const auto folders = dialect.isCurrent ? UnitFolders() : std::nullopt;
        return folders ? ReadFolders(*folders, strType, units) : AskForUnitFiles(dialect, strType, units);
    } catch (const std::exception&) {
        MERO_LOG(LOG_ERR, "list-unit-files failed.");
        return false;
    }
}
