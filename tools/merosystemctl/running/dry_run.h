#pragma once

#include "output/output.h"

#include <string>
#include <vector>

namespace MERO::Tool {

/// The effect of an action on a unit, as far as the dependencies loaded now show it.
struct Foreseen {
    std::string unit;
    std::string change; ///< a word: stops, starts, is removed ...
    std::string cause;
};

// Each throws a CommandError if systemd does not answer or a unit does not exist.

/// The units, and those that systemd stops with them.
std::vector<Foreseen> ForeseeStop(const Texts& units);
/// The units, those that they pull in, and those that conflict with these.
std::vector<Foreseen> ForeseeStart(const Texts& units);
std::vector<Foreseen> ForeseeIsolation(const std::string& target);

/// Prints the changes, and what cannot be known in advance. Returns the exit code.
int PrintForeseen(const std::vector<Foreseen>& changes, bool json);

} // namespace MERO::Tool
