#pragma once

#include "output/output.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace MERO::Tool {

/// Watches systemd's queue for units that are stopping since this object was made.
class StopWatch {
public:
    StopWatch();

    /// Asks systemd.
    void Update();

    Texts Units() const; ///< that had a stop job at the last update

    /// The units that are stopping, with the seconds for which they have been seen to; how many are queued behind them.
    std::string Details() const;

private:
    using Clock = std::chrono::steady_clock;

    struct Stop {
        Clock::time_point seen; ///< first
        bool isRunning;
    };

    std::set<std::uint32_t> before_; ///< jobs that were queued already
    std::map<std::string, Stop> stops_;
};

} // namespace MERO::Tool
