#pragma once

#include "output/output.h"

#include <functional>

namespace MERO::Tool {

/// A command that the library runs between two changes of the machine, as its user sees it.
struct CommandWithin {
    /// Says that the first change begins, and what is done when a signal comes from now on. Before that, a signal ends
    /// this program.
    using Begin = std::function<void(const std::string& notice)>;

    /// Hands its callback to the library. The callback is true when the command succeeded.
    std::function<bool(const Begin&, std::function<bool()>)> action;
    std::function<int()> run;     ///< the command: its exit code
    std::function<bool()> report; ///< says after the action whether all is as before
    std::string name;             ///< of the command
    std::string before;           ///< what is done before the command
    std::string after;            ///< and after it
    std::string planning{};       ///< what is done before the first change begins; empty: nothing that takes time
};

/// Runs the command with the progress of what stops around it, and says what failed. The program's exit code.
int RunWithin(const CommandWithin& command);

} // namespace MERO::Tool
