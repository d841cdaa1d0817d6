#pragma once

#include <string>
#include <vector>

namespace MERO::Systemd {

/// A lock file that keeps operations of different processes, or threads, apart.
///
/// The lock belongs to the open file description: it is free when the last copy of the descriptor is closed, a forked
/// child's included. Copies of a FileLock share one descriptor: only one of them, in one process, may be released,
/// closed or destroyed while holding it.
class FileLock {
public:
    /// Takes no lock yet. `timeout`: how many seconds Acquire may wait; 0: one attempt.
    FileLock(const std::string& path, bool exclusive, int timeout);
    FileLock(const FileLock&) = default;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock();

    /// Takes the lock, whose folder is made if need be; true when it is held, by an earlier call too. Otherwise the
    /// reason is logged, and the error register says MLIBC_ERR_LOCK_BUSY or what else happened.
    bool Acquire();

    /// Gives the lock back, if it is held.
    void Release();

    /// Release without the core library: for a copy that only has to go.
    void CloseFd();

    std::string PathGet() const { return path_; }
    int FdGet() const { return fd_; } ///< -1 while the lock is not held

    /// Logs what could not be done because Acquire failed.
    void LogLockFailed(std::string what) const;
    void LogLockFailed(std::vector<std::string> units) const;

private:
    std::string path_;
    bool exclusive_;
    int timeout_;
    int fd_ = -1;
};

/// Held by operations that change the whole machine: one at a time, waited for up to two minutes.
class SystemOperationLock : public FileLock {
public:
    SystemOperationLock();
};

// The locks that more than one operation takes. Their modes and times differ, and stand where they are taken.

/// Exclusive for isolations, shared by volume unmount actions.
inline constexpr const char* kIsolateAndVolumeUnmountLock =
    "/run/merosystemd/locks/isolate-and-volume-unmount-action.lock";

} // namespace MERO::Systemd
