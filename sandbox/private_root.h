#pragma once

#include <filesystem>
#include <vector>

namespace MERO::Sandbox {

/// Gives the calling process, which has a mount namespace of its own, a root that it may change freely.
///
/// The root shows `root` (the file system that it is in alone, not what is mounted below it); what is
/// written goes to memory and is gone with the namespace. `/run`, `/tmp`, `/dev` and `/dev/shm` start empty,
/// `/dev` with the harmless devices and pseudo-terminals of its own, and `/proc` is that of the caller's
/// process namespace. The working directory is `/` afterwards.
/// @param binds  paths of the caller that shall be seen, read-only, where they are now; symbolic links are
///               followed first, and the paths that they lead to are the ones that are seen
/// Throws std::system_error; the namespace is then in an unknown state, and the process had better end.
void EnterPrivateRoot(const std::vector<std::filesystem::path>& binds, const std::filesystem::path& root = "/");

} // namespace MERO::Sandbox
