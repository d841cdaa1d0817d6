#pragma once

#include <filesystem>
#include <span>
#include <string>

#include "platform/core/owners.h"

namespace MERO::Sandbox {

/// The cgroup hierarchies of a sandbox: systemd's and the resource monitor's, both version 1; version 2 alone; or
/// version 2 for systemd and version 1 for the monitor.
enum class CgroupLayout { V1, V2, Mixed };

struct Hierarchy {
    const char* name; ///< for version 1; nullptr: the unified hierarchy of version 2
    const char* mountPoint;
    const char* commands; ///< the cgroup, not managed by systemd, of the commands that run inside
};

std::span<const Hierarchy> HierarchiesOf(CgroupLayout layout);

/// Makes a mount of the hierarchy that is attached nowhere. It shows the cgroups of the caller's cgroup namespace.
/// Throws std::system_error.
Descriptor MakeHierarchy(const Hierarchy& hierarchy);

/// A hierarchy that is released with the object; a version 1 hierarchy is then gone unless somebody else uses it.
class OwnedHierarchy {
public:
    /// Throws std::system_error.
    explicit OwnedHierarchy(const Hierarchy& hierarchy);
    ~OwnedHierarchy();
    OwnedHierarchy(const OwnedHierarchy&) = delete;
    OwnedHierarchy& operator=(const OwnedHierarchy&) = delete;

    /// The path under which this process sees its cgroups.
    std::filesystem::path Root() const;

private:
    Hierarchy hierarchy;
    Descriptor mounted;
};

} // namespace MERO::Sandbox
