#include "core/command_options.h"

namespace MERO::Systemd {

SystemctlOptsBuilder& SystemctlOptsBuilder::SetCmdOpts(const std::vector<std::string>* options)
{
    opts_.cmdOpts = options;
    return *this;
}

SystemctlOptsBuilder& SystemctlOptsBuilder::SetCalRunTime(bool calRunTime)
{
    opts_.calRunTime = calRunTime;
    return *this;
}

SystemctlOptsBuilder& SystemctlOptsBuilder::SetForceSystem(bool forceSystem)
{
    opts_.forceSystem = forceSystem;
    return *this;
}

SystemctlOpts SystemctlOptsBuilder::Build() const
{
    return opts_;
}

CommandOptions::CommandOptions() : imp_(std::make_unique<CommandOptionsImp>()) {}
CommandOptions::CommandOptions(CommandOptions&&) noexcept = default;
CommandOptions& CommandOptions::operator=(CommandOptions&&) noexcept = default;
CommandOptions::~CommandOptions() = default;

CommandOptions& CommandOptions::SetRunTime()
{
    if (imp_ != nullptr) {
        imp_->runtime = true;
    }
    return *this;
}

CommandOptions& CommandOptions::SetNoReload()
{
    if (imp_ != nullptr) {
        imp_->noReload = true;
    }
    return *this;
}

const CommandOptionsImp* CommandOptions::GetImp() const
{
    return imp_.get();
}

void GetEnableDisableOptions(const CommandOptions& options, std::vector<std::string>& out)
{
    const CommandOptionsImp* imp = options.GetImp();
    if (imp != nullptr && imp->runtime) {
        out.emplace_back("--runtime");
    }
    if (imp != nullptr && imp->noReload) {
        out.emplace_back("--no-reload");
    }
}

} // namespace MERO::Systemd
