#include "core/systemctl_command.h"

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

std::string SystemctlCommand::ToString() const
{
    std::string text = arguments_.front();
    for (std::size_t i = 1; i + 1 < arguments_.size(); ++i) {
        text.append(" ").append(arguments_[i]);
    }
    return text;
}

} // namespace MERO::Systemd
