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
    std::string root;               ///< the folder within the file system that is mounted
    std::string point;              ///< the folder where it is mounted
    std::vector<std::string> peers; ///< the peer groups that it propagates mounts to, or receives them from
};

std::vector<MountEntry> MountTableParse(std::string_view text);

/// Returns the places outside `volumes` where the file system of one of them, or a folder of it, is mounted too.
std::vector<std::string> FindBindMounts(const std::vector<MountEntry>& table, const std::vector<std::string>& volumes);

/// Returns where the mount namespace with the table `other` keeps one of `volumes` mounted after an unmount in the
/// namespace with the table `own`, because nothing propagates between them. Empty if it keeps none.
std::string FindKeptMount(const std::vector<MountEntry>& own, const std::vector<MountEntry>& other,
                          const std::vector<std::string>& volumes);

} // namespace MERO::Systemd
