#pragma once

#include "output/output.h"
#include "output/progress_line.h"

#include <chrono>
#include <functional>
#include <mutex>
#include <string>

namespace MERO::Tool {

/// What is shown while something takes long. For two threads: the one that works, and the one that shows.
class Progress {
public:
    explicit Progress(const std::string& what) : what_(what) {}

    /// `units` are those of the jobs in `jobs`.
    void Show(const std::string& units, const std::string& jobs);

    /// Takes the line off the terminal, and shows nothing until Resume(): somebody else prints there.
    void Pause();
    void Resume(const std::string& what);

private:
    using Clock = std::chrono::steady_clock;

    std::mutex mutex_;
    ProgressLine line_;
    std::string what_;
    Clock::time_point since_ = Clock::now();
    bool isPaused_ = false;
};

struct WatchedWork {
    bool done;      ///< what the work returned
    int error;      ///< the error register after it: why it failed, when it did
    Texts stopping; ///< units that were stopping when it was last looked
    bool timedOut;  ///< the time of --timeout was over, and the waiting for jobs was ended
};

/// Runs `work`. From its second second on a line says what is done, for how long, and which jobs systemd is busy with
/// meanwhile. After the time of --timeout every systemctl that waits for jobs is ended. It is the work that stays in
/// this thread: sessions of PAM are for the first one only.
WatchedWork Watch(const std::string& what, const std::function<bool(Progress&)>& work);

} // namespace MERO::Tool
