#include "top/top_display.h"

#include "output/amounts.h"

#include <ctime>
#include <iomanip>
#include <iostream>

namespace MERO::Tool {
namespace {

class TopLines : public TopDisplay {
public:
    explicit TopLines(const EndSignals& signals) : signals_(signals) {}

    void Show(const std::vector<SliceUsage>& slices) override
    {
        const std::time_t now = std::time(nullptr);
        for (const SliceUsage& slice : slices) {
            if (!slice.cpuHistory.empty()) {
                std::cout << std::put_time(std::localtime(&now), "%T") << "  " << slice.unit << "  CPU "
                          << PercentText(slice.total.cpuShare) << "  memory " << MemoryText(slice.total.memory)
                          << "  processes " << slice.processes.size() << '\n';
            }
        }
        std::cout << std::flush;
    }

    bool WaitUntil(Clock::time_point time) override
    {
        return std::cout.good() && signals_.WaitUntil(time) != EndSignals::Wake::Signal;
    }

private:
    const EndSignals& signals_;
};

} // namespace

std::unique_ptr<TopDisplay> MakeTopLines(const EndSignals& signals)
{
    return std::make_unique<TopLines>(signals);
}

} // namespace MERO::Tool
