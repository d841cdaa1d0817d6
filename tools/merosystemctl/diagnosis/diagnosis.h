#pragma once

#include "output/exit_code.h"
#include "output/output.h"

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace MERO::Tool {

/// One thing that ended a unit or keeps it from running.
struct Cause {
    std::string kind; ///< a word: held, masked, failed ...
    std::string text;
    std::string remedy;    ///< a command that removes it; may be empty
    std::string unit = {}; ///< another unit at fault, such as a dependency
    Texts log = {};        ///< that unit's last log lines
};

/// A unit's state, and why it does not run.
struct Diagnosis {
    bool asked = true; ///< false: systemd has no answer for this name, and only `unit` is set
    std::string unit;  ///< with its type
    std::string load, active, sub;
    std::string since; ///< of the active state; empty if systemd does not know
    std::vector<Cause> causes;
    Texts log; ///< its last journal lines; empty if it runs
};

/// Returns one for each unit, in their order; nothing if systemd does not answer. Many units take no more processes
/// than one.
std::optional<std::vector<Diagnosis>> Diagnose(const Texts& units);

Json::Value ToJson(const std::vector<Cause>& causes);

/// Prints one below the other, each remedy on its own line.
void PrintCauses(std::ostream& stream, const std::vector<Cause>& causes, const std::string& indentation);

/// Prints the causes, and then the log.
void PrintCauses(std::ostream& stream, const Diagnosis& diagnosis, const std::string& indentation);

} // namespace MERO::Tool
