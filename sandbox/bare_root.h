#pragma once

namespace MERO::Sandbox {

/// Mounts `/proc` and `/dev` for the calling process if its root, a bare chroot, has none.
///
/// The mounts are in a new mount namespace of the process: others do not see them, and they vanish with it. Throws
/// std::system_error.
void FurnishBareRoot();

} // namespace MERO::Sandbox
