#include "core/log.h"
#include "core/program_stream.h"
#include "core/service_control_policy.h"
#include "core/text.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

#include <algorithm>
#include <chrono>

using namespace MERO::Systemd;

namespace {

using Texts = std::vector<std::string>;

/// The command line of one run. Holds no texts: those that are added must outlive it.
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

    /// Units may begin with "-" ("-.mount"); they are no options all the same, unless they `mayHoldOptions`.
    void AddUnits(const Texts& units, bool mayHoldOptions)
    {
        const auto isLikeOption = [](const std::string& unit) { return unit.starts_with('-'); };
        if (!mayHoldOptions && std::any_of(units.begin(), units.end(), isLikeOption)) {
            Add("--");
        }
        Add(units);
    }

    /// NULL-terminated. exec takes mutable texts, and changes none.
    char* const* Argv() const { return const_cast<char* const*>(arguments_.data()); }

    std::string ToString() const { return Join(Texts(arguments_.begin(), arguments_.end() - 1), " "); }

private:
    std::vector<const char*> arguments_{"/usr/bin/systemctl", nullptr}; ///< the last is always nullptr
};

struct Outcome {
    int exitCode;
    Texts lines;
};

Outcome Run(const Command& command, bool calRunTime)
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
    // A run that a signal ended counts as exit code 0, as callbacks are promised. A lost status (-1) counts as 255.
    outcome.exitCode = (status >> 8) & 0xFF;
    return outcome;
}

} // namespace

bool MEROSystemdSystemctlUltron(const std::string& verb, const SystemctlOpts& opts,
                                const std::vector<std::string>& units, SystemctlCallback&& callback)
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
        return callback(0, {});
    }
    const bool mayHoldOptions = opts.cmdOpts == nullptr; // the header promises that
    command.AddUnits(leavesOutStopping ? kept : units, mayHoldOptions);

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
