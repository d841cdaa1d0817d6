#pragma once

#include "output/output.h"

namespace MERO::Tool {

/// While it lives, signals that would end this program go to the command that it runs instead, so that what was begun
/// for the command is also taken back. One object at a time.
class SignalsToCommand {
public:
    /// `notice` is printed on standard error as soon as the first of them comes.
    explicit SignalsToCommand(const std::string& notice = "");
    SignalsToCommand(const SignalsToCommand&) = delete;
    SignalsToCommand& operator=(const SignalsToCommand&) = delete;
    ~SignalsToCommand();
};

/// Whether the command's program exists; says so when it does not.
bool IsRunnable(const Texts& command);

/// Runs a command in the foreground, with this program's streams. Its exit code as a shell has it: 128 and the
/// signal that ended it, or that came before it could be started; 127 when it cannot be started, which is said.
int RunCommand(const Texts& command);

/// The signal that came before the command could be started; 0: none did.
int SignalBeforeCommand();

/// Whether an exit code of RunCommand is what the command itself said.
constexpr bool IsOwnExitCode(int code)
{
    return code < 127;
}

} // namespace MERO::Tool
