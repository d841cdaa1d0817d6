#include "commands/commands.h"
#include "commands/volume_report.h"
#include "diagnosis/report.h"
#include "output/output.h"
#include "output/words.h"
#include "running/watched_work.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <iostream>
#include <memory>

namespace MERO::Tool {
namespace {

const CLI::Validator
    kIsNotEmpty([](std::string& text) { return text.empty() ? std::string("a name is missing") : std::string(); }, "",
                "name");

struct Change {
    const char* verb;
    const char* help;
    bool (*forUnit)(const std::string& unit, const std::string& volume);
    bool (*forPackage)(const std::string& package, const std::string& volume);
};

constexpr Change kChanges[] = {
    {"register", "Have a unit or a package use a volume", MEROSystemdVolumeRegister, MEROSystemdPackageVolumeRegister},
    {"unregister", "Have it not use the volume any more", MEROSystemdVolumeUnregister,
     MEROSystemdPackageVolumeUnregister},
};

void AddChange(CLI::App& volumeCommand, const Change& change, int& exitCode)
{
    struct Arguments {
        std::string volume, unit, package;
    };
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* command = volumeCommand.add_subcommand(change.verb, change.help);
    command->add_option("VOLUME", arguments->volume, "A mount path")->required()->check(kIsVolume);
    CLI::Option* unit = command->add_option("--unit", arguments->unit, "The unit that uses it")->check(kIsNotEmpty);
    command->add_option("--package", arguments->package, "The package whose services use it")
        ->check(kIsNotEmpty)
        ->excludes(unit);
    command->callback([&change, arguments, &exitCode] {
        const bool forUnit = !arguments->unit.empty();
        if (!forUnit && arguments->package.empty()) {
            throw CLI::RequiredError("--unit or --package");
        }
        const std::string& name = forUnit ? arguments->unit : arguments->package;
        const bool done = (forUnit ? change.forUnit : change.forPackage)(name, arguments->volume);
        exitCode = done ? kDone : ReportFailure(name + ": volume " + change.verb);
    });
}

bool HoldsAny(const Texts& texts, const Texts& wanted)
{
    return std::find_first_of(texts.begin(), texts.end(), wanted.begin(), wanted.end()) != texts.end();
}

int List(const Texts& volumes, bool json)
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
        return kDone;
    }
    for (const std::string& service : services) {
        std::cout << service << '\n';
    }
    return kDone;
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

void AddVolumeCommands(CLI::App& program, const Texts& behindDashes, int& exitCode)
{
    CLI::App* volume = program.add_subcommand("volume", "Know who uses volumes, and unmount them");
    volume->require_subcommand(1);
    for (const Change& change : kChanges) {
        AddChange(*volume, change, exitCode);
    }

    struct Arguments {
        Texts volumes;
        std::string name;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();

    CLI::App* list = volume->add_subcommand("list", "List who has registered volumes");
    list->add_option("VOLUME", arguments->volumes, "Only these volumes")->check(kIsVolume);
    list->add_flag("--json", arguments->json, "As a JSON array");
    list->callback([arguments, &exitCode] { exitCode = List(arguments->volumes, arguments->json); });

    CLI::App* users = volume->add_subcommand("users", "List the services that use files on a volume");
    users->add_option("MOUNT", arguments->name, "A mount path, or a device")->required()->check(kIsVolume);
    users->add_flag("--json", arguments->json, "As a JSON array");
    users->callback([arguments, &exitCode] { exitCode = Users(arguments->name, arguments->json); });

    CLI::App* dependency = volume->add_subcommand("dependency", "Print which volumes a unit needs");
    dependency->add_option("UNIT", arguments->name, "A unit; a name without a type means a service")->required();
    dependency->add_flag("--json", arguments->json, "As a JSON string");
    dependency->callback([arguments, &exitCode] { exitCode = Dependency(arguments->name, arguments->json); });

    CLI::App* plan = volume->add_subcommand("plan", "Show what unmounting stops, and why; change nothing");
    plan->add_option("VOLUME", arguments->volumes, "Mount paths")->required()->check(kIsVolume);
    plan->add_flag("--json", arguments->json, "As a JSON object");
    plan->callback([arguments, &exitCode] { exitCode = ShowVolumePlan(arguments->volumes, arguments->json); });

    AddVolumeUnmountCommand(*volume, behindDashes, exitCode);
}

} // namespace MERO::Tool
