#pragma once

#include "diagnosis/diagnosis.h"
#include "diagnosis/unit_properties.h"

#include <string>
#include <vector>

namespace MERO::Tool {

inline constexpr const char* kFailureProperties =
    "Id,ActiveState,SubState,Result,NRestarts,StartLimitBurst,StartLimitIntervalUSec,ExecMainCode,ExecMainStatus,"
    "ExecCondition,ExecStartPre,ExecStart,ExecStartPost,ExecStop,ExecStopPost,ExecMount,ExecActivate";

bool Runs(const UnitProperties& unit);

/// Whether it failed and waits for its restart.
bool IsRestarting(const UnitProperties& unit);

/// A unit's failure: systemd's word for it, and which command failed and how.
std::string FailureText(const UnitProperties& unit);

/// Adds a cause if the unit failed, keeps restarting, or may not be started any more.
void AddFailure(const UnitProperties& unit, bool hitStartLimit, std::vector<Cause>& causes);

} // namespace MERO::Tool
