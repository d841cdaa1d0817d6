#include "usage/slice_monitor.h"

#include <merosystemd/resource.hpp>

#include <algorithm>

namespace MERO::Tool {
namespace {

constexpr std::size_t kHistoryLength = 240; // as wide as a plot gets

void Add(History& history, double value)
{
    history.push_back(value);
    if (history.size() > kHistoryLength) {
        history.pop_front();
    }
}

} // namespace

SliceUsage SliceMonitor::Usage(const Reading& reading) const
{
    SliceUsage usage;
    usage.unit = reading.slice;
    const auto known = std::find_if(slices_.begin(), slices_.end(),
                                    [&](const SliceUsage& slice) { return slice.unit == reading.slice; });
    if (known != slices_.end()) {
        usage.cpuHistory = known->cpuHistory;
        usage.memoryHistory = known->memoryHistory;
    }
    const auto before = readings_.find(reading.slice);
    const bool isFirst = before == readings_.end();
    usage.processes = UsageBetween(isFirst ? reading : before->second, reading, machine_.processors);
    usage.total = TotalOf(usage.processes);
    usage.memoryShare = std::min(static_cast<double>(usage.total.memory) / machine_.memory, 1.0);
    if (!isFirst) {
        Add(usage.cpuHistory, usage.total.cpuShare);
    }
    Add(usage.memoryHistory, usage.memoryShare);
    return usage;
}

void SliceMonitor::Update(const std::vector<Reading>& readings)
{
    std::map<std::string, SliceUsage> usages;
    std::map<std::string, Reading> last;
    for (const Reading& reading : readings) {
        usages[reading.slice] = Usage(reading);
        last[reading.slice] = reading;
    }
    slices_.clear();
    for (auto& [unit, usage] : usages) {
        slices_.push_back(std::move(usage));
    }
    readings_ = std::move(last);
}

std::vector<Reading> ReadTrackedSlices()
{
    std::vector<std::string> units;
    (void)MEROSystemdSliceList(units); // false when there are none
    std::vector<Reading> readings;
    for (const std::string& unit : units) {
        Reading reading;
        if (ReadSlice(unit, reading)) {
            readings.push_back(std::move(reading));
        }
    }
    return readings;
}

} // namespace MERO::Tool
