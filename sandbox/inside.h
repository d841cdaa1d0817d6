#pragma once

#include <csignal>
#include <string>
#include <vector>

#include "platform/core/owners.h"
#include "sandbox/hierarchy.h"
#include "sandbox/owned_process.h"

namespace MERO::Sandbox {

/// This program's exit codes when the command gives none.
enum ExitCode { kBadUsage = 2, kSandboxFailed = 125, kCannotRun = 126, kNotFound = 127, kSignalBase = 128 };

/// Starts `command` in the sandbox whose pid 1 is `boxInit`, with the sandbox's hierarchies.
///
/// The command gets this process's environment, streams and, if it exists in the sandbox, working directory. If it
/// cannot be run, it prints an error on standard error and ends with kCannotRun or kNotFound.
/// @param signalMask  the mask that the command starts with
/// @param output  its standard output, if not this process's
/// @return a child that ends with the command's exit status, or with kSignalBase plus the signal that killed it; its
/// Signal() signals the command
/// Throws std::exception.
OwnedProcess StartInside(const Descriptor& boxInit, CgroupLayout cgroups, const std::vector<std::string>& command,
                         const sigset_t& signalMask, int output = STDOUT_FILENO);

} // namespace MERO::Sandbox
