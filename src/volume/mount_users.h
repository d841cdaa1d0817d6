#pragma once

#include "volume/process_files.h"

#include <functional>
#include <string>

namespace MERO::Systemd {

/// A process of a service that uses a file below a mount path.
struct MountUser {
    std::string service;
    ProcessFolder process;
    FileUse use;
    std::string file; ///< the first one that was found, resolved
};

/// AsPublished: of files that exist; a process of a user's own manager counts as one of the system's unit of that name.
/// ForUnmount: files that are deleted keep a volume busy too, and a user's units are not the system's.
enum class MountUserSearch { AsPublished, ForUnmount };

/// Hands the processes of services that use files below the mount path to `take`, one file each. Services that opt
/// out are left out. False when /proc cannot be opened (error register 0x0900).
bool ForEachMountUser(const std::string& mountPath, MountUserSearch search,
                      const std::function<void(ProcessFiles&, const MountUser&)>& take);

} // namespace MERO::Systemd
