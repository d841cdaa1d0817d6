#pragma once

#include "output/output.h"

#include <optional>
#include <string>
#include <vector>

namespace MERO::Tool {

/// A unit that systemd has in memory, in systemctl's words.
struct LoadedUnit {
    std::string name, load, active, sub, description;
};

/// What `systemctl list-units` prints with these options, such as "--all". `patterns` are names or shell patterns;
/// without any, all units. Nothing when systemd cannot be asked.
std::optional<std::vector<LoadedUnit>> ListLoadedUnits(const Texts& options, const Texts& patterns);

} // namespace MERO::Tool
