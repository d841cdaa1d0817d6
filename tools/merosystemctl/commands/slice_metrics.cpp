#include "commands/slice_metrics.h"

#include "diagnosis/report.h"
#include "output/metrics.h"
#include "usage/hierarchies.h"

#include <merosystemd/systemd.hpp>

#include <charconv>
#include <cstdint>
#include <map>
#include <optional>

namespace MERO::Tool {
namespace {

struct SliceTotals {
    double memoryBytes = 0;
    double cpuSeconds = 0;
    double readBytes = 0;
    double writtenBytes = 0;
};

SliceTotals SumOf(const std::vector<ProcessReading>& processes)
{
    SliceTotals sum;
    for (const ProcessReading& process : processes) {
        sum.memoryBytes += static_cast<double>(process.memory) * 1024;
        sum.cpuSeconds += process.cpuSeconds;
        sum.readBytes += static_cast<double>(process.readBytes);
        sum.writtenBytes += static_cast<double>(process.writtenBytes);
    }
    return sum;
}

/// A property's number; nothing if it is not set, for which systemd prints "[not set]" or the greatest number.
std::optional<double> FigureOf(const Systemd::ShownUnit& unit, const char* property)
{
    const auto found = unit.properties.find(property);
    if (found == unit.properties.end()) {
        return std::nullopt;
    }
    const std::string& text = found->second;
    std::uint64_t figure = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), figure);
    const bool isFigure = error == std::errc() && end == text.data() + text.size() && figure != UINT64_MAX;
    return isFigure ? std::optional(static_cast<double>(figure)) : std::nullopt;
}

/// Uses systemd's accounting where it has any: it includes processes that have ended, so that it never decreases.
void TakeAccounted(std::map<std::string, SliceTotals>& slices)
{
    if (slices.empty() || HasMonitorHierarchy()) {
        return; // the monitor's slices may hold other processes than systemd's
    }
    Texts names;
    for (const auto& [name, totals] : slices) {
        names.push_back(name);
    }
    std::map<std::string, Systemd::ShownUnit> shown;
    if (!MEROSystemdShowPropertiesSystem(names, {"CPUUsageNSec", "IOReadBytes", "IOWriteBytes"}, shown)) {
        throw FailureOf("asking for " + ToCell(names));
    }
    for (auto& [name, totals] : slices) {
        const Systemd::ShownUnit& unit = shown[name];
        if (const auto nanoseconds = FigureOf(unit, "CPUUsageNSec")) {
            totals.cpuSeconds = *nanoseconds / 1e9;
        }
        totals.readBytes = FigureOf(unit, "IOReadBytes").value_or(totals.readBytes);
        totals.writtenBytes = FigureOf(unit, "IOWriteBytes").value_or(totals.writtenBytes);
    }
}

} // namespace

void PrintSliceMetrics(const std::vector<Reading>& readings)
{
    std::map<std::string, SliceTotals> slices;
    for (const Reading& reading : readings) {
        slices[reading.slice] = SumOf(reading.processes);
    }
    TakeAccounted(slices);

    std::vector<Metric> metrics{
        {"merosystemd_slice_memory_bytes", MetricType::Gauge, "Memory of the slice's processes (PSS).", "slice", {}},
        {"merosystemd_slice_cpu_seconds_total", MetricType::Counter, "Processor time.", "slice", {}},
        {"merosystemd_slice_read_bytes_total", MetricType::Counter, "Bytes read from storage.", "slice", {}},
        {"merosystemd_slice_written_bytes_total", MetricType::Counter, "Bytes written to storage.", "slice", {}}};
    for (const auto& [name, totals] : slices) {
        metrics[0].samples.emplace_back(name, totals.memoryBytes);
        metrics[1].samples.emplace_back(name, totals.cpuSeconds);
        metrics[2].samples.emplace_back(name, totals.readBytes);
        metrics[3].samples.emplace_back(name, totals.writtenBytes);
    }
    PrintMetrics(metrics);
}

} // namespace MERO::Tool
