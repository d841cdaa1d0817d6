#pragma once

#include "output/exit_code.h"

#include <stdexcept>
#include <string>

namespace MERO::Tool {

/// Thrown by a command that cannot go on: the message for standard error, and the exit code.
class CommandError : public std::runtime_error {
public:
    CommandError(ExitCode exitCode, const std::string& message) : std::runtime_error(message), code(exitCode) {}

    ExitCode code;
};

/// The arguments contradict each other. Nothing was done.
class UsageError : public CommandError {
public:
    explicit UsageError(const std::string& message) : CommandError(kUsage, message) {}
};

} // namespace MERO::Tool
