#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <sys/mount.h>
#include <utility>
#include <vector>

#include "platform/core/owners.h"

namespace MERO::Sandbox {

/// A file system's options; an empty value makes a key a flag.
using MountOptions = std::vector<std::pair<std::string, std::string>>;

/// Mount attributes for a file system that holds only data.
inline constexpr unsigned kDataOnly = MOUNT_ATTR_NOSUID | MOUNT_ATTR_NODEV | MOUNT_ATTR_NOEXEC;

/// Makes a file system that is not attached yet and vanishes with its last descriptor.
/// @param attributes  MOUNT_ATTR_ bits
/// All functions of this header throw std::system_error.
Descriptor MakeMount(const std::string& type, const MountOptions& options = {}, unsigned attributes = 0);

/// Copies the mounts at and below `path`.
Descriptor CopyMount(const std::filesystem::path& path);

void MakeReadOnly(const Descriptor& tree);

/// Attaches `tree` to `path`, which must exist.
void Attach(const Descriptor& tree, const std::filesystem::path& path);

/// Attaches `tree` to `path`, and first creates the folder or empty file there if it is missing.
void AttachNew(const Descriptor& tree, const std::filesystem::path& path);

/// Stops the caller's mount namespace from sharing mounts with other namespaces.
void KeepMountsPrivate();

/// Moves the caller's root and working directory to the root of its mount namespace, also out of a chroot.
void GoToNamespaceRoot();

/// Opens a folder as a starting point for paths only (O_PATH).
Descriptor OpenFolder(const std::filesystem::path& path);

/// Creates or empties `path`, and writes `text`.
void WriteFile(const std::filesystem::path& path, std::string_view text);

} // namespace MERO::Sandbox
