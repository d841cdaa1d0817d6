#pragma once

#include "output/output.h"
#include "usage/usage.h"

namespace MERO::Tool {

/// A table of what processes use, with a heading row.
std::vector<Texts> UsageRows(const std::vector<ProcessUsage>& processes);

/// The row with their sum, to go below the others.
Texts TotalRow(const std::vector<ProcessUsage>& processes);

void PrintUsage(std::vector<Texts> rows);

Json::Value ToJson(const ProcessUsage& process);
Json::Value TotalToJson(const std::vector<ProcessUsage>& processes);

} // namespace MERO::Tool
