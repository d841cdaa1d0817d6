#include "top/top_display.h"

#include "output/amounts.h"
#include "output/output.h"

#include <ctime>
#include <iomanip>
#include <iostream>

namespace MERO::Tool {
namespace {

class TopLines : public TopDisplay {
public:
    TopLines(const EndSignals& signals, const TopOptions& options) : signals_(signals), options_(options) {}

    void Show(std::vector<SliceUsage> slices) override
    {
        Sort(slices, options_.order);
        const std::time_t now = std::time(nullptr);
        Json::Value list(Json::arrayValue);
        for (const SliceUsage& slice : slices) {
            if (slice.cpuHistory.empty()) {
                continue; // measured once only: no share is known yet
            }
            if (options_.json) {
                Json::Value& entry = list.append(Json::objectValue);
                entry["time"] = Json::Int64(now);
                entry["slice"] = slice.unit;
                entry["cpuPercent"] = slice.total.cpuShare * 100;
                entry["memoryKB"] = Json::UInt64(slice.total.memory);
                entry["readBytesPerSecond"] = slice.total.readRate;
                entry["writeBytesPerSecond"] = slice.total.writeRate;
                entry["processes"] = Json::UInt64(slice.processes.size());
            } else {
                std::cout << std::put_time(std::localtime(&now), "%T") << "  " << slice.unit << "  CPU "
                          << PercentText(slice.total.cpuShare) << "  memory " << MemoryText(slice.total.memory)
                          << "  input " << RateText(slice.total.readRate) << "  output "
                          << RateText(slice.total.writeRate) << "  processes " << slice.processes.size() << '\n';
            }
        }
        if (!list.empty()) {
            PrintJson(list, Spread::OneLine);
        }
        std::cout << std::flush;
    }

    bool WaitUntil(Clock::time_point time) override
    {
        return std::cout.good() && signals_.WaitUntil(time) != EndSignals::Wake::Signal;
    }

private:
    const EndSignals& signals_;
    const TopOptions& options_;
};

} // namespace

std::unique_ptr<TopDisplay> MakeTopLines(const EndSignals& signals, const TopOptions& options)
{
    return std::make_unique<TopLines>(signals, options);
}

} // namespace MERO::Tool
