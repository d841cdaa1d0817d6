#pragma once

#include <filesystem>
#include <vector>

namespace MERO::Sandbox {

/// Gives the calling process, which has its own mount namespace, a root that it can change freely.
///
/// The root shows the file system of `root`, without the mounts below it. Writes go to memory and are lost with the
/// namespace. `/run`, `/tmp`, `/dev` and `/dev/shm` start empty; `/dev` then gets the harmless devices and its own
/// pseudo-terminals, and `/proc` shows the caller's process namespace. The working directory is `/` afterwards.
/// @param binds  paths of the caller to show read-only at the same place; symbolic links are resolved first, and their
/// targets are shown
/// Throws std::system_error; the namespace is then in an unknown state, and the process should exit.
void EnterPrivateRoot(const std::vector<std::filesystem::path>& binds, const std::filesystem::path& root = "/");

} // namespace MERO::Sandbox
