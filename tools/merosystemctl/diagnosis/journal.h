#pragma once

#include "output/output.h"

#include <optional>
#include <string>

namespace MERO::Tool {

/// What systemd said last of a unit's life: that it was started, stopped, skipped for a condition, or failed.
struct UnitEvent {
    std::string time;    ///< local, as `date` prints it
    std::string message; ///< in systemd's words
    bool isSkipped;      ///< a condition or an assertion was not met
    bool isDependency;   ///< a unit that it needs did not start
};

/// Nothing when the journal tells none, or cannot be read.
std::optional<UnitEvent> LastEvent(const std::string& unit);

/// The last lines that the unit, and systemd of it, wrote to the journal.
Texts LastLines(const std::string& unit, int count);

} // namespace MERO::Tool
