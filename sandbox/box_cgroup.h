#pragma once

#include <filesystem>
#include <string>

#include "sandbox/hierarchy.h"

namespace MERO::Sandbox {

/// The cgroup of a sandbox in one hierarchy; removed with the object.
class BoxCgroup {
public:
    /// Also removes the cgroups in the hierarchy whose owners were killed. Throws std::system_error.
    explicit BoxCgroup(const Hierarchy& hierarchy);
    ~BoxCgroup();
    BoxCgroup(const BoxCgroup&) = delete;
    BoxCgroup& operator=(const BoxCgroup&) = delete;

    /// Moves the calling process into it. Throws std::system_error.
    void Enter() const;

private:
    OwnedHierarchy hierarchy;
    std::filesystem::path path;
    /// Locked while the cgroup has an owner: the lock ends with the process, however that ends.
    Descriptor locked;
};

} // namespace MERO::Sandbox
