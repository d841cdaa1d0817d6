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
    std::string file; ///< the first one found, resolved
};

/// AsPublished: only existing files; a user manager's process counts for the system unit of the same name.
/// ForUnmount: deleted files count, because they keep a volume busy too; a user manager's units do not.
enum class MountUserSearch { AsPublished, ForUnmount };

/// Calls `take` for each process of a service that uses a file below the mount path, with one such file. Skips services
/// that opt out. Returns false if /proc cannot be opened (error register 0x0900).
bool ForEachMountUser(const std::string& mountPath, MountUserSearch search,
                      const std::function<void(ProcessFiles&, const MountUser&)>& take);

} // namespace MERO::Systemd
