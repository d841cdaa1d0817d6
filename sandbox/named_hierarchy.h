#pragma once

#include <array>
#include <filesystem>
#include <string>

#include "platform/core/owners.h"

namespace MERO::Sandbox {

/// The cgroup hierarchies that a box has: systemd's own, and the one in which resources are watched.
inline constexpr std::array kHierarchies{"systemd", "meromonitor"};

/// Mounts the hierarchy `name=…` nowhere; it shows the cgroups of the caller's cgroup namespace.
/// Throws std::system_error.
Descriptor MakeNamedHierarchy(const std::string& name);

/// A named hierarchy that is given up with the object: it is gone then if nobody else uses it.
class NamedHierarchy {
public:
    /// Throws std::system_error.
    explicit NamedHierarchy(const std::string& name);
    ~NamedHierarchy();
    NamedHierarchy(const NamedHierarchy&) = delete;
    NamedHierarchy& operator=(const NamedHierarchy&) = delete;

    /// Where this process sees its cgroups.
    std::filesystem::path Root() const;

private:
    std::string name;
    Descriptor mounted;
};

} // namespace MERO::Sandbox
