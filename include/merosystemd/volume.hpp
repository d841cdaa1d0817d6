/// @file
/// Who uses volumes, and what unmounting them takes.
#pragma once

#include <string>
#include <vector>

#pragma GCC visibility push(default)

namespace MERO::Systemd {

/// The volumes that a unit or a package has registered.
struct VolumeRegistration {
    bool isPackage = false;           ///< the owner is a package, and otherwise a unit
    std::string owner;                ///< its name
    std::vector<std::string> volumes; ///< in the order of their registration
};

/// How a process uses a file.
enum class FileUse { WorkingDirectory, Executable, Descriptor, Map, Root };

/// A process that uses a file on a volume.
struct VolumeUser {
    int pid = 0;                       ///< its process ID
    std::string command;               ///< the kernel's name of the process (/proc/PID/comm): at most 15 bytes
    FileUse use = FileUse::Descriptor; ///< how it uses the file
    std::string file;                  ///< the file's resolved path
};

/// One cause for which a service stops while volumes are unmounted.
struct StopCause {
    /// What the cause lies in.
    enum class Kind {
        DependsOnAll,        ///< `unit` declares that it depends on all volumes
        RegisteredByUnit,    ///< it depends on some volumes, and has registered one of these
        RegisteredByPackage, ///< it depends on some volumes, is called pkgctl-PACKAGE.service, and that package has
                             ///< registered one of these
        UsesFiles            ///< `users`, its processes, use files
    };

    Kind kind = Kind::UsesFiles;   ///< which one it is
    std::string unit;              ///< another one than the service that stops when that one is its master
    std::string package;           ///< RegisteredByPackage only
    std::vector<VolumeUser> users; ///< UsesFiles only: each process with the first of its files that was found
};

/// A unit that stops while volumes are unmounted.
struct PlannedStop {
    std::string unit;              ///< the unit's full name
    std::vector<StopCause> causes; ///< one at least
};

/// What keeps volumes busy although the services of a plan stop.
struct VolumeBlocker {
    /// What is in the way: a process of no service that stops, or a use by the kernel.
    /// BindMount (another place where a volume, or a folder of it, is mounted) and MountNamespace (a volume is mounted
    /// in the mount namespace of the process `user.pid`, at `user.file`) are new in 7.1.0.
    enum class Kind { Process, Mount, LoopDevice, SwapFile, KernelExport, BindMount, MountNamespace };

    Kind kind = Kind::Process; ///< which one it is
    std::string unit;          ///< Process: the unit that the process belongs to; empty when that cannot be told
    VolumeUser user;           ///< Process: who. The others: `user.file`, a file or folder on the volume;
                               ///< LoopDevice: `user.command` is its path, from 7.1.0 on
};

/// What unmounting volumes would stop, and what would still be in the way. Units are in the order of their names.
struct VolumeUnmountPlan {
    std::vector<PlannedStop> stops;      ///< what would stop
    std::vector<VolumeBlocker> blockers; ///< what would still be in the way
};

/// A running unit that systemd stops along with a planned one, on which it depends. @since 7.1.0
struct PlannedDependent {
    std::string unit;         ///< the unit's full name
    std::string takenBy;      ///< the unit that it depends on, and that takes it along
    bool startsAgain = false; ///< false: it cannot be started by hand (a scope, RefuseManualStart=), or it is a mount
                              ///< of the volumes
};

/// A socket, path or timer that runs on, and may start a stopped service again meanwhile. @since 7.1.0
struct VolumeTrigger {
    std::string unit;    ///< the socket, path or timer
    std::string service; ///< the unit that it starts
};

/// A plan with all that goes down. Only where systemctl is today's is there more than in the plan. @since 7.1.0
struct FullVolumeUnmountPlan : VolumeUnmountPlan {
    std::vector<PlannedDependent> dependents; ///< what stops along, in the order of their names
    std::vector<VolumeTrigger> triggers;      ///< what may start stopped services too early
};

/// The unmounting that is going on, or was broken off with its services stopped. @since 7.1.0
struct VolumeUnmountState {
    /// None: nothing is going on, and nothing is left to do. Interrupted: whoever was to start the units again is gone.
    enum class Kind { None, Running, Interrupted };

    Kind kind = Kind::None;           ///< which one it is; the rest is empty for None
    std::vector<std::string> volumes; ///< what is or was to be unmounted
    std::vector<std::string> units;   ///< what is down for it, and starts again after it
    long long since = 0;              ///< when it began: seconds since 1970
    int pid = 0;                      ///< the process that began it
};

} // namespace MERO::Systemd

#pragma GCC visibility pop
