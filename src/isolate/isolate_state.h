#pragma once

#include "core/lock.h"

#include <merosystemd/options.hpp>

#include <string>

/// The files that show an isolation to other programs. They are removed however the isolation ends.
namespace MERO::Systemd {

/// A key-value file with the target and process of the isolation. It exists as long as the isolation goes on.
inline constexpr const char* kIsolateStateFile = "/run/merosystemd/isolate-state";
inline constexpr const char* kIsolateStateTarget = "target";
inline constexpr const char* kIsolateStatePid = "pid";

/// An empty file that exists until the isolate command has returned.
inline constexpr const char* kIsolateNotFinishFlag = "/run/merosystemd/isolate-not-finish-flag";

/// Names the state file's lock, which nobody acquires: the file is replaced whole, and its readers must not wait.
class IsolateStateLock : public FileLock {
public:
    IsolateStateLock() : FileLock("/run/merosystemd/locks/isolate-state.lock", true, 5) {}
};

enum class IsolateStateReading { Done, Gone, Failed };

/// Reads the state file of an isolation whose process is alive; `state` is only set if the answer is Done. Gone: the
/// file no longer exists; not logged. Failed is logged, unless it is because the process has ended.
IsolateStateReading ReadIsolateState(const char* path, IsolateState& state);

/// The state file: the constructor writes it, the destructor removes it.
class IsolateStateFile {
public:
    /// If the file cannot be written, that is logged and stops nothing.
    explicit IsolateStateFile(const std::string& target);
    IsolateStateFile(const IsolateStateFile&) = delete;
    IsolateStateFile& operator=(const IsolateStateFile&) = delete;
    ~IsolateStateFile();

private:
    IsolateStateLock lock_;
};

/// The flag that says that the isolate command has not returned yet. The destructor takes it down.
class NotFinishFlag {
public:
    NotFinishFlag() = default;
    NotFinishFlag(const NotFinishFlag&) = delete;
    NotFinishFlag& operator=(const NotFinishFlag&) = delete;
    ~NotFinishFlag() { TakeDown(); }

    bool Raise();

    /// Logs a failure; the next call, or the destructor, tries again.
    void TakeDown();

private:
    bool isRaised_ = false;
};

} // namespace MERO::Systemd
