#pragma once

#include <filesystem>
#include <string>

#include "sandbox/named_hierarchy.h"

namespace MERO::Sandbox {

/// The process name that tells a keeper, which owns a box's cgroups, from other processes.
inline constexpr const char* kKeeperName = "mero-keeper";

/// The cgroup, in one hierarchy, of the box whose keeper is the calling process; removed with the object.
class BoxCgroup {
public:
    /// Also removes what keepers that were killed have left in the hierarchy. Throws std::system_error.
    explicit BoxCgroup(const std::string& hierarchyName);
    ~BoxCgroup();
    BoxCgroup(const BoxCgroup&) = delete;
    BoxCgroup& operator=(const BoxCgroup&) = delete;

    /// Moves the calling process into it. Throws std::system_error.
    void Enter() const;

private:
    NamedHierarchy hierarchy;
    std::filesystem::path path;
};

} // namespace MERO::Sandbox
