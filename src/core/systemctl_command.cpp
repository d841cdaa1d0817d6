#include "core/systemctl_command.h"

#include <algorithm>

namespace MERO::Systemd {

SystemctlCommand::SystemctlCommand() : arguments_{"/usr/bin/systemctl", nullptr} {}

void SystemctlCommand::Add(const char* argument)
{
    arguments_.back() = argument;
    arguments_.push_back(nullptr);
}

void SystemctlCommand::Add(const std::vector<std::string>& arguments)
{
    for (const std::string& argument : arguments) {
        Add(argument.c_str());
    }
}

void SystemctlCommand::AddUnits(const std::vector<std::string>& units)
{
    if (std::any_of(units.begin(), units.end(), [](const std::string& unit) { return unit.starts_with('-'); })) {
        Add("--");
    }
    Add(units);
}

std::string SystemctlCommand::ToString() const
{
    std::string text = arguments_.front();
    for (std::size_t i = 1; i + 1 < arguments_.size(); ++i) {
        text.append(" ").append(arguments_[i]);
    }
    return text;
}

} // namespace MERO::Systemd
