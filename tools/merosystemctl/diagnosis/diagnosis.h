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
    std::string remedy;    ///< a command that takes it away; may be empty
    std::string unit = {}; ///< the other unit that it lies in, such as a dependency
    Texts log = {};        ///< the last lines of that unit
};

/// Why a unit runs, or does not.
struct Diagnosis {
    bool asked = true; ///< false: systemd could not be asked for this name; the rest is empty then, but for `unit`
    std::string unit;  ///< with its type
    std::string load, active, sub;
    std::string since; ///< of the active state; empty when systemd does not know
    std::vector<Cause> causes;
    Texts log; ///< the last lines of the journal, unless it runs
};

/// One for each unit, in their order. Nothing when systemd cannot be asked. It takes as many processes for many units
/// as for one.
std::optional<std::vector<Diagnosis>> Diagnose(const Texts& units);
std::optional<Diagnosis> Diagnose(const std::string& unit);

Json::Value ToJson(const std::vector<Cause>& causes);

/// One below the other, with what to do in a line of its own.
void PrintCauses(std::ostream& stream, const std::vector<Cause>& causes, const std::string& indentation);

/// Causes and log, one below the other.
void PrintCauses(std::ostream& stream, const Diagnosis& diagnosis, const std::string& indentation);

} // namespace MERO::Tool
