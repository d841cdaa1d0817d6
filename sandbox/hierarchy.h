#pragma once

#include <filesystem>
#include <span>
#include <string>

#include "platform/core/owners.h"

namespace MERO::Sandbox {

/// Which cgroup hierarchies a box has: systemd's own and the one in which resources are watched, both of version 1;
/// version 2 alone; or version 2 for systemd and version 1 for the other.
enum class CgroupLayout { V1, V2, Mixed };

struct Hierarchy {
    const char* name; ///< of version 1; nullptr: the unified hierarchy of version 2
    const char* mountPoint;
    const char* commands; ///< the cgroup of the commands that run inside, which systemd does not manage
};

std::span<const Hierarchy> HierarchiesOf(CgroupLayout layout);

/// Mounts the hierarchy nowhere; it shows the cgroups of the caller's cgroup namespace. Throws std::system_error.
Descriptor MakeHierarchy(const Hierarchy& hierarchy);

/// A hierarchy that is given up with the object: one of version 1 is gone then if nobody else uses it.
class OwnedHierarchy {
public:
    /// Throws std::system_error.
    explicit OwnedHierarchy(const Hierarchy& hierarchy);
    ~OwnedHierarchy();
    OwnedHierarchy(const OwnedHierarchy&) = delete;
    OwnedHierarchy& operator=(const OwnedHierarchy&) = delete;

    /// Where this process sees its cgroups.
    std::filesystem::path Root() const;

private:
    Hierarchy hierarchy;
    Descriptor mounted;
};

} // namespace MERO::Sandbox
