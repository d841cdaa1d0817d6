#include "commands/slice_metrics.h"

#include "diagnosis/report.h"
#include "diagnosis/unit_properties.h"
#include "output/metrics.h"
#include "usage/hierarchies.h"

#include <map>

namespace MERO::Tool {
namespace {

ProcessReading SumOf(const std::vector<ProcessReading>& processes)
{
    ProcessReading sum;
    for (const ProcessReading& process : processes) {
        sum.memory += process.memory;
        sum.cpuSeconds += process.cpuSeconds;
        sum.readBytes += process.readBytes;
        sum.writtenBytes += process.writtenBytes;
    }
    return sum;
}

/// Uses systemd's accounting where it has any: it includes processes that have ended, so that it never decreases.
void TakeAccounted(std::map<std::string, ProcessReading>& slices)
{
    if (slices.empty() || HasMonitorHierarchy()) {
        return; // the monitor's slices may hold other processes than systemd's
    }
    Texts names;
    for (const auto& [name, sum] : slices) {
        names.push_back(name);
    }
    const auto units = AskProperties(names, "CPUUsageNSec,IOReadBytes,IOWriteBytes");
    if (units.empty()) {
        throw FailureOf("asking for " + ToCell(names));
    }
    auto unit = units.begin();
    for (auto& [name, sum] : slices) {
        if (const auto nanoseconds = unit->Number("CPUUsageNSec")) {
            sum.cpuSeconds = static_cast<double>(*nanoseconds) / 1e9;
        }
        sum.readBytes = unit->Number("IOReadBytes").value_or(sum.readBytes);
        sum.writtenBytes = unit->Number("IOWriteBytes").value_or(sum.writtenBytes);
        ++unit;
    }
}

} // namespace

void PrintSliceMetrics(const std::vector<Reading>& readings)
{
    std::map<std::string, ProcessReading> slices;
    for (const Reading& reading : readings) {
        slices[reading.slice] = SumOf(reading.processes);
    }
    TakeAccounted(slices);

    std::vector<Metric> metrics{
        {"merosystemd_slice_memory_bytes", MetricType::Gauge, "Memory of the slice's processes (PSS).", "slice", {}},
        {"merosystemd_slice_cpu_seconds_total", MetricType::Counter, "Processor time.", "slice", {}},
        {"merosystemd_slice_read_bytes_total", MetricType::Counter, "Bytes read from storage.", "slice", {}},
        {"merosystemd_slice_written_bytes_total", MetricType::Counter, "Bytes written to storage.", "slice", {}}};
    for (const auto& [name, sum] : slices) {
        metrics[0].samples.emplace_back(name, static_cast<double>(sum.memory) * 1024); // kB
        metrics[1].samples.emplace_back(name, sum.cpuSeconds);
        metrics[2].samples.emplace_back(name, static_cast<double>(sum.readBytes));
        metrics[3].samples.emplace_back(name, static_cast<double>(sum.writtenBytes));
    }
    PrintMetrics(metrics);
}

} // namespace MERO::Tool
