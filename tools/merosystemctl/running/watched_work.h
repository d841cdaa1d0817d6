#pragma once

#include "output/output.h"
#include "output/progress_line.h"

#include <chrono>
#include <functional>
#include <mutex>
#include <string>

namespace MERO::Tool {

/// Shows what takes so long. Used by two threads: one works, the other shows.
class Progress {
public:
    explicit Progress(const std::string& what) : what_(what) {}

    /// `units` are the units of the jobs in `jobs`.
    void Show(const std::string& units, const std::string& jobs);

    /// Clears the line and shows nothing until Resume(): another program prints there.
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
    bool done;      ///< the return value of the work
    int error;      ///< the error register after the work
    Texts stopping; ///< units that had a stop job at the last look
    bool timedOut;  ///< --timeout expired and the wait for jobs was ended
};

/// Runs `work`. After a second, a line shows what is being done, for how long, and systemd's jobs. When --timeout
/// expires, every systemctl that waits for jobs is ended. The work stays in this thread: only the first thread can open
/// PAM sessions.
WatchedWork Watch(const std::string& what, const std::function<bool(Progress&)>& work);

} // namespace MERO::Tool
