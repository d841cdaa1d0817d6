#pragma once

#include "output/output.h"
#include "output/progress_line.h"

#include <functional>
#include <mutex>

namespace MERO::Tool {

/// What is shown while something takes long. For two threads: the one that works, and the one that shows.
class Progress {
public:
    void Show(const std::string& matter, const std::string& details);

    /// Takes the line off the terminal, and shows nothing until Resume(): somebody else prints there.
    void Pause();
    void Resume();

private:
    std::mutex mutex_;
    ProgressLine line_;
    bool isPaused_ = false;
};

struct WatchedWork {
    bool done;      ///< what the work returned
    int error;      ///< the error register behind it: why it failed, when it did
    Texts stopping; ///< units that were stopping when it was last looked
};

/// Runs `work`. From its second second on a line says what is done, for how long, and which jobs systemd is busy with
/// meanwhile. It is the work that stays in this thread: sessions of PAM are for the first one only.
WatchedWork Watch(const std::string& what, const std::function<bool(Progress&)>& work);

} // namespace MERO::Tool
