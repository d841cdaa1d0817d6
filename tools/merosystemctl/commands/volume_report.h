#pragma once

#include "output/output.h"

#include <merosystemd/volume.hpp>

namespace MERO::Tool {

/// Plans to unmount volumes, and prints what stops and why, and what keeps the volumes busy all the same. An exit code.
int ShowVolumePlan(const Texts& volumes, bool json);

/// Whether this user may read which files all processes use. When not, says that `what`, which was made from them, is
/// incomplete.
bool SeesAllProcesses(const std::string& what);

/// Says on standard error which of the volumes are not mounted.
bool AreMounted(const Texts& volumes);

/// Names on standard error what is in the way, each with what to do.
void PrintBlockers(const std::vector<Systemd::VolumeBlocker>& blockers);

/// Names on standard error what holds the volumes: those of the plan's services that still use files there, and all
/// that is no service's.
void PrintHolders(const Systemd::VolumeUnmountPlan& plan);

/// Says which of the units run again, and which do not. False when there is one of those.
bool ReportReturn(const Texts& units);

} // namespace MERO::Tool
