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

/// Runs `work`. From its second second on a line says what is done, for how long, and which jobs systemd is busy with
/// meanwhile, unless `isQuiet`. It is the work that stays in this thread: sessions of PAM are for the first one only.
WatchedWork Watch(const std::string& what, const std::atomic<bool>& isQuiet, const std::function<bool()>& work);
WatchedWork Watch(const std::string& what, const std::function<bool()>& work);

} // namespace MERO::Tool
