/// @file
/// Users of volumes, and the plan of an unmount.
#pragma once

#include <string>
#include <vector>

#pragma GCC visibility push(default)

namespace MERO::Systemd {

/// The volumes that a unit or a package has registered.
struct VolumeRegistration {
    bool isPackage = false;           ///< the owner is a package, otherwise a unit
    std::string owner;                ///< its name
    std::vector<std::string> volumes; ///< in the order in which they were registered
};

/// How a process uses a file.
enum class FileUse { WorkingDirectory, Executable, Descriptor, Map, Root };

/// A process that uses a file on a volume.
struct VolumeUser {
    int pid = 0;                       ///< its process ID
    std::string command;               ///< the kernel's name of the process (/proc/PID/comm), at most 15 bytes
    FileUse use = FileUse::Descriptor; ///< how it uses the file
    std::string file;                  ///< the resolved path of the file
};

/// One cause for which a service stops while volumes are unmounted.
struct StopCause {
    /// The kind of cause.
    enum class Kind {
        DependsOnAll,        ///< `unit` declares that it needs all volumes
        RegisteredByUnit,    ///< it needs some volumes, and has registered one of these
        RegisteredByPackage, ///< it needs some volumes, and its package (pkgctl-PACKAGE.service) has registered one
        UsesFiles            ///< its processes, `users`, use files
    };

    Kind kind = Kind::UsesFiles;   ///< the kind of cause
    std::string unit;              ///< the unit that has the cause; not the one that stops, if that one is its master
    std::string package;           ///< RegisteredByPackage only
    std::vector<VolumeUser> users; ///< UsesFiles only: each process, with the first of its files that was found
};

/// A unit that stops while volumes are unmounted.
struct PlannedStop {
    std::string unit;              ///< the unit's full name
    std::vector<StopCause> causes; ///< at least one
};

/// A use that keeps volumes busy after the services of a plan have stopped.
struct VolumeBlocker {
    /// A process that does not stop, or a use by the kernel. New in 7.1.0: BindMount, another place where a volume or a
    /// folder of it is mounted, and MountNamespace, a volume that is mounted in the mount namespace of the process
    /// `user.pid`, at `user.file`.
    enum class Kind { Process, Mount, LoopDevice, SwapFile, KernelExport, BindMount, MountNamespace };

    Kind kind = Kind::Process; ///< the kind of blocker
    std::string unit;          ///< Process, MountNamespace: the process's unit; empty if unknown
    VolumeUser user;           ///< Process: the process. Others: `user.file` is a file or folder on the volume;
                               ///< LoopDevice: `user.command` is the device's path, since 7.1.0
};

/// The plan of an unmount: what would stop, and what would still keep the volumes busy.
struct VolumeUnmountPlan {
    std::vector<PlannedStop> stops;      ///< what would stop, sorted by the units' names
    std::vector<VolumeBlocker> blockers; ///< what would still keep the volumes busy
};

/// A running unit that systemd stops along with a planned one that it depends on. @since 7.1.0
struct PlannedDependent {
    std::string unit;         ///< the unit's full name
    std::string takenBy;      ///< the unit that it depends on
    bool startsAgain = false; ///< false if it cannot be started by hand (a scope, RefuseManualStart=), or is a mount of
                              ///< the volumes
};

/// A socket, path or timer that keeps running, and may start a stopped service during the unmount. @since 7.1.0
struct VolumeTrigger {
    std::string unit;    ///< the socket, path or timer
    std::string service; ///< the unit that it starts
};

/// A plan with all units that stop. In the classic dialect it has no more than the plan. @since 7.1.0
struct FullVolumeUnmountPlan : VolumeUnmountPlan {
    std::vector<PlannedDependent> dependents; ///< what stops along, sorted by name
    std::vector<VolumeTrigger> triggers;      ///< what may start a stopped service too early
};

/// An unmount that is running, or was interrupted with its services stopped. @since 7.1.0
struct VolumeUnmountState {
    /// None: no unmount is running or interrupted. Interrupted: no process is left that would start the units again.
    enum class Kind { None, Running, Interrupted };

    Kind kind = Kind::None;           ///< the state; the other members are empty for None
    std::vector<std::string> volumes; ///< the volumes that are or were to be unmounted
    std::vector<std::string> units;   ///< the units that it stopped, and that start again afterwards
    long long since = 0;              ///< when it began, in seconds since 1970
    int pid = 0;                      ///< the process that began it
};

} // namespace MERO::Systemd

#pragma GCC visibility pop
