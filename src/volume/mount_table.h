#pragma once

#include "core/text_reader.h"

#include <string>
#include <string_view>
#include <vector>

namespace MERO::Systemd {

/// A line of /proc/PID/mountinfo: see proc(5).
struct MountEntry {
    std::string id;
    std::string parent;             ///< the id of the mount that this one is mounted on
    std::string device;             ///< "major:minor"
    std::string root;               ///< the folder of the file system that is mounted
    std::string point;              ///< the folder that it is mounted on
    std::vector<std::string> peers; ///< the peer groups that it shares its mounts with, or follows
};

std::vector<MountEntry> MountTableParse(std::string_view text);

/// Another mount of the file system that one of `volumes` mounts, or of a folder of it, besides those at or below them.
std::vector<std::string> FindBindMounts(const std::vector<MountEntry>& table, const std::vector<std::string>& volumes);

/// Where a mount namespace with the table `other` keeps one of `volumes` mounted although it is unmounted in the
/// namespace with the table `own`: nothing is handed on between them. Empty when it does not.
std::string FindKeptMount(const std::vector<MountEntry>& own, const std::vector<MountEntry>& other,
                          const std::vector<std::string>& volumes);

} // namespace MERO::Systemd
