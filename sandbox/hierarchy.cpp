#include "sandbox/hierarchy.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <system_error>

#include "sandbox/check.h"
#include "sandbox/mounting.h"

namespace MERO::Sandbox {

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::milliseconds kHierarchyPatience{1000};

constexpr Hierarchy kMonitor{"meromonitor", "/sys/fs/cgroup/meromonitor", "/sys/fs/cgroup/meromonitor"};
constexpr Hierarchy kV1[] = {{"systemd", "/sys/fs/cgroup/systemd", "/sys/fs/cgroup/systemd"}, kMonitor};
// While controllers are in use, the kernel lets no process into the root of version 2.
constexpr Hierarchy kV2[] = {{nullptr, "/sys/fs/cgroup", "/sys/fs/cgroup/mero-sandbox"}, kMonitor};

bool Contains(const char* file, const std::string& text)
{
    std::ostringstream content;
    content << std::ifstream(file).rdbuf();
    return content.str().find(text) != std::string::npos;
}

fs::path RootOf(const Descriptor& hierarchy)
{
    return fs::path("/proc/self/fd") / std::to_string(hierarchy.Get());
}

bool HasCgroups(const Descriptor& hierarchy)
{
    const fs::directory_iterator entries(RootOf(hierarchy));
    return std::any_of(begin(entries), end(entries), [](const auto& entry) { return entry.is_directory(); });
}

/// @return none while the kernel is still destroying the hierarchy with this name
Descriptor MakeUnlessDying(const std::string& name)
{
    try {
        return MakeMount("cgroup", {{"none", ""}, {"name", name}}, kDataOnly);
    } catch (const std::system_error& error) {
        if (error.code() != std::errc::device_or_resource_busy)
            throw;
        return {};
    }
}

/// The kernel destroys a hierarchy on its last unmount, but only once its cgroups are gone completely, which is some
/// time after their removal. So this mounts and unmounts it until then.
void GiveUp(const std::string& name)
{
    // A chroot shows only its own mounts; pid 1 sees those of the machine.
    for (const char* mounts : {"/proc/self/mountinfo", "/proc/1/mountinfo"})
        if (Contains(mounts, "name=" + name))
            return;
    (void)Await(kHierarchyPatience, [&] {
        if (!Contains("/proc/self/cgroup", ":name=" + name + ":"))
            return true;
        const Descriptor again = MakeUnlessDying(name);
        return again && HasCgroups(again);
    });
}

} // namespace

std::span<const Hierarchy> HierarchiesOf(CgroupLayout layout)
{
    if (layout == CgroupLayout::V1)
        return kV1;
    return std::span(kV2).first(layout == CgroupLayout::V2 ? 1 : 2);
}

Descriptor MakeHierarchy(const Hierarchy& hierarchy)
{
    if (hierarchy.name == nullptr)
        return MakeMount("cgroup2", {}, kDataOnly);
    Descriptor made;
    if (!Await(kHierarchyPatience, [&] { return bool(made = MakeUnlessDying(hierarchy.name)); }))
        throw std::system_error(EBUSY, std::generic_category(),
                                std::string("cannot mount the hierarchy name=") + hierarchy.name);
    return made;
}

OwnedHierarchy::OwnedHierarchy(const Hierarchy& owned) : hierarchy(owned), mounted(MakeHierarchy(owned)) {}

OwnedHierarchy::~OwnedHierarchy()
{
    mounted.Close();
    if (hierarchy.name == nullptr)
        return;
    try {
        GiveUp(hierarchy.name);
    } catch (const std::exception&) {
        // An empty hierarchy stays, and the next sandbox uses it.
    }
}

fs::path OwnedHierarchy::Root() const
{
    return RootOf(mounted);
}

} // namespace MERO::Sandbox
