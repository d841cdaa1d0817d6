#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "core/event_log.h"

#include "core/log.h"
#include "core/text.h"

#include <merocore/process.h>
#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <unordered_set>

using namespace MERO::Systemd;

namespace {

constexpr int kFailureBit = 0x10;

std::vector<std::string> DisplayNames(const std::vector<std::string>& units)
{
    std::vector<std::string> names;
    for (const std::string& unit : units) {
        std::string name;
        if (MEROSystemdNameGet(unit, name)) {
            names.push_back(std::move(name));
        }
    }
    return names;
}

void WriteEvent(int event, const std::vector<std::string>& units)
{
    const std::string names = Join(DisplayNames(units));
    if (names.empty()) {
        return;
    }
    char code[16];
    std::snprintf(code, sizeof code, "%04x", static_cast<unsigned>(event));
    if (MLIBCExec("/usr/mero/bin/merologset", "merosystemd", code, names.c_str(), nullptr) < 0) {
        MERO_LOG(LOG_ERR, "failed to write merolog for units: %s", names.c_str());
    }
}

std::vector<std::string> Without(const std::vector<std::string>& units, const std::vector<std::string>& failed)
{
    const std::unordered_set<std::string_view> failures(failed.begin(), failed.end());
    std::vector<std::string> succeeded;
    std::copy_if(units.begin(), units.end(), std::back_inserter(succeeded),
                 [&](const std::string& unit) { return !failures.contains(unit); });
    return succeeded;
}

} // namespace

void MEROSystemdLogAction(int action, bool success, const std::vector<std::string>& units,
                          const std::vector<std::string>& failed)
{
    WriteEvent(action, success ? units : Without(units, failed));
    WriteEvent(action | kFailureBit, failed);
}
