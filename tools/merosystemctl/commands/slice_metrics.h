#pragma once

#include "usage/usage.h"

#include <vector>

namespace MERO::Tool {

/// Prints what slices have used, as metrics. Throws a CommandError if systemd does not answer.
void PrintSliceMetrics(const std::vector<Reading>& readings);

} // namespace MERO::Tool
