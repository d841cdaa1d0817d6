#pragma once

#include "output/output.h"

#include <string>
#include <utility>
#include <vector>

namespace MERO::Tool {

enum class MetricType { Gauge, Counter };

struct Metric {
    std::string name;
    MetricType type;
    std::string help;
    std::string label; ///< the name of its samples' label; empty: a single sample without one
    std::vector<std::pair<std::string, double>> samples; ///< the label's value, and the sample itself
};

/// Prints metrics in the Prometheus text format 0.0.4, as the textfile collector of a node exporter reads it.
void PrintMetrics(const std::vector<Metric>& metrics);

} // namespace MERO::Tool
