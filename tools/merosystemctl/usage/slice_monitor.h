#pragma once

#include "usage/usage.h"

#include <deque>
#include <map>

namespace MERO::Tool {

using History = std::deque<double>; ///< newest last

/// The usage of a slice, now and lately. Shares are of the whole machine: 0 to 1.
struct SliceUsage {
    std::string unit;
    std::vector<ProcessUsage> processes;
    ProcessUsage total;
    double memoryShare = 0;
    History cpuHistory;    ///< of total.cpuShare; empty until there are two readings
    History memoryHistory; ///< of memoryShare
};

/// Computes what slices use, and the history of it, from readings.
class SliceMonitor {
public:
    explicit SliceMonitor(const Machine& machine) : machine_(machine) {}

    /// Takes new readings of all slices. Forgets the slices that are missing.
    void Update(const std::vector<Reading>& readings);

    const std::vector<SliceUsage>& Slices() const { return slices_; } ///< by name

private:
    SliceUsage Usage(const Reading& reading) const;

    Machine machine_;
    std::map<std::string, Reading> readings_; ///< the last one of each slice
    std::vector<SliceUsage> slices_;
};

/// The sum of all slices, named "total".
SliceUsage TotalOf(const std::vector<SliceUsage>& slices);

/// Sorts by the sum of their processes; equal ones by name, as are all in orders that only processes have.
void Sort(std::vector<SliceUsage>& slices, Order order);

/// Reads the slices that are tracked now.
std::vector<Reading> ReadTrackedSlices();

} // namespace MERO::Tool
