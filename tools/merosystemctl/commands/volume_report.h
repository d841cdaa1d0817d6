#pragma once

#include "output/output.h"

#include <merosystemd/volume.hpp>

namespace MERO::Tool {

/// Plans to unmount volumes, and prints what stops and why, and what keeps the volumes busy all the same. An exit code.
int ShowVolumePlan(const Texts& volumes, bool json);

/// Names on standard error what holds the volumes: those of the plan's services that still use files there, and all
/// that is no service's.
void PrintHolders(const Systemd::VolumeUnmountPlan& plan);

} // namespace MERO::Tool
