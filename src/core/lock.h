#pragma once

#include <string>
#include <vector>

namespace MERO::Systemd {

/// A lock file that keeps operations of different processes or threads from overlapping.
///
/// The lock belongs to the open file description: it is freed when the last copy of the descriptor is closed, including
/// a forked child's. Copies of a FileLock share one descriptor: within a process, only one of them may be released,
/// closed or destroyed while it holds the lock.
class FileLock {
public:
    /// Does not take the lock yet. `timeout`: the seconds that Acquire may wait; 0: one attempt.
    FileLock(const std::string& path, bool exclusive, int timeout);
    FileLock(const FileLock&) = default;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock();

    /// Takes the lock, and makes its folder if need be. Returns true if the lock is held, also from an earlier call. On
    /// failure logs the cause and sets the error register, to MLIBC_ERR_LOCK_BUSY if others still hold it.
    bool Acquire();

    /// Frees the lock if it is held.
    void Release();

    /// Closes the descriptor directly, without the core library.
    void CloseFd();

    std::string PathGet() const { return path_; }
    int FdGet() const { return fd_; } ///< -1 if the lock is not held

    /// Logs what could not be done because the lock was not available.
    void LogLockFailed(std::string what) const;
    void LogLockFailed(std::vector<std::string> units) const;

private:
    std::string path_;
    bool exclusive_;
    int timeout_;
    int fd_ = -1;
};

/// Held by operations that change the whole machine, one at a time. Waits up to two minutes.
class SystemOperationLock : public FileLock {
public:
    SystemOperationLock();
};

/// Isolations take it exclusively, unmount actions share it. Each sets its own timeout.
inline constexpr const char* kIsolateAndVolumeUnmountLock =
    "/run/merosystemd/locks/isolate-and-volume-unmount-action.lock";

} // namespace MERO::Systemd
