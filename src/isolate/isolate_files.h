#pragma once

#include "core/lock.h"

/// The files by which other programs see an isolation.
namespace MERO::Systemd {

/// Target and process of the isolation, as keys of a key-value file. It is there as long as the isolation goes on.
inline constexpr const char* kIsolateStateFile = "/run/merosystemd/isolate-state";
inline constexpr const char* kIsolateStateTarget = "target";
inline constexpr const char* kIsolateStatePid = "pid";

/// Empty; it is there until the isolate command has returned.
inline constexpr const char* kIsolateNotFinishFlag = "/run/merosystemd/isolate-not-finish-flag";

/// Stands where the state file is written, removed and read, and is never acquired there, deliberately: the file is
/// replaced whole, and its readers must not wait.
class IsolateStateLock : public FileLock {
public:
    IsolateStateLock() : FileLock("/run/merosystemd/locks/isolate-state.lock", true, 5) {}
};

} // namespace MERO::Systemd
