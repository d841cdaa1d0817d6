#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "commands/volume_report.h"
#include "diagnosis/report.h"
#include "output/output.h"
#include "output/words.h"
#include "running/watched_work.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>

namespace MERO::Tool {
namespace {

std::string NameFault(const std::string& name)
{
    return name.empty() ? "a name is missing" : "";
}

struct VolumeChange {
    const char* verb;
    const char* help;
    const char* note;
    bool isChecked; ///< the unit must exist
    bool (*forUnit)(const std::string& unit, const std::string& volume);
    bool (*forPackage)(const std::string& package, const std::string& volume);
};

constexpr VolumeChange kVolumeChanges[] = {
    {"register", "Register a volume that a unit or a package uses",
     "The unit, or a unit pkgctl-NAME.service, must exist. The volume may be\n"
     "mounted later: a warning is printed if its folder does not exist yet.",
     true, MEROSystemdVolumeRegister, MEROSystemdPackageVolumeRegister},
    {"unregister", "Remove a registration", "", false, MEROSystemdVolumeUnregister, MEROSystemdPackageVolumeUnregister},
};

/// Returns false if systemd does not answer, as during an installation: the unit may exist.
bool IsMissingUnit(const std::string& unit)
{
    std::map<std::string, MERO::Systemd::ShownUnit> units;
    return MEROSystemdShowProperties({unit}, {"LoadState"}, units) && units[unit].asked &&
           IsMissing(units[unit].properties["LoadState"]);
}

void WarnOfMissingFolder(const std::string& volume)
{
    std::error_code error;
    if (!std::filesystem::is_directory(volume, error)) {
        PrintError("warning: " + volume + " is registered, but there is no such folder now");
    }
}

void AddChange(const Command& volumeCommand, const VolumeChange& change)
{
    struct Arguments {
        std::string volume, unit, package;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command command = volumeCommand.AddCommand(change.verb, change.help);
    command.SetNote(change.note);
    TakeVolumes(command.AddOperand("VOLUME", arguments->volume, "A mount path"));
    const Argument unit = command.AddOption("--unit", "UNIT", arguments->unit, "The unit that uses it");
    unit.MustPass(NameFault);
    TakeNames(unit);
    command.AddOption("--package", "NAME", arguments->package, "The package whose services use it")
        .MustPass(NameFault)
        .Excludes(unit);
    command.OnCall([&change, arguments]() -> int {
        const bool forUnit = !arguments->unit.empty();
        if (!forUnit && arguments->package.empty()) {
            throw UsageError("--unit or --package is required");
        }
        const std::string& name = forUnit ? arguments->unit : arguments->package;
        const std::string unit = forUnit ? name : "pkgctl-" + name + ".service";
        if (change.isChecked && IsMissingUnit(unit)) {
            PrintError(name + ": volume " + change.verb + " failed: there is no " +
                       (forUnit ? "such unit" : "unit " + unit));
            return kNoSuchUnit;
        }
        if (!(forUnit ? change.forUnit : change.forPackage)(name, arguments->volume)) {
            return ReportFailure(name + ": volume " + change.verb);
        }
        if (change.isChecked) {
            WarnOfMissingFolder(arguments->volume);
        }
        return kDone;
    });
}

bool HoldsAny(const Texts& texts, const Texts& wanted)
{
    return std::find_first_of(texts.begin(), texts.end(), wanted.begin(), wanted.end()) != texts.end();
}

int ListVolumes(const Texts& volumes, bool json)
{
    using Registration = MERO::Systemd::VolumeRegistration;
    std::vector<Registration> registrations;
    const bool done = MEROSystemdVolumeRegisterList(registrations);
    std::sort(registrations.begin(), registrations.end(), [](const Registration& one, const Registration& other) {
        return std::pair(one.isPackage, one.owner) < std::pair(other.isPackage, other.owner);
    });
    Json::Value list(Json::arrayValue);
    std::vector<Texts> rows{{"KIND", "OWNER", "VOLUMES"}};
    for (const Registration& registration : registrations) {
        if (!volumes.empty() && !HoldsAny(registration.volumes, volumes)) {
            continue;
        }
        const char* kind = registration.isPackage ? "package" : "unit";
        rows.push_back({kind, registration.owner, ToCell(registration.volumes)});
        Json::Value& entry = list.append(Json::objectValue);
        entry["kind"] = kind;
        entry["owner"] = registration.owner;
        entry["volumes"] = ToJson(registration.volumes);
    }
    json ? PrintJson(list) : PrintTable(rows);
    return done ? kDone : ReportFailure("reading some of the registers");
}

int Users(const std::string& mount, bool json)
{
    Texts services;
    const std::string what = "looking for the users of " + mount;
    const WatchedWork work = Watch(what, [&](Progress&) { return MEROSystemdServiceListByMntPath(mount, services); });
    if (!work.done) {
        return ReportFailure(what, work.error);
    }
    std::sort(services.begin(), services.end());
    if (json) {
        PrintJson(ToJson(services));
    } else {
        for (const std::string& service : services) {
            std::cout << service << '\n';
        }
    }
    return SeesAllProcesses("this list") ? kDone : kFailed;
}

int Dependency(const std::string& unit, bool json)
{
    MERO_SYSTEMD_VOLUME_DEPENDENCY dependency = MERO_SYSTEMD_VOLUME_DEPENDENCY_NONE;
    if (!MEROSystemdVolumeDependencyGet(unit, dependency)) {
        PrintError(unit + ": there is no such unit file");
        return kNoSuchUnit;
    }
    PrintText(DependencyWord(dependency), json);
    return kDone;
}

} // namespace

void AddVolumeCommands(const Command& program)
{
    const Command volume = program.AddGroup("volume", "Show who uses volumes, and unmount them");
    for (const VolumeChange& change : kVolumeChanges) {
        AddChange(volume, change);
    }

    struct Arguments {
        Texts volumes;
        std::string name;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();

    const Command list = volume.AddCommand("list", "List who has registered volumes");
    TakeVolumes(list.AddOptionalOperand("VOLUME", arguments->volumes, "Only these volumes"));
    list.AddFlag("--json", arguments->json, "As a JSON array");
    list.OnCall([arguments] { return ListVolumes(arguments->volumes, arguments->json); });

    const Command users = volume.AddCommand("users", "List the services that use files on a volume");
    TakeVolumes(users.AddOperand("MOUNT", arguments->name, "A mount path, or a device"));
    users.AddFlag("--json", arguments->json, "As a JSON array");
    users.OnCall([arguments] { return Users(arguments->name, arguments->json); });

    const Command dependency = volume.AddCommand("dependency", "Print which volumes a unit needs");
    AddUnit(dependency, arguments->name);
    dependency.AddFlag("--json", arguments->json, "As a JSON string");
    dependency.OnCall([arguments] { return Dependency(arguments->name, arguments->json); });

    const Command plan = volume.AddCommand("plan", "Show what unmounting stops, and why; change nothing");
    TakeVolumes(plan.AddOperand("VOLUME", arguments->volumes, "Mount paths"));
    plan.AddFlag("--json", arguments->json, "As a JSON object");
    plan.OnCall([arguments] { return ShowVolumePlan(arguments->volumes, arguments->json); });

    AddVolumeUnmountCommand(volume);
}

} // namespace MERO::Tool
