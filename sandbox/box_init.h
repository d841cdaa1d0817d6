#pragma once

#include <filesystem>
#include <list>
#include <vector>

#include "platform/core/owners.h"
#include "sandbox/box_cgroup.h"
#include "sandbox/owned_process.h"

namespace MERO::Sandbox {

inline constexpr const char* kSystemd = "/lib/systemd/systemd";

/// What a box is made of.
struct Box {
    std::vector<std::filesystem::path> binds; ///< paths of the host that are seen in it, read-only
    std::filesystem::path root = "/";         ///< what its root file system shows
    CgroupLayout cgroups = CgroupLayout::V1;
};

/// The pid 1 of a box, a systemd that boots; all processes of the box end with the object.
struct BoxInit {
    OwnedProcess process;
    /// A datagram socket on which systemd tells how far it is.
    Descriptor notifications;
    /// The master of the terminal that is the box's `/dev/console`.
    Descriptor console;
};

/// Starts it in new namespaces, in `cgroups` and with a root of its own. Throws std::exception.
BoxInit StartInit(const std::list<BoxCgroup>& cgroups, const Box& box);

} // namespace MERO::Sandbox
