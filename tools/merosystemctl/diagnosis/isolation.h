#pragma once

#include "diagnosis/diagnosis.h"

#include <optional>
#include <string>

namespace MERO::Tool {

/// The isolation that is running or was interrupted: then its process was killed, and the machine may be anywhere
/// between two targets.
struct Isolation {
    enum class Kind { None, Running, Interrupted, Unreadable };

    Kind kind = Kind::None;
    std::string target; ///< if Running or Interrupted
    std::string pid;    ///< if Interrupted: the process that is gone
};

Isolation CurrentIsolation();

/// Its description and remedy; nothing if there is none.
std::optional<Cause> IsolationCause(const Isolation& isolation);

} // namespace MERO::Tool
