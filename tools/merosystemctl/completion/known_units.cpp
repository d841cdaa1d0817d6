#include "completion/known_units.h"

#include "diagnosis/systemctl_table.h"
#include "diagnosis/unit_names.h"

#include <merosystemd/systemd.hpp>

#include <string_view>

namespace MERO::Tool {
namespace {

/// Returns them in the manager's order.
Texts UnitFolders()
{
    constexpr std::string_view kProperty = "UnitPath=";
    Texts folders;
    const auto read = [&](int, const Texts& lines) {
        for (const std::string& line : lines) {
            if (line.starts_with(kProperty)) {
                folders = SplitWords(line.substr(kProperty.size()));
            }
        }
        return true;
    };
    try {
        (void)MEROSystemdSystemctl("show", {"--property=UnitPath"}, {}, read);
    } catch (const std::exception&) {
        folders.clear(); // systemctl could not run
    }
    return !folders.empty() ? folders
                            : Texts{"/etc/systemd/system", "/run/systemd/system", "/usr/local/lib/systemd/system",
                                    "/lib/systemd/system", "/usr/lib/systemd/system"};
}

bool IsRunning(const KnownUnit& unit)
{
    return unit.active == "active" || unit.active == "activating" || unit.active == "reloading" ||
           unit.active == "refreshing";
}

bool IsMasked(const KnownUnit& unit)
{
    return unit.file.isMasked || unit.load == "masked";
}

bool CanBeStarted(const std::string& name, const KnownUnit& unit)
{
    return !IsRunning(unit) && !IsMasked(unit) && !name.ends_with(".device") && name.find("@.") == name.npos;
}

} // namespace

std::map<std::string, KnownUnit> KnownUnits()
{
    std::map<std::string, KnownUnit> units;
    // One call returns the states of all units; "list-unit-files" takes seconds when there are many files.
    const auto loaded = ReadTable("list-units", {"--plain", "--all"}, {});
    for (TableRow unit : loaded.value_or(std::vector<TableRow>())) {
        if (unit["LOAD"] != "not-found") {
            units[unit["UNIT"]] = {unit["LOAD"], unit["ACTIVE"], unit["DESCRIPTION"], {}};
        }
    }
    for (const auto& [name, file] : ReadUnitFolders(UnitFolders())) {
        if (!file.path.empty()) {
            units[name].file = file;
        }
    }
    return units;
}

bool IsOffered(const std::string& command, const std::string& name, const KnownUnit& unit)
{
    if (command == "start") {
        return CanBeStarted(name, unit);
    }
    if (command == "stop" || command == "restart" || command == "try-restart" || command == "reload" ||
        command == "reload-or-restart") {
        return IsRunning(unit) && !name.ends_with(".device");
    }
    if (command == "reset-failed") {
        return unit.active == "failed";
    }
    if (command == "mask" || command == "unmask") {
        return IsMasked(unit) == (command == "unmask");
    }
    if (command == "enable" || command == "disable") {
        const UnitFile& file = unit.file;
        return !file.isMasked && !file.isAlias && file.isLinked == (command == "disable") && HasLine(file, "[Install]");
    }
    if (command == "info" || command == "uninstall" || command == "reenable") {
        return !unit.file.path.empty();
    }
    if (command == "isolate" || command == "run-in") {
        return HasLine(unit.file, "AllowIsolate=yes") || HasLine(unit.file, "AllowIsolate=true");
    }
    return true;
}

} // namespace MERO::Tool
