#pragma once

#include "output/output.h"

#include <atomic>
#include <functional>

namespace MERO::Tool {

struct WatchedWork {
    bool done;           ///< what the work returned
    Texts stillStopping; ///< units that were stopping when it did
};

/// Runs `work` in a thread of its own and shows meanwhile which units are stopping, unless `isQuiet`.
WatchedWork WithStopProgress(const std::atomic<bool>& isQuiet, const std::function<bool()>& work);

} // namespace MERO::Tool
