#pragma once

#include "usage/usage.h"

#include <functional>

namespace MERO::Tool {

struct TopOptions {
    std::chrono::duration<double> interval;
    unsigned count = 0; ///< of updates; 0: for ever
    bool json = false;
    Order order = Order::Cpu;
    std::function<int(const std::string& slice)>
        kill; ///< kills it, says on the terminal how far that is. The exit code
};

/// Shows what the tracked slices use, again and again. The exit code.
int ShowTop(const TopOptions& options);

} // namespace MERO::Tool
