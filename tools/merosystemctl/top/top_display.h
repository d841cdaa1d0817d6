#pragma once

#include "top/end_signals.h"
#include "top/slice_top.h"
#include "usage/slice_monitor.h"

#include <memory>

namespace MERO::Tool {

/// Where "slice top" shows its measurements.
class TopDisplay {
public:
    virtual ~TopDisplay() = default;
    virtual void Show(std::vector<SliceUsage> slices) = 0;

    /// Returns false if the program should end before that time.
    virtual bool WaitUntil(Clock::time_point time) = 0;
};

/// A screen that answers keys. Null if standard output is not a terminal that can show one.
std::unique_ptr<TopDisplay> MakeTopScreen(const EndSignals& signals, const TopOptions& options);

/// Prints a plain line for each slice; with JSON, an array of them on one line each time.
std::unique_ptr<TopDisplay> MakeTopLines(const EndSignals& signals, const TopOptions& options);

} // namespace MERO::Tool
