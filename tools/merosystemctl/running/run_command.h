#pragma once

#include "output/output.h"

namespace MERO::Tool {

/// While it exists, signals that would end this program go to the command that it runs, so that what was begun for the
/// command is also undone. One object at a time.
class SignalsToCommand {
public:
    /// The first signal prints `notice` on standard error.
    explicit SignalsToCommand(const std::string& notice = "");
    SignalsToCommand(const SignalsToCommand&) = delete;
    SignalsToCommand& operator=(const SignalsToCommand&) = delete;
    ~SignalsToCommand();
};

/// Whether the command's program exists. Prints an error if not.
bool IsRunnable(const Texts& command);

/// Runs a command in the foreground, on this program's streams. Returns the exit code that a shell would: 128 plus the
/// signal that ended the command or came before it started; 127, and an error is printed, if it cannot be started.
int RunCommand(const Texts& command);

/// The signal that came before the command could be started; 0 if none did.
int SignalBeforeCommand();

/// Whether RunCommand() returned the command's own exit code.
constexpr bool IsOwnExitCode(int code)
{
    return code < 127;
}

} // namespace MERO::Tool
