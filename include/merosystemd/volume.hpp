/// Who uses volumes, and what unmounting them takes.
#pragma once

#include <string>
#include <vector>

#pragma GCC visibility push(default)

namespace MERO::Systemd {

/// The volumes that a unit or a package has registered.
struct VolumeRegistration {
    bool isPackage = false;
    std::string owner;
    std::vector<std::string> volumes; ///< in the order of their registration
};

/// How a process uses a file.
enum class FileUse { WorkingDirectory, Executable, Descriptor, Map, Root };

/// A process that uses a file on a volume.
struct VolumeUser {
    int pid = 0;
    std::string command; ///< the kernel's name of the process (/proc/<pid>/comm): at most 15 bytes
    FileUse use = FileUse::Descriptor;
    std::string file;
};

/// One cause for which a service stops while volumes are unmounted.
struct StopCause {
    enum class Kind {
        DependsOnAll,        ///< `unit` declares that it depends on all volumes
        RegisteredByUnit,    ///< it depends on some volumes, and has registered one of these
        RegisteredByPackage, ///< it depends on some volumes, and its package, `package`, has registered one of these
        UsesFiles            ///< `users`, its processes, use files
    };

    Kind kind = Kind::UsesFiles;
    std::string unit;              ///< another one than the service that stops when that one is its master
    std::string package;           ///< RegisteredByPackage only
    std::vector<VolumeUser> users; ///< UsesFiles only: each process with the first of its files that was found
};

struct PlannedStop {
    std::string unit;
    std::vector<StopCause> causes; ///< one at least
};

/// What keeps volumes busy although the services of a plan stop.
struct VolumeBlocker {
    enum class Kind { Process, Mount, LoopDevice, SwapFile, KernelExport };

    Kind kind = Kind::Process;
    std::string unit; ///< Process: the unit that the process belongs to; empty when that cannot be told
    VolumeUser user;  ///< Process: who. The others: only `user.file`, a file or folder on the volume
};

/// What unmounting volumes would stop, and what would still be in the way. Units are in the order of their names.
struct VolumeUnmountPlan {
    std::vector<PlannedStop> stops;
    std::vector<VolumeBlocker> blockers;
};

} // namespace MERO::Systemd

#pragma GCC visibility pop
