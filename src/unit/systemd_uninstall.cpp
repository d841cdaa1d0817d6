#include "core/errors.h"
#include "core/names.h"
#include "core/systemctl_dialect.h"
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
#include <map>

using namespace MERO::Systemd;

namespace {

/// Adds each unit once, however many steps failed for it.
void AddFailed(const Texts& units, Texts& failed)
{
    for (const std::string& unit : units) {
        if (std::find(failed.begin(), failed.end(), unit) == failed.end()) {
            failed.push_back(unit);
        }
    }
}

/// Runs systemctl once for all units.
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

/// Whether any of the units is masked. If `isOneQuery`, asks about all of them at once; if systemctl does not answer
/// for all, asks about each: in systemd 252 it stops at the first unit without a file.
bool IsOneMasked(const Texts& vecUnits, bool isOneQuery)
{
    Texts states;
    if (isOneQuery) {
        try {
            (void)MEROSystemdSystemctl("is-enabled", {}, vecUnits, [&](int, const Texts& lines) {
                states = lines;
                return true;
            });
        } catch (const std::exception&) { // logged where it was thrown
        }
    }
    const auto isState = [](const std::string& line) { return line.find(' ') == line.npos; };
    const auto isMasked = [](const std::string& line) { return line == "masked\n" || line == "masked-runtime\n"; };
    return states.size() == vecUnits.size() && std::all_of(states.begin(), states.end(), isState)
               ? std::any_of(states.begin(), states.end(), isMasked)
               : std::any_of(vecUnits.begin(), vecUnits.end(), IsMasked);
}

/// Stops the units and removes all links to them, so that no boot starts them.
bool TakeOutOfService(const Texts& vecUnits, bool isOneQuery, const SystemctlObserver& observer)
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
    return !IsOneMasked(vecUnits, isOneQuery) ||
           (run("unmask", "unmask", offline) && run("unmask runtime", "unmask", offlineRuntime));
}

bool IsDirectory(const std::string& path)
{
    const ErrorKeeper keeper; // "no" is an answer
    return MLIBCFileCheckDir(path.c_str()) == 0;
}

/// Removes one of a unit's files. Refuses directories and relative paths: systemctl prints absolute ones.
bool RemoveUnitFile(const std::string& path)
{
    return path.starts_with('/') && !IsDirectory(path) &&
           MLIBCExec("/bin/rm", "-rf", path.c_str(), nullptr, nullptr) == 0;
}

using Paths = std::map<std::string, Texts>; ///< by unit

/// Gets the units' files, in one query. Leaves out units that systemd does not answer for.
Paths PathsOf(const Texts& vecUnits)
{
    std::map<std::string, ShownUnit> shown;
    (void)MEROSystemdShowProperties(vecUnits, {"DropInPaths", "FragmentPath"}, shown);
    Paths paths;
    for (auto& [unit, what] : shown) {
        if (what.asked) {
            paths[unit] = UnitPathsParse(
                {"DropInPaths=" + what.properties["DropInPaths"], "FragmentPath=" + what.properties["FragmentPath"]});
        }
    }
    return paths;
}

bool RemoveUnitFiles(const std::string& unit, const Paths& known)
{
    const auto found = known.find(unit);
    Texts paths = found != known.end() ? found->second : Texts();
    const bool isKnown =
        found != known.end() || MEROSystemdSystemctl("show", {"--property=DropInPaths", "--property=FragmentPath"},
                                                     {unit}, [&](int exitCode, const Texts& lines) {
                                                         paths = UnitPathsParse(lines);
                                                         return exitCode == 0;
                                                     });
    if (!isKnown) {
        return false; // never remove a file that a failed run has printed
    }
    // Tries all of them, even if one fails.
    const auto failures =
        std::count_if(paths.begin(), paths.end(), [](const std::string& path) { return !RemoveUnitFile(path); });
    return failures == 0;
}

bool RemoveTraces(const std::string& unit, const Paths& known)
{
    if (!RemoveUnitFiles(unit, known)) {
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
    const bool reloaded = MEROSystemdDaemonReloadObserved(observer);
    if (!reloaded) {
        AddFailed(vecUnits, failed);
    }
    return reloaded;
}

bool Uninstall(const Texts& vecUnits, Texts& failed, const SystemctlObserver& observer)
{
    const bool isOneQuery = vecUnits.size() > 1 && ConfiguredSystemctlDialect().isCurrent;
    if (!TakeOutOfService(vecUnits, isOneQuery, observer)) {
        AddFailed(vecUnits, failed);
        (void)Reload(vecUnits, failed, observer);
        return false;
    }
    bool done = Reload(vecUnits, failed, observer);
    const Paths known = isOneQuery ? PathsOf(vecUnits) : Paths();
    for (const std::string& unit : vecUnits) {
        if (!RemoveTraces(unit, known)) {
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

bool MEROSystemdUninstallObserved(const Texts& vecUnits, Texts& failed, const SystemctlObserver& observer)
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
