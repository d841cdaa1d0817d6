#include "usage/slice_monitor.h"

#include <merosystemd/resource.hpp>

#include <algorithm>
#include <functional>

namespace MERO::Tool {
namespace {

constexpr std::size_t kHistoryLength = 240; // the widest plot

void Add(History& history, double value)
{
    history.push_back(value);
    if (history.size() > kHistoryLength) {
        history.pop_front();
    }
}

/// Adds value by value, aligned at the newest.
void AddTo(History& sum, const History& history)
{
    sum.insert(sum.begin(), history.size() - std::min(history.size(), sum.size()), 0.0);
    std::transform(history.rbegin(), history.rend(), sum.rbegin(), sum.rbegin(), std::plus());
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

SliceUsage TotalOf(const std::vector<SliceUsage>& slices)
{
    SliceUsage sum;
    sum.unit = "total";
    std::vector<ProcessUsage> totals;
    for (const SliceUsage& slice : slices) {
        totals.push_back(slice.total);
        sum.memoryShare = std::min(sum.memoryShare + slice.memoryShare, 1.0);
        AddTo(sum.cpuHistory, slice.cpuHistory);
        AddTo(sum.memoryHistory, slice.memoryHistory);
    }
    sum.total = TotalOf(totals);
    return sum;
}

void Sort(std::vector<SliceUsage>& slices, Order order)
{
    std::sort(slices.begin(), slices.end(), [order](const SliceUsage& one, const SliceUsage& other) {
        const bool isFirst = ComesBefore(one.total, other.total, order);
        const bool isAlike = !isFirst && !ComesBefore(other.total, one.total, order);
        return isFirst || (isAlike && one.unit < other.unit);
    });
}

std::vector<Reading> ReadTrackedSlices()
{
    std::vector<std::string> units;
    (void)MEROSystemdSliceList(units); // false if there are none
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
