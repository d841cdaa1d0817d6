#include "core/errors.h"
#include "core/names.h"
#include "core/text.h"
#include "unit/enable_status_flag.h"
#include "unit/unit_file.h"
#include "unit/unit_operation.h"
#include "volume/reason_store.h"
#include "volume/stopped_along.h"

#include <merocore/file.h>
#include <merocore/process.h>
#include <merosystemd/systemd.hpp>

#include <algorithm>

using namespace MERO::Systemd;

namespace {

/// A unit stands on the failed list once, however many steps failed for it.
void AddFailed(const Texts& units, Texts& failed)
{
    for (const std::string& unit : units) {
        if (std::find(failed.begin(), failed.end(), unit) == failed.end()) {
            failed.push_back(unit);
        }
    }
}

/// One systemctl for all units.
bool RunStep(const char* step, const std::string& verb, const Texts& options, const Texts& vecUnits,
             const SystemctlObserver& observer)
{
    return MEROSystemdSystemctl(verb, options, vecUnits, [&](int exitCode, const Texts& lines) {
        if (exitCode != 0) {
            MERO_LOG_OUTPUT(LOG_ERR, Concatenate(lines), "[%s] uninstalling, failed to do [%s]: ret=[%d], reason:\n%s",
                            Join(vecUnits).c_str(), step, exitCode);
        }
        ShowRun(observer, exitCode, lines);
        return exitCode == 0;
    });
}

bool IsMasked(const std::string& unit)
{
    return MEROSystemdEnableStatusGet(unit) == MERO_SYSTEMD_ENABLE_STATUS_MASKED;
}

/// Stops the units and takes them out of the boot: no link to them is left.
bool TakeOutOfService(const Texts& vecUnits, const SystemctlObserver& observer)
{
    const Texts offline{kOfflineOption};
    const Texts offlineRuntime{kOfflineOption, "--runtime"};
    const auto run = [&](const char* step, const std::string& verb, const Texts& options) {
        return RunStep(step, verb, options, vecUnits, observer);
    };
    if (!run("stop", "stop", {}) || !run("disable", "disable", offline) ||
        !run("disable runtime", "disable", offlineRuntime)) {
        return false;
    }
    return std::none_of(vecUnits.begin(), vecUnits.end(), IsMasked) ||
           (run("unmask", "unmask", offline) && run("unmask runtime", "unmask", offlineRuntime));
}

bool IsDirectory(const std::string& path)
{
    const ErrorKeeper keeper; // "no" is an answer
    return MLIBCFileCheckDir(path.c_str()) == 0;
}

/// Removes one file of a unit. systemctl names files by absolute paths: anything else, and a directory, is refused.
bool RemoveUnitFile(const std::string& path)
{
    return path.starts_with('/') && !IsDirectory(path) &&
           MLIBCExec("/bin/rm", "-rf", path.c_str(), nullptr, nullptr) == 0;
}

bool RemoveUnitFiles(const std::string& unit)
{
    Texts paths;
    const bool known = MEROSystemdSystemctl("show", {"--property=DropInPaths", "--property=FragmentPath"}, {unit},
                                            [&](int exitCode, const Texts& lines) {
                                                paths = UnitPathsParse(lines);
                                                return exitCode == 0;
                                            });
    if (!known) {
        return false; // what a run that failed has printed names no file to remove
    }
    // All of them are tried, although one fails.
    const auto failures =
        std::count_if(paths.begin(), paths.end(), [](const std::string& path) { return !RemoveUnitFile(path); });
    return failures == 0;
}

bool RemoveTraces(const std::string& unit)
{
    if (!RemoveUnitFiles(unit)) {
        MERO_LOG(LOG_ERR, "Failed to remove unit and/or drop-in files for [%s]", unit.c_str());
        return false;
    }
    if (!RemoveEnableStatusChanged(unit)) {
        MERO_LOG(LOG_WARNING, "Failed to remove enable-status-changed flag for [%s]", unit.c_str());
    }
    if (MLIBCExec("/bin/rm", "-rf", ReasonDirectory(unit).c_str(), nullptr, nullptr) < 0) {
        MERO_LOG(LOG_WARNING, "Failed to remove reasons for [%s]", unit.c_str());
    }
    ForgetStoppedAlong({unit});
    return true;
}

bool Reload(const Texts& vecUnits, Texts& failed, const SystemctlObserver& observer)
{
    const bool reloaded = MEROSystemdDaemonReload(observer);
    if (!reloaded) {
        AddFailed(vecUnits, failed);
    }
    return reloaded;
}

bool Uninstall(const Texts& vecUnits, Texts& failed, const SystemctlObserver& observer)
{
    if (!TakeOutOfService(vecUnits, observer)) {
        AddFailed(vecUnits, failed);
        (void)Reload(vecUnits, failed, observer);
        return false;
    }
    bool done = Reload(vecUnits, failed, observer);
    for (const std::string& unit : vecUnits) {
        if (!RemoveTraces(unit)) {
            AddFailed({unit}, failed);
            done = false;
        }
    }
    return Reload(vecUnits, failed, observer) && done;
}

bool _MEROSystemdUninstallCore(const Texts& vecUnits, Texts& failed, const SystemctlObserver& observer)
{
    if (!MERO_VALID(!vecUnits.empty())) {
        return false;
    }
    if (!MERO_VALID(AreFileNames(vecUnits))) {
        AddFailed(vecUnits, failed);
        return false;
    }
    const std::string units = Join(vecUnits);
    MERO_LOG(LOG_INFO, "[%s] uninstalling ...", units.c_str());
    bool done = false;
    try {
        done = Uninstall(vecUnits, failed, observer);
        if (done) {
            MERO_LOG(LOG_INFO, "[%s] uninstalled.", units.c_str());
        }
    } catch (const std::exception&) {
        MERO_LOG(LOG_ERR, "[%s] uninstalled failed on exception.", units.c_str());
        AddFailed(vecUnits, failed);
    }
    Texts ignored;
    (void)MEROSystemdResetFailed(vecUnits, ignored);
    return done;
}

} // namespace

bool MEROSystemdUninstall(const Texts& vecUnits, Texts& failed, const SystemctlObserver& observer)
{
    return _MEROSystemdUninstallCore(vecUnits, failed, observer);
}

bool MEROSystemdUninstall(const Texts& vecUnits, Texts& failed)
{
    return _MEROSystemdUninstallCore(vecUnits, failed, {});
}

bool MEROSystemdUninstall(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdUninstall, strUnit);
}

int MEROCSystemdUninstall(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdUninstall, szUnit);
}

int MEROCSystemdUninstallGroup(const MLIBCSzList* pListUnits)
{
    return RunGuardedCGroupForm(MERO_HERE, MEROSystemdUninstall, pListUnits);
}
