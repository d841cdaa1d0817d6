#include "core/argument_check.h"
#include "core/no_exceptions.h"
#include "unit/enable_status.h"
#include "unit/status_words.h"

#include <merosystemd/systemd.hpp>

#include <boost/algorithm/string/trim.hpp>

using namespace MERO::Systemd;

namespace {

// What holds until the next boot counts as what holds for good.
constexpr StatusWord kEnableStatus[] = {
    {"disabled", MERO_SYSTEMD_ENABLE_STATUS_DISABLED},       {"enabled", MERO_SYSTEMD_ENABLE_STATUS_ENABLED},
    {"enabled-runtime", MERO_SYSTEMD_ENABLE_STATUS_ENABLED}, {"static", MERO_SYSTEMD_ENABLE_STATUS_STATIC},
    {"masked", MERO_SYSTEMD_ENABLE_STATUS_MASKED},           {"masked-runtime", MERO_SYSTEMD_ENABLE_STATUS_MASKED},
    {"linked", MERO_SYSTEMD_ENABLE_STATUS_LINKED},           {"linked-runtime", MERO_SYSTEMD_ENABLE_STATUS_LINKED},
};

const std::vector<std::string> kNoOptions; // said, so that a name is never taken for one

} // namespace

int MERO::Systemd::_MEROSystemdEnableStatusGet(const SystemctlOpts& opts, const std::string& strUnit)
{
    if (!MERO_VALID(!strUnit.empty())) {
        return -1;
    }
    std::string word;
    try {
        // The exit code is not looked at: is-enabled prints "disabled" and ends with 1.
        const bool printed =
            MEROSystemdSystemctlUltron("is-enabled", opts, {strUnit}, [&](int, const std::vector<std::string>& lines) {
                word = lines.empty() ? std::string() : boost::algorithm::trim_copy(lines.front());
                return !lines.empty();
            });
        return printed ? StatusOf(MERO_HERE, kEnableStatus, word) : -1;
    } catch (const std::exception&) {
        return -1; // logged where it was thrown
    }
}

int MEROSystemdEnableStatusGet(const std::string& strUnit)
{
    return _MEROSystemdEnableStatusGet(SystemctlOptsBuilder().SetCmdOpts(&kNoOptions).Build(), strUnit);
}

int MEROSystemdEnableStatusGetWithOptions(const std::vector<std::string>& options, const std::string& strUnit)
{
    return _MEROSystemdEnableStatusGet(SystemctlOptsBuilder().SetCmdOpts(&options).Build(), strUnit);
}

int MEROSystemdEnableStatusGetSystem(const std::string& strUnit)
{
    return _MEROSystemdEnableStatusGet(SystemctlOptsBuilder().SetCmdOpts(&kNoOptions).SetForceSystem(true).Build(),
                                       strUnit);
}

int MEROCSystemdEnableStatusGet(const char* szUnit)
{
    return WithoutExceptions(
        MERO_HERE, [&] { return MERO_VALID(nullptr != szUnit) ? MEROSystemdEnableStatusGet(szUnit) : -1; }, -1);
}

int MEROCSystemdEnableStatusGetSystem(const char* szUnit)
{
    return WithoutExceptions(
        MERO_HERE, [&] { return MERO_VALID(nullptr != szUnit) ? MEROSystemdEnableStatusGetSystem(szUnit) : -1; }, -1);
}
