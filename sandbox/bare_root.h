#pragma once

namespace MERO::Sandbox {

/// Gives the calling process a `/proc` and devices when its root, a chroot that nobody has furnished, has none.
///
/// They are in a mount namespace that the process gets for them: nobody else sees them, and they go with it.
/// Throws std::system_error.
void FurnishBareRoot();

} // namespace MERO::Sandbox
