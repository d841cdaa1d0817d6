#pragma once

#include "usage/usage.h"

#include <functional>

namespace MERO::Tool {

struct TopOptions {
    std::chrono::duration<double> interval;
    unsigned count = 0; ///< number of updates; 0: endless
    bool json = false;
    Order order = Order::Cpu;
    std::function<int(const std::string& slice)>
        kill; ///< kills it, prints its progress on the terminal, and returns the exit code
};

/// Shows again and again what the tracked slices use. Returns the exit code.
int ShowTop(const TopOptions& options);

} // namespace MERO::Tool
