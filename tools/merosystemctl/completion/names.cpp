#include "completion/names.h"

#include "completion/known_units.h"
#include "diagnosis/unit_names.h"
#include "usage/usage.h"

#include <merosystemd/resource.hpp>
#include <merosystemd/systemd.hpp>

#include <mntent.h>

#include <filesystem>
#include <map>
#include <memory>

namespace MERO::Tool {
namespace {

// A query that fails offers no names: a completion must not fail.

std::vector<Word> ToWords(const Texts& texts)
{
    std::vector<Word> words;
    for (const std::string& text : texts) {
        words.push_back({text, ""});
    }
    return words;
}

std::vector<Word> Units(const Expected& expected, const char* type = "")
{
    std::vector<Word> words;
    for (const auto& [name, unit] : KnownUnits()) {
        if (name.ends_with(type) && IsOffered(expected.command, name, unit)) {
            words.push_back({name, unit.description});
        }
    }
    return words;
}

/// The held services, by reason.
std::map<std::string, Texts> Holds()
{
    Texts services;
    std::map<std::string, Texts> holds;
    (void)Systemd::ListServicesWithReason(services);
    for (const std::string& service : services) {
        Texts reasons;
        (void)MEROSystemdServiceReasonList(service, reasons);
        for (const std::string& reason : reasons) {
            holds[reason].push_back(service);
        }
    }
    return holds;
}

std::vector<Word> Reasons(const Expected&)
{
    std::vector<Word> words;
    for (const auto& [reason, services] : Holds()) {
        words.push_back({reason, "holds " + ToCell(services)});
    }
    return words;
}

/// Only held services can be released or listed.
std::vector<Word> Services(const Expected& expected)
{
    const bool isRelease = expected.command == "reason release" || expected.command == "reason remove";
    if (!isRelease && expected.command != "reason list") {
        return Units(expected, ".service");
    }
    std::vector<Word> words;
    for (const auto& [reason, services] : Holds()) {
        if (!isRelease || (!expected.operands.empty() && expected.operands.front() == reason)) {
            for (const std::string& service : services) {
                words.push_back({service, "held by " + reason});
            }
        }
    }
    return words;
}

std::vector<Word> Properties(const std::string& unit)
{
    std::vector<Word> words;
    const auto addNames = [&](int, const Texts& lines) {
        for (const std::string& line : lines) {
            words.push_back({line.substr(0, line.find('=')), ""});
        }
        return true;
    };
    try {
        (void)MEROSystemdSystemctl("show", {"--all"}, {unit}, addNames);
    } catch (const std::exception&) {
        words.clear();
    }
    return words;
}

/// "show" takes a unit and a property, or several units.
std::vector<Word> UnitsOrProperties(const Expected& expected)
{
    std::vector<Word> words = Units(expected);
    if (expected.command == "show" && !expected.operands.empty()) {
        const std::vector<Word> properties = Properties(expected.operands.front());
        words.insert(words.end(), properties.begin(), properties.end());
    }
    return words;
}

/// The mount points of devices, and with `withDevices` the devices.
std::vector<Word> Mounts(bool withDevices)
{
    std::vector<Word> words;
    const std::unique_ptr<FILE, decltype(&endmntent)> table(setmntent("/proc/self/mounts", "re"), endmntent);
    while (const mntent* mount = table != nullptr ? getmntent(table.get()) : nullptr) {
        if (*mount->mnt_fsname == '/') {
            words.push_back({mount->mnt_dir, mount->mnt_fsname});
            if (withDevices) {
                words.push_back({mount->mnt_fsname, mount->mnt_dir});
            }
        }
    }
    return words;
}

std::vector<Word> Volumes(const Expected&)
{
    std::vector<Word> words = Mounts(false);
    std::vector<Systemd::VolumeRegistration> registrations;
    (void)MEROSystemdVolumeRegisterList(registrations);
    for (const Systemd::VolumeRegistration& registration : registrations) {
        for (const std::string& volume : registration.volumes) {
            words.push_back({volume, "registered by " + registration.owner});
        }
    }
    return words;
}

std::vector<Word> VolumesAndDevices(const Expected& expected)
{
    std::vector<Word> words = Mounts(true);
    const std::vector<Word> volumes = Volumes(expected);
    words.insert(words.end(), volumes.begin(), volumes.end());
    return words;
}

std::vector<Word> Packages(const Expected&)
{
    std::vector<Word> words;
    std::error_code error;
    for (const auto& package : std::filesystem::directory_iterator("/var/packages", error)) {
        words.push_back({package.path().filename(), ""});
    }
    return words;
}

std::vector<Word> Slices(const Expected& expected)
{
    Texts tracked;
    (void)MEROSystemdSliceList(tracked);
    std::vector<Word> words = ToWords(tracked);
    if (expected.command == "slice kill" || expected.command == "cgroup move") {
        const std::vector<Word> units = Units(expected, ".slice");
        words.insert(words.end(), units.begin(), units.end());
    }
    return words;
}

using Names = std::vector<Word> (*)(const Expected& expected);

const std::map<std::string, Names> kNames{
    {"UNIT", UnitsOrProperties},
    {"PATTERN", [](const Expected& expected) { return Units(expected); }},
    {"--unit", [](const Expected& expected) { return Units(expected); }},
    {"SERVICE", Services},
    {"TARGET", [](const Expected& expected) { return Units(expected, ".target"); }},
    {"REASON", Reasons},
    {"VOLUME", Volumes},
    {"MOUNT", VolumesAndDevices},
    {"--package", Packages},
    {"SLICE", Slices},
    {"--sort",
     [](const Expected&) {
         std::vector<Word> words;
         for (const auto& [order, word] : kOrders) {
             words.push_back({word, ""});
         }
         return words;
     }},
    {"--state",
     [](const Expected& expected) {
         return expected.command == "list-unit-files"
                    ? ToWords({"enabled", "disabled", "static", "masked", "linked", "alias", "indirect", "generated",
                               "transient", "bad"})
                    : ToWords({"loaded", "not-found", "masked", "error", "active", "inactive", "failed", "activating",
                               "deactivating", "reloading", "running", "exited", "dead"});
     }},
    {"--type",
     [](const Expected&) {
         return ToWords({kUnitTypes.begin(), kUnitTypes.end()});
     }},
};

} // namespace

std::vector<Word> NamesFor(const Expected& expected)
{
    const auto found = kNames.find(expected.argument);
    return found != kNames.end() ? found->second(expected) : std::vector<Word>();
}

} // namespace MERO::Tool
