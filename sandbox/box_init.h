#pragma once

#include <filesystem>
#include <list>
#include <vector>

#include "platform/core/owners.h"
#include "sandbox/box_cgroup.h"
#include "sandbox/owned_process.h"

namespace MERO::Sandbox {

inline constexpr const char* kSystemd = "/lib/systemd/systemd";

/// The settings of a sandbox.
struct Box {
    std::vector<std::filesystem::path> binds; ///< paths of the host to show in it, read-only
    std::filesystem::path root = "/";         ///< the folder that its root file system shows
    CgroupLayout cgroups = CgroupLayout::V1;
};

/// The pid 1 of a sandbox: a booting systemd. All processes of the sandbox end with the object.
struct BoxInit {
    OwnedProcess process;
    /// A datagram socket on which systemd reports its progress.
    Descriptor notifications;
    /// The master of the terminal that is the sandbox's `/dev/console`.
    Descriptor console;
};

/// Starts pid 1 in new namespaces, in `cgroups`, with its own root. Throws std::exception.
BoxInit StartInit(const std::list<BoxCgroup>& cgroups, const Box& box);

} // namespace MERO::Sandbox
