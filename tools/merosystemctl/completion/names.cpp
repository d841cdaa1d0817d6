#include "completion/names.h"

#include <merosystemd/resource.hpp>
#include <merosystemd/systemd.hpp>

#include <mntent.h>

#include <map>
#include <memory>

namespace MERO::Tool {
namespace {

// What cannot be asked gives no names: a completion must not fail.

Texts Units(const char* type)
{
    Texts units;
    (void)MEROSystemdListUnits(units, type);
    return units;
}

Texts Reasons()
{
    Texts services;
    Texts all;
    (void)Systemd::ListServicesWithReason(services);
    for (const std::string& service : services) {
        Texts reasons;
        (void)MEROSystemdServiceReasonList(service, reasons);
        all.insert(all.end(), reasons.begin(), reasons.end());
    }
    return all;
}

/// Registered ones, and what is mounted from a device.
Texts Volumes()
{
    Texts all;
    std::vector<Systemd::VolumeRegistration> registrations;
    (void)MEROSystemdVolumeRegisterList(registrations);
    for (const Systemd::VolumeRegistration& registration : registrations) {
        all.insert(all.end(), registration.volumes.begin(), registration.volumes.end());
    }
    const std::unique_ptr<FILE, decltype(&endmntent)> table(setmntent("/proc/self/mounts", "re"), endmntent);
    while (const mntent* mount = table != nullptr ? getmntent(table.get()) : nullptr) {
        if (*mount->mnt_fsname == '/') {
            all.emplace_back(mount->mnt_dir);
        }
    }
    return all;
}

Texts Slices()
{
    Texts all = Units("slice");
    Texts tracked;
    (void)MEROSystemdSliceList(tracked);
    all.insert(all.end(), tracked.begin(), tracked.end());
    return all;
}

const std::map<std::string, Texts (*)()> kNames{
    {"UNIT", [] { return Units(""); }},
    {"--unit", [] { return Units(""); }},
    {"SERVICE", [] { return Units("service"); }},
    {"TARGET", [] { return Units("target"); }},
    {"REASON", Reasons},
    {"VOLUME", Volumes},
    {"MOUNT", Volumes},
    {"SLICE", Slices},
    {"--type",
     [] {
         return Texts{"service", "socket", "device", "mount", "automount", "swap",
                      "target",  "path",   "timer",  "slice", "scope"};
     }},
};

} // namespace

Texts NamesFor(const std::string& argument)
{
    const auto found = kNames.find(argument);
    return found != kNames.end() ? found->second() : Texts();
}

} // namespace MERO::Tool
