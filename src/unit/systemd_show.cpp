#include "core/errors.h"

#include <merosystemd/systemd.hpp>

#include <boost/algorithm/string/trim.hpp>

using namespace MERO::Systemd;

namespace {

bool Show(bool forceSystem, const std::string& strUnit, const std::string& strProperty, std::string& value)
{
    if (!MERO_VALID(!strUnit.empty()) || !MERO_VALID(!strProperty.empty())) {
        return false;
    }
    const std::vector<std::string> options{"--property", strProperty};
    const SystemctlOpts opts = SystemctlOptsBuilder().SetCmdOpts(&options).SetForceSystem(forceSystem).Build();
    try {
        return MEROSystemdSystemctlUltron(
            "show", opts, {strUnit}, [&](int exitCode, const std::vector<std::string>& lines) {
                if (exitCode != 0 || lines.empty()) {
                    return false;
                }
                const std::string& line = lines.front();
                const std::size_t equals = line.find('=');
                value = boost::algorithm::trim_copy(equals == line.npos ? line : line.substr(equals + 1));
                return true;
            });
    } catch (const std::exception&) {
        return false; // logged where it was thrown
    }
}

} // namespace

bool MEROSystemdShow(const std::string& strUnit, const std::string& strProperty, std::string& value)
{
    return Show(false, strUnit, strProperty, value);
}

bool MEROSystemdShowSystem(const std::string& strUnit, const std::string& strProperty, std::string& value)
{
    return Show(true, strUnit, strProperty, value);
}
