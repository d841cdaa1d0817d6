#pragma once

#include "output/output.h"

#include <string>
#include <vector>

namespace MERO::Tool {

/// What an action would do to a unit, as far as the dependencies that are loaded now show it.
struct Foreseen {
    std::string unit;
    std::string change; ///< a word: stops, starts, is removed ...
    std::string cause;
};

// Each throws a CommandError when systemd does not answer, or there is no such unit.

/// The units, and all that systemd stops along with them.
std::vector<Foreseen> ForeseeStop(const Texts& units);
/// The units, what they pull in, and what conflicts with that.
std::vector<Foreseen> ForeseeStart(const Texts& units);
std::vector<Foreseen> ForeseeIsolation(const std::string& target);

/// Prints them, and what nobody can know before. The exit code.
int PrintForeseen(const std::vector<Foreseen>& changes, bool json);

} // namespace MERO::Tool
