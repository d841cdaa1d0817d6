#pragma once

#include "output/output.h"
#include "usage/usage.h"

namespace MERO::Tool {

/// A table of what processes use, the heading in its first row.
std::vector<Texts> UsageRows(const std::vector<ProcessUsage>& processes);

/// The row that sums them up, for below the others.
Texts TotalRow(const std::vector<ProcessUsage>& processes);

void PrintUsage(std::vector<Texts> rows);

Json::Value ToJson(const ProcessUsage& process);
Json::Value TotalToJson(const std::vector<ProcessUsage>& processes);

} // namespace MERO::Tool
