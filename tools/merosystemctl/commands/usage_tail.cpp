#include "commands/usage_tail.h"

#include <memory>
#include <utility>

namespace MERO::Tool {
namespace {

class TailedFormatter : public CLI::Formatter {
public:
    TailedFormatter(const CLI::Formatter& other, std::string tail) : CLI::Formatter(other), tail_(std::move(tail)) {}

    std::string make_usage(const CLI::App* app, std::string name) const override
    {
        std::string usage = CLI::Formatter::make_usage(app, std::move(name));
        return usage.insert(usage.find_last_not_of('\n') + 1, " " + tail_);
    }

private:
    std::string tail_;
};

} // namespace

void SetUsageTail(CLI::App& command, const std::string& tail)
{
    const auto formatter = std::dynamic_pointer_cast<CLI::Formatter>(command.get_formatter());
    command.formatter(std::make_shared<TailedFormatter>(*formatter, tail));
}

} // namespace MERO::Tool
