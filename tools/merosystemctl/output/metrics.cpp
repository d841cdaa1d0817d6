#include "output/metrics.h"

#include <array>
#include <charconv>
#include <iostream>
#include <limits>

namespace MERO::Tool {
namespace {

/// Formats a number without an exponent, whatever the locale.
std::string ValueText(double value)
{
    std::array<char, std::numeric_limits<double>::max_exponent10 + 32> text;
    const auto end = std::to_chars(text.begin(), text.end(), value, std::chars_format::fixed).ptr;
    return std::string(text.begin(), end);
}

std::string Quoted(const std::string& value)
{
    std::string quoted = "\"";
    for (const char c : value) {
        if (c == '\n') {
            quoted += "\\n";
        } else {
            quoted += (c == '"' || c == '\\') ? std::string{'\\', c} : std::string{c};
        }
    }
    return quoted + "\"";
}

} // namespace

void PrintMetrics(const std::vector<Metric>& metrics)
{
    for (const Metric& metric : metrics) {
        std::cout << "# HELP " << metric.name << ' ' << metric.help << "\n# TYPE " << metric.name << ' '
                  << (metric.type == MetricType::Counter ? "counter" : "gauge") << '\n';
        for (const auto& [label, value] : metric.samples) {
            std::cout << metric.name << (metric.label.empty() ? "" : "{" + metric.label + "=" + Quoted(label) + "}")
                      << ' ' << ValueText(value) << '\n';
        }
    }
}

} // namespace MERO::Tool
