#pragma once

#include "sandbox/hierarchy.h"

namespace MERO::Sandbox {

/// The target that a box boots.
inline constexpr const char* kBootTarget = "mero-sandbox.target";

/// Completes a private root, the calling process's, for a systemd that becomes pid 1 in it: `/sys`, the
/// cgroup hierarchies, a shielded `/proc`, and a configuration that starts none of the host's services.
/// Call it in the box's own pid, uts and cgroup namespaces. Throws std::system_error.
void FurnishForSystemd(CgroupLayout layout);

} // namespace MERO::Sandbox
