#include "commands/interval_option.h"

namespace MERO::Tool {
namespace {

constexpr double kLongest = 24 * 60 * 60;

std::string Refuse(const std::string& text)
{
    double seconds = 0;
    const bool isNumber = CLI::detail::lexical_cast(text, seconds);
    return isNumber && seconds > 0 && seconds <= kLongest ? "" : "must be a positive number of seconds, a day at most";
}

} // namespace

void AddIntervalOption(CLI::App& command, double& seconds, const std::string& description)
{
    command.add_option("--interval", seconds, description)->option_text("SECONDS")->check(CLI::Validator(Refuse, ""));
}

} // namespace MERO::Tool
