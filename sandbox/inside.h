#pragma once

#include <csignal>
#include <string>
#include <vector>

#include "platform/core/owners.h"
#include "sandbox/hierarchy.h"
#include "sandbox/owned_process.h"

namespace MERO::Sandbox {

/// The exit codes of this program when the command does not give one.
enum ExitCode { kBadUsage = 2, kSandboxFailed = 125, kCannotRun = 126, kNotFound = 127, kSignalBase = 128 };

/// Starts `command` in the box whose pid 1 is `boxInit`, with the hierarchies that it has.
///
/// It has this process's environment, streams and, where the box has it too, working directory. When it
/// cannot be run, it says so on standard error and ends with kCannotRun or kNotFound.
/// @param signalMask  the mask that the command starts with
/// @param output  its standard output, where that is not this process's
/// @return a child that ends with the command's exit status, or with kSignalBase plus the signal that killed
///         it; what is signalled is the command
/// Throws std::exception.
OwnedProcess StartInside(const Descriptor& boxInit, CgroupLayout cgroups, const std::vector<std::string>& command,
                         const sigset_t& signalMask, int output = STDOUT_FILENO);

} // namespace MERO::Sandbox
