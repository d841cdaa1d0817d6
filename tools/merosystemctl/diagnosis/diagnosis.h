#pragma once

#include "output/exit_code.h"
#include "output/output.h"

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace MERO::Tool {

/// One thing that keeps a unit from running, or that ended it.
struct Cause {
    std::string kind; ///< a word: held, masked, failed ...
    std::string text;
    std::string remedy; ///< a command that takes it away; may be empty
};

/// Why a unit runs, or does not.
struct Diagnosis {
    std::string unit; ///< with its type
    std::string load, active, sub;
    std::string since; ///< of the active state; empty when systemd does not know
    std::vector<Cause> causes;
    Texts log; ///< the last lines of the journal, unless it runs
};

/// Nothing when systemd cannot be asked.
std::optional<Diagnosis> Diagnose(const std::string& unit);

/// Causes and log, one below the other.
void PrintCauses(std::ostream& stream, const Diagnosis& diagnosis, const std::string& indentation);

} // namespace MERO::Tool
