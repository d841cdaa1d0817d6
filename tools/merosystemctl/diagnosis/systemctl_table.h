#pragma once

#include "output/output.h"

#include <merosystemd/systemd.hpp>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MERO::Tool {

/// A line of a systemctl table: its cells by column heading, such as "UNIT".
using TableRow = std::map<std::string, std::string>;

/// The rows of `systemctl VERB OPTIONS PATTERNS`. Nothing if systemctl fails; `observer` gets its output.
std::optional<std::vector<TableRow>> ReadTable(const std::string& verb, const Texts& options, const Texts& patterns,
                                               const SystemctlObserver& observer = {});

/// The units that failed, among them those that wait for a restart.
std::optional<std::vector<TableRow>> FailedUnits();

} // namespace MERO::Tool
