#pragma once

#include "output/output.h"

#include <merosystemd/systemd.hpp>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MERO::Tool {

/// A line of one of systemctl's tables: cells by the headings of their columns, such as "UNIT".
using TableRow = std::map<std::string, std::string>;

/// What `systemctl VERB OPTIONS PATTERNS` lists. Nothing when systemctl fails; `observer` sees what it said.
std::optional<std::vector<TableRow>> ReadTable(const std::string& verb, const Texts& options, const Texts& patterns,
                                               const SystemctlObserver& observer = {});

/// The units that failed, or have failed and wait to be started once more.
std::optional<std::vector<TableRow>> FailedUnits();

} // namespace MERO::Tool
