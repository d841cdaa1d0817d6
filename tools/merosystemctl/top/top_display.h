#pragma once

#include "top/end_signals.h"
#include "top/slice_top.h"
#include "usage/slice_monitor.h"

#include <memory>

namespace MERO::Tool {

/// Where slice top shows what it measures.
class TopDisplay {
public:
    virtual ~TopDisplay() = default;
    virtual void Show(std::vector<SliceUsage> slices) = 0;

    /// False when the program is to end before that time.
    virtual bool WaitUntil(Clock::time_point time) = 0;
};

/// A screen that answers keys. Null when standard output is no terminal that can have one.
std::unique_ptr<TopDisplay> MakeTopScreen(const EndSignals& signals, const TopOptions& options);

/// A plain line for each slice; or, as JSON, an array of them on one line each time.
std::unique_ptr<TopDisplay> MakeTopLines(const EndSignals& signals, const TopOptions& options);

} // namespace MERO::Tool
