#pragma once

#include "output/output.h"

#include <merosystemd/volume.hpp>

namespace MERO::Tool {

/// Plans an unmount of the volumes and prints the services that stop, why, and what would still keep the volumes busy.
/// Returns the exit code.
int ShowVolumePlan(const Texts& volumes, bool json);

/// Whether this user may read the open files of all processes. If not, prints that `what`, which depends on them, is
/// incomplete.
bool SeesAllProcesses(const std::string& what);

/// Whether all volumes are mounted. Prints those that are not on standard error.
bool AreMounted(const Texts& volumes);

/// Prints the blockers on standard error, each with a remedy.
void PrintBlockers(const std::vector<Systemd::VolumeBlocker>& blockers);

/// Prints on standard error what holds the volumes: the plan's services that still use files there, and the blockers.
void PrintHolders(const Systemd::VolumeUnmountPlan& plan);

/// Prints which of the units run again and which do not. Returns whether all do.
bool ReportReturn(const Texts& units);

} // namespace MERO::Tool
