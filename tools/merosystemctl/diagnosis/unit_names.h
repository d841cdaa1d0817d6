#pragma once

#include "output/output.h"

#include <array>
#include <string>

namespace MERO::Tool {

inline constexpr std::array kUnitTypes{"service", "socket", "device", "mount", "automount", "swap",
                                       "target",  "path",   "timer",  "slice", "scope"};

bool HasUnitType(const std::string& name);

/// The name with its type; a name without one means a service.
std::string WholeName(const std::string& unit);

/// The items of a property that is a list. systemctl quotes items with unusual characters.
Texts SplitWords(const std::string& list);

} // namespace MERO::Tool
