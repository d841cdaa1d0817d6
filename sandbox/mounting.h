#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <sys/mount.h>
#include <utility>
#include <vector>

#include "platform/core/owners.h"

namespace MERO::Sandbox {

/// Keys and values of a file system's options; an empty value makes the key a flag.
using MountOptions = std::vector<std::pair<std::string, std::string>>;

/// Mount attributes of a file system that holds data and nothing else.
inline constexpr unsigned kDataOnly = MOUNT_ATTR_NOSUID | MOUNT_ATTR_NODEV | MOUNT_ATTR_NOEXEC;

/// Makes a file system that is mounted nowhere yet and is gone when the last descriptor of it is closed.
/// @param attributes  MOUNT_ATTR_ bits
/// All functions of this header throw std::system_error.
Descriptor MakeMount(const std::string& type, const MountOptions& options = {}, unsigned attributes = 0);

/// Takes a copy of what is seen at `path`, with all that is mounted below it.
Descriptor CopyMount(const std::filesystem::path& path);

void MakeReadOnly(const Descriptor& tree);

/// Mounts `tree` on `path`, which exists.
void Attach(const Descriptor& tree, const std::filesystem::path& path);

/// Mounts `tree` on `path`; makes the folder or the empty file that it needs there.
void AttachNew(const Descriptor& tree, const std::filesystem::path& path);

/// Takes the caller's mounts, in its mount namespace, out of what it shares with others.
void KeepMountsPrivate();

/// Makes the root of the caller's mount namespace its root and working directory, which leads out of a chroot.
void GoToNamespaceRoot();

/// A descriptor of a folder that is good for nothing but finding things.
Descriptor OpenFolder(const std::filesystem::path& path);

/// Makes `path` or empties it, and writes `text`.
void WriteFile(const std::filesystem::path& path, std::string_view text);

} // namespace MERO::Sandbox
