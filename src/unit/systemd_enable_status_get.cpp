#include "core/errors.h"
#include "unit/status.h"

#include <boost/algorithm/string/trim.hpp>

using namespace MERO::Systemd;

namespace {

// A status that lasts until the next boot counts as the permanent one.
constexpr StatusWord kEnableStatus[] = {
    {"disabled", MERO_SYSTEMD_ENABLE_STATUS_DISABLED},       {"enabled", MERO_SYSTEMD_ENABLE_STATUS_ENABLED},
    {"enabled-runtime", MERO_SYSTEMD_ENABLE_STATUS_ENABLED}, {"static", MERO_SYSTEMD_ENABLE_STATUS_STATIC},
    {"masked", MERO_SYSTEMD_ENABLE_STATUS_MASKED},           {"masked-runtime", MERO_SYSTEMD_ENABLE_STATUS_MASKED},
    {"linked", MERO_SYSTEMD_ENABLE_STATUS_LINKED},           {"linked-runtime", MERO_SYSTEMD_ENABLE_STATUS_LINKED},
};

const std::vector<std::string> kNoOptions; // not a null pointer, so that no unit is taken for an option

} // namespace

int MERO::Systemd::_MEROSystemdEnableStatusGet(const SystemctlOpts& opts, const std::string& strUnit)
{
    if (!MERO_VALID(!strUnit.empty())) {
        return -1;
    }
    std::string word;
    try {
        // Ignores the exit code: is-enabled prints "disabled" and exits with 1.
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
    return StatusForC(MERO_HERE, MEROSystemdEnableStatusGet, szUnit);
}

int MEROCSystemdEnableStatusGetSystem(const char* szUnit)
{
    return StatusForC(MERO_HERE, MEROSystemdEnableStatusGetSystem, szUnit);
}
