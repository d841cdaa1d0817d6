#pragma once

#include "core/lock.h"

#include <merosystemd/options.hpp>

#include <string>

/// The files by which other programs see an isolation: taken away again on every way out.
namespace MERO::Systemd {

/// Target and process of the isolation, as keys of a key-value file. It is there as long as the isolation goes on.
inline constexpr const char* kIsolateStateFile = "/run/merosystemd/isolate-state";
inline constexpr const char* kIsolateStateTarget = "target";
inline constexpr const char* kIsolateStatePid = "pid";

/// Empty; it is there until the isolate command has returned.
inline constexpr const char* kIsolateNotFinishFlag = "/run/merosystemd/isolate-not-finish-flag";

/// Stands where the state file is written, removed and read, and is acquired nowhere: the file is replaced whole, and
/// its readers must not wait.
class IsolateStateLock : public FileLock {
public:
    IsolateStateLock() : FileLock("/run/merosystemd/locks/isolate-state.lock", true, 5) {}
};

enum class IsolateStateReading { Done, Gone, Failed };

/// Reads the state file of an isolation whose process lives; `state` is untouched unless that is done. Gone, which is
/// not logged: there is no file any more. Failed is logged, unless the process is gone.
IsolateStateReading ReadIsolateState(const char* path, IsolateState& state);

/// The state file: written when an isolation begins, removed when this object goes.
class IsolateStateFile {
public:
    /// A file that cannot be written is logged, and stops nothing.
    explicit IsolateStateFile(const std::string& target);
    IsolateStateFile(const IsolateStateFile&) = delete;
    IsolateStateFile& operator=(const IsolateStateFile&) = delete;
    ~IsolateStateFile();

private:
    IsolateStateLock lock_;
};

/// The flag that the isolate command has not returned yet. It is taken down when this object goes, if it still stands.
class NotFinishFlag {
public:
    NotFinishFlag() = default;
    NotFinishFlag(const NotFinishFlag&) = delete;
    NotFinishFlag& operator=(const NotFinishFlag&) = delete;
    ~NotFinishFlag() { TakeDown(); }

    bool Raise();

    /// A failure is logged; the next call, or the destructor, tries again.
    void TakeDown();

private:
    bool stands_ = false;
};

} // namespace MERO::Systemd
