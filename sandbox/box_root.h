#pragma once

#include "sandbox/hierarchy.h"

namespace MERO::Sandbox {

inline constexpr const char* kBootTarget = "mero-sandbox.target";

/// Prepares the calling process's private root for a systemd as its pid 1: `/sys`, the cgroup hierarchies, a protected
/// `/proc`, and a configuration that starts none of the host's services. Call it in the sandbox's own pid, uts and
/// cgroup namespaces. Throws std::system_error.
void FurnishForSystemd(CgroupLayout layout);

} // namespace MERO::Sandbox
