#pragma once

#include "usage/usage.h"

#include <deque>
#include <map>

namespace MERO::Tool {

using History = std::deque<double>; ///< the newest at the back

/// What a slice uses, and has used lately. Shares are of the whole machine: 0 to 1.
struct SliceUsage {
    std::string unit;
    std::vector<ProcessUsage> processes;
    ProcessUsage total;
    double memoryShare = 0;
    History cpuHistory;    ///< of total.cpuShare; empty until there are two readings
    History memoryHistory; ///< of memoryShare
};

/// Makes what slices use, and its history, out of readings.
class SliceMonitor {
public:
    explicit SliceMonitor(const Machine& machine) : machine_(machine) {}

    /// Takes in what has been read of all slices. Those that are missing are forgotten.
    void Update(const std::vector<Reading>& readings);

    const std::vector<SliceUsage>& Slices() const { return slices_; } ///< by name

private:
    SliceUsage Usage(const Reading& reading) const;

    Machine machine_;
    std::map<std::string, Reading> readings_; ///< the last of each slice
    std::vector<SliceUsage> slices_;
};

/// All of them together, with "total" for a name.
SliceUsage TotalOf(const std::vector<SliceUsage>& slices);

/// By what their processes use together; those that are alike, and for orders that only processes have, by name.
void Sort(std::vector<SliceUsage>& slices, Order order);

/// The slices that the machine tracks now.
std::vector<Reading> ReadTrackedSlices();

} // namespace MERO::Tool
