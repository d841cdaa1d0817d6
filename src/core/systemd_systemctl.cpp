#include "core/log.h"
#include "core/program_stream.h"
#include "core/systemctl.h"
#include "core/text.h"

#include <merobootseq/bootseq.h>
#include <merosystemd/systemd.hpp>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <string_view>
#include <utility>

using namespace MERO::Systemd;

namespace {

/// The policy's verdict on a command while systemd has jobs for its units.
struct PolicyVerdict {
    enum class Action { Run, RunWithoutBlocking, Skip };

    Action action = Action::Run;
    JobInfo job{}; ///< the job that decided; not set for Run
};

enum class PolicyCode { SkipWhileStarting = 1, SkipWhileStopping = 2, SkipWhileQueued = 3, DoNotBlockWhileQueued = 4 };

constexpr std::array<std::pair<std::string_view, PolicyCode>, 4> kPolicies{{
    {"reload", PolicyCode::DoNotBlockWhileQueued},
    {"restart", PolicyCode::SkipWhileQueued},
    {"start", PolicyCode::SkipWhileStarting},
    {"stop", PolicyCode::SkipWhileStopping},
}};

std::optional<PolicyCode> PolicyOf(const std::string& verb)
{
    for (const auto& [policyVerb, code] : kPolicies) {
        if (policyVerb == verb) {
            return code;
        }
    }
    return std::nullopt;
}

bool PolicyHoldsInBootStep(int step)
{
    return (step >= 0 && step <= 3) || step == 5;
}

PolicyVerdict::Action Decide(PolicyCode code, JobType type)
{
    using enum PolicyVerdict::Action;
    switch (code) {
    case PolicyCode::SkipWhileStarting:
        return type == JobType::Start ? Skip : Run;
    case PolicyCode::SkipWhileStopping:
        return type == JobType::Stop ? Skip : Run;
    case PolicyCode::SkipWhileQueued:
        return Skip;
    case PolicyCode::DoNotBlockWhileQueued:
        return RunWithoutBlocking;
    }
    return Run;
}

/// Asks the service control policy. It applies in the early boot steps, to start, stop, restart and reload. Each unit
/// then costs one `systemctl list-jobs`, up to the first unit that decides.
PolicyVerdict AskServiceControlPolicy(const std::string& verb, const Texts& units)
{
    const auto code = PolicyOf(verb);
    if (!code || !PolicyHoldsInBootStep(MEROSystemGetBootStep())) {
        return {};
    }
    for (const std::string& unit : units) {
        JobInfo job; // new for each unit: an unknown type would leave the previous unit's
        if (!MEROSystemdIntJobGet(unit, job)) {
            continue;
        }
        const auto action = Decide(*code, job.type);
        if (action != PolicyVerdict::Action::Run) {
            return {action, job};
        }
    }
    return {};
}

/// Returns the units that may be try-restarted or reloaded: those that systemd is not about to stop. Logs the others.
Texts WithoutStoppingUnits(const Texts& units)
{
    Texts kept;
    for (const std::string& unit : units) {
        JobInfo job;
        if (MEROSystemdIntJobGet(unit, job) && job.type == JobType::Stop) {
            MERO_LOG(LOG_INFO, "[%s] type [%d] state [%d] is going to stop.", unit.c_str(), static_cast<int>(job.type),
                     static_cast<int>(job.state));
        } else {
            kept.push_back(unit);
        }
    }
    return kept;
}

/// The command line of one run. It copies no texts: those added must outlive it.
class Command {
public:
    void Add(const char* argument)
    {
        arguments_.back() = argument;
        arguments_.push_back(nullptr);
    }

    void Add(const Texts& arguments)
    {
        for (const std::string& argument : arguments) {
            Add(argument.c_str());
        }
    }

    /// A unit may begin with "-" ("-.mount") and is still no option, unless `mayHoldOptions`.
    void AddUnits(const Texts& units, bool mayHoldOptions)
    {
        const auto isLikeOption = [](const std::string& unit) { return unit.starts_with('-'); };
        if (!mayHoldOptions && std::any_of(units.begin(), units.end(), isLikeOption)) {
            Add("--");
        }
        Add(units);
    }

    /// NULL-terminated. exec declares its arguments mutable, but does not change them.
    char* const* Argv() const { return const_cast<char* const*>(arguments_.data()); }

    std::string ToString() const { return Join(Texts(arguments_.begin(), arguments_.end() - 1), " "); }

private:
    std::vector<const char*> arguments_{"/usr/bin/systemctl", nullptr}; ///< the last one is always nullptr
};

SystemctlOutcome Run(const Command& command, bool calRunTime)
{
    const auto begin = std::chrono::steady_clock::now();
    ProgramStream systemctl(command.Argv()[0], "rB", command.Argv());
    if (!systemctl) {
        MERO_LOG(LOG_ERR, "fail to execute [%s].", command.ToString().c_str());
        throw std::exception();
    }
    SystemctlOutcome outcome{};
    if (!systemctl.ReadLines(outcome.lines)) { // a partial answer must not be used
        MERO_LOG(LOG_ERR, "fail to read the output of [%s].", command.ToString().c_str());
        throw std::exception();
    }
    const int status = systemctl.Close();
    if (calRunTime) {
        const std::chrono::nanoseconds elapsed = std::chrono::steady_clock::now() - begin;
        MERO_LOG(LOG_INFO, "Execute time for [%s] is %lld ms", command.ToString().c_str(),
                 static_cast<long long>(elapsed.count() / 1'000'000));
    }
    outcome.exitCode = (status >> 8) & 0xFF; // a lost status (-1) becomes 255
    outcome.wasKilled = status != -1 && WIFSIGNALED(status);
    return outcome;
}

} // namespace

bool MERO::Systemd::RunSystemctl(const std::string& verb, const SystemctlOpts& opts, const Texts& units,
                                 const std::function<bool(const SystemctlOutcome&)>& callback)
{
    Command command;
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

    const bool leavesOutStopping = verb == "try-restart" || verb == "reload";
    const Texts kept = leavesOutStopping ? WithoutStoppingUnits(units) : Texts();
    if (leavesOutStopping && kept.empty()) {
        return callback({});
    }
    const bool mayHoldOptions = opts.cmdOpts == nullptr; // as the public header promises
    command.AddUnits(leavesOutStopping ? kept : units, mayHoldOptions);

    return callback(Run(command, opts.calRunTime));
}

bool MEROSystemdSystemctlUltron(const std::string& verb, const SystemctlOpts& opts,
                                const std::vector<std::string>& units, SystemctlCallback&& callback)
{
    return RunSystemctl(verb, opts, units,
                        [&](const SystemctlOutcome& outcome) { return callback(outcome.exitCode, outcome.lines); });
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
