#include "core/log.h"
#include "core/program_stream.h"
#include "core/service_control_policy.h"
#include "core/systemctl_command.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

#include <chrono>

using namespace MERO::Systemd;

namespace {

struct Outcome {
    int exitCode;
    std::vector<std::string> lines;
};

Outcome Run(const SystemctlCommand& command, bool calRunTime)
{
    const auto begin = std::chrono::steady_clock::now();
    ProgramStream systemctl(command.Argv()[0], "rB", command.Argv());
    if (!systemctl) {
        MERO_LOG(LOG_ERR, "fail to execute [%s].", command.ToString().c_str());
        throw std::exception();
    }
    Outcome outcome{0, {}};
    if (!systemctl.ReadLines(outcome.lines)) { // half of an answer is none
        MERO_LOG(LOG_ERR, "fail to read the output of [%s].", command.ToString().c_str());
        throw std::exception();
    }
    const int status = systemctl.Close();
    if (calRunTime) {
        const std::chrono::nanoseconds elapsed = std::chrono::steady_clock::now() - begin;
        MERO_LOG(LOG_INFO, "Execute time for [%s] is %lld ms", command.ToString().c_str(),
                 static_cast<long long>(elapsed.count() / 1'000'000));
    }
    // Termination by a signal is not looked at: such a run counts as exit code 0, deliberately. A lost status (-1)
    // counts as 255.
    outcome.exitCode = (status >> 8) & 0xFF;
    return outcome;
}

} // namespace

bool MEROSystemdSystemctlUltron(const std::string& verb, const SystemctlOpts& opts,
                                const std::vector<std::string>& units, SystemctlCallback&& callback)
{
    SystemctlCommand command;
    command.Add(verb.c_str());
    if (!opts.forceSystem && getuid() != 0) {
        command.Add("--user");
        MEROSystemdPutEnvByPAMSystemd();
    }
    if (opts.cmdOpts != nullptr) {
        command.Add(*opts.cmdOpts);
    }

    const PolicyVerdict verdict = AskServiceControlPolicy(verb, units);
    if (verdict.action == PolicyVerdict::Action::Skip) {
        MERO_LOG(LOG_INFO, "unit is in job list: [%s]", verdict.job.ToString().c_str());
        command.Add(units);
        MERO_LOG(LOG_INFO, "Skip execute by service control policy: [%s]", command.ToString().c_str());
        throw std::exception();
    }
    if (verdict.action == PolicyVerdict::Action::RunWithoutBlocking) {
        command.Add("--no-block");
    }

    // A caller that gives no options apart may have them among the units.
    const auto addUnits = [&](const std::vector<std::string>& kept) {
        opts.cmdOpts != nullptr ? command.AddUnits(kept) : command.Add(kept);
    };
    const bool leavesOutStopping = verb == "try-restart" || verb == "reload";
    const std::vector<std::string> kept = leavesOutStopping ? WithoutStoppingUnits(units) : std::vector<std::string>();
    if (leavesOutStopping && kept.empty()) {
        return callback(0, {});
    }
    addUnits(leavesOutStopping ? kept : units);

    const Outcome outcome = Run(command, opts.calRunTime);
    return callback(outcome.exitCode, outcome.lines);
}

bool MEROSystemdSystemctl(const std::string& verb, const std::vector<std::string>& options,
                          const std::vector<std::string>& units, SystemctlCallback&& callback)
{
    return MEROSystemdSystemctlUltron(verb, SystemctlOptsBuilder().SetCmdOpts(&options).Build(), units,
                                      std::move(callback));
}

bool MEROSystemdSystemctl(const std::string& verb, const std::vector<std::string>& units, SystemctlCallback&& callback)
{
    return MEROSystemdSystemctlUltron(verb, SystemctlOpts(), units, std::move(callback));
}
