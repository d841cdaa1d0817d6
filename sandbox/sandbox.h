#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "sandbox/box_init.h"

namespace MERO::Sandbox {

struct Options {
    Box box;
    std::chrono::milliseconds bootTime = std::chrono::seconds(30);
    bool isVerbose = false;
    std::vector<std::string> command;
};

/// Boots a sandbox, runs the command in it, and removes the sandbox.
/// @return the command's exit status, or 128 plus the signal that ended it or the wait for the sandbox
/// Throws std::exception if the sandbox itself fails; nothing remains then either.
int RunInSandbox(const Options& options);

} // namespace MERO::Sandbox
