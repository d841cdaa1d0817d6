#pragma once

#include "isolate/isolate_files.h"

#include <string>

/// What an isolation leaves for others to see, and takes away again on every way out.
namespace MERO::Systemd {

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
