#pragma once

#include "output/output.h"

#include <functional>

namespace MERO::Tool {

/// A command that the library runs between two changes of the machine, with the texts that the user sees.
struct CommandWithin {
    /// Called when the first change begins. From then on a signal prints `notice` and is passed on; before, it ends
    /// this program.
    using Begin = std::function<void(const std::string& notice)>;

    /// Calls the library with the callback, which returns true if the command succeeded.
    std::function<bool(const Begin&, std::function<bool()>)> action;
    std::function<int()> run;     ///< runs the command and returns its exit code
    std::function<bool()> report; ///< returns after the action whether all is as before
    std::string name;             ///< of the command
    std::string before;           ///< title of the work before the command
    std::string after;            ///< title of the work after it
    std::string planning{};       ///< title of the work before the first change; empty: it takes no time
};

/// Runs the command and shows the progress of the work around it. Prints what failed, and returns the program's exit
/// code.
int RunWithin(const CommandWithin& command);

} // namespace MERO::Tool
