#define MERO_SOURCE_NAME "systemd_systemctl"
#include "core/service_control_policy.h"

#include "core/log.h"

#include <merobootseq/bootseq.h>
#include <merosystemd/systemd.hpp>

#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace MERO::Systemd {
namespace {

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

} // namespace

PolicyVerdict AskServiceControlPolicy(const std::string& verb, const std::vector<std::string>& units)
{
    const auto code = PolicyOf(verb);
    if (!code || !PolicyHoldsInBootStep(MEROSystemGetBootStep())) {
        return {};
    }
    for (const std::string& unit : units) {
        JobInfo job; // a fresh one for each unit: a type that is not known keeps what stood there before
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

std::vector<std::string> WithoutStoppingUnits(const std::vector<std::string>& units)
{
    std::vector<std::string> kept;
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

} // namespace MERO::Systemd
