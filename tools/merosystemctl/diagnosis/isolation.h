#pragma once

#include "diagnosis/diagnosis.h"

#include <optional>
#include <string>

namespace MERO::Tool {

/// The isolation that is going on, or was interrupted: the process that did it was killed, and the machine may be
/// anywhere between two targets.
struct Isolation {
    enum class Kind { None, Running, Interrupted, Unreadable };

    Kind kind = Kind::None;
    std::string target; ///< of Running and Interrupted
    std::string pid;    ///< of Interrupted: the process that is gone
};

Isolation CurrentIsolation();

/// What there is to say of it, and what to do; nothing when there is none.
std::optional<Cause> IsolationCause(const Isolation& isolation);

} // namespace MERO::Tool
