#pragma once

#include "output/output.h"

#include <atomic>
#include <functional>

namespace MERO::Tool {

struct WatchedWork {
    bool done;      ///< what the work returned
    int error;      ///< the error register behind it: why it failed, when it did
    Texts stopping; ///< units that were stopping when it was last looked
};

/// Runs `work` in a thread of its own. From its second second on a line says what is done, for how long, and which jobs
/// systemd is busy with meanwhile, unless `isQuiet`.
WatchedWork Watch(const std::string& what, const std::atomic<bool>& isQuiet, const std::function<bool()>& work);
WatchedWork Watch(const std::string& what, const std::function<bool()>& work);

} // namespace MERO::Tool
