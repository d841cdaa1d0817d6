/// @file
/// The C++ interface.
///
/// merosystemd/systemd.h describes what the functions have in common, in sections of the same names: the manager that
/// they talk to, the error register, the threads. Unless stated otherwise, the functions here return true on success
/// and false on failure, and set the same error codes as their C forms. No exceptions leave them but those that are
/// named below, and std::bad_alloc when memory runs out; many return false for that instead. No lock, descriptor or
/// child process is leaked then.
///
/// Lists of what failed are appended to, never cleared. Such a list may be the same object as the list of the units or
/// of the options: it is appended to at the end.
#pragma once

#include <merosystemd/job.hpp>
#include <merosystemd/options.hpp>
#include <merosystemd/properties.hpp>
#include <merosystemd/status.h>
#include <merosystemd/systemd.h>
#include <merosystemd/volume.hpp>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#pragma GCC visibility push(default)

// ---- Running systemctl ---------------------------------------------------------------------------------------------
/// @defgroup systemctl Running systemctl
/// @{

/// Decides whether a run of systemctl succeeded. `exitCode` is 0 to 255: 0 also if a signal ended systemctl, 255 if its
/// wait status was lost. `lines` are the lines that it printed on both outputs in the order of arrival, each with its
/// newline.
using SystemctlCallback = std::function<bool(int exitCode, const std::vector<std::string>& lines)>;

/// Receives what systemctl answered to an action: exit code and lines, as SystemctlCallback gets them.
///
/// It is called in the calling thread, once for each systemctl that carries out the action, after the library has
/// written the log lines of that run and appended its failed units. It is not called for queries on the way, nor for a
/// command that the service control policy skipped. The log, the commands and the results are the same without it. It
/// must not throw, and may be empty. The forms that take one end in "Observed". @since 7.1.0
using SystemctlObserver = std::function<void(int exitCode, const std::vector<std::string>& lines)>;

/// Runs `systemctl VERB [--user] [OPTIONS] [--no-block] [UNITS]` and returns what `callback` returns.
///
/// `--user` is added if the caller is not root and `opts.forceSystem` is false, `--no-block` if the service control
/// policy asks for it. If a unit's name begins with "-", `--` is put before the units, unless `opts.cmdOpts` is null: a
/// caller that passes no options may have some among the units. try-restart and reload leave out the units that are
/// about to stop; if none is left, nothing is run and `callback` gets (0, no lines).
///
/// Throws std::exception if the policy skips the command, systemctl cannot be started (0x0E00) or its output cannot be
/// read; each is logged, and `callback` is not called. Throws std::bad_function_call for an empty `callback`, after the
/// run. Exceptions of `callback` are passed on.
bool MEROSystemdSystemctlUltron(const std::string& verb, const MERO::Systemd::SystemctlOpts& opts,
                                const std::vector<std::string>& units, SystemctlCallback&& callback);

/** @{ */
/// MEROSystemdSystemctlUltron() with options only, or with none.
bool MEROSystemdSystemctl(const std::string& verb, const std::vector<std::string>& options,
                          const std::vector<std::string>& units, SystemctlCallback&& callback);
bool MEROSystemdSystemctl(const std::string& verb, const std::vector<std::string>& units, SystemctlCallback&& callback);
/** @} */

/// Opens a PAM session of the service "systemd-user" for the calling user and puts its variables into the process
/// environment, so that `systemctl --user` finds the user's manager. Does nothing for root. Failures are logged; the
/// error register means nothing. The session is never closed, and the variables are never freed. Other threads must not
/// use the environment meanwhile. If PAM's configuration has pam_loginuid, as Debian's has, only the first thread of
/// the process can open the session: an ordinary user's program calls this, or its first operation, there.
void MEROSystemdPutEnvByPAMSystemd();

/// @}

// ---- Unit actions --------------------------------------------------------------------------------------------------
/// @addtogroup actions
///
/// The list forms are the group forms of C, with `failed` in the place of `*ppListFailed`. An empty list is an invalid
/// argument (0x0D00). `options` are systemctl's, and follow the verb.
/// @{

/**
   @{ */
/// Starts units.
bool MEROSystemdStart(const std::string& strUnit);
bool MEROSystemdStart(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdStartWithOptions(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                 std::vector<std::string>& failed);
bool MEROSystemdStartObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                              std::vector<std::string>& failed, const SystemctlObserver& observer);
bool MEROSystemdStartNoBlock(const std::string& strUnit);
bool MEROSystemdStartNoBlock(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
/** @} */

/// Starts a unit with a job that no later job can replace; only cancelling the job ends it.
bool MEROSystemdStartIrreversibly(const std::string& strUnit);

/** @{ */
/// Stops units.
bool MEROSystemdStop(const std::string& strUnit);
bool MEROSystemdStop(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdStopWithOptions(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                std::vector<std::string>& failed);
bool MEROSystemdStopObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                             std::vector<std::string>& failed, const SystemctlObserver& observer);
bool MEROSystemdStopNoBlock(const std::string& strUnit);
bool MEROSystemdStopNoBlock(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
/** @} */

/** @{ */
/// Stops and starts units. Units that do not run are started.
bool MEROSystemdRestart(const std::string& strUnit);
bool MEROSystemdRestart(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdRestartWithOptions(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                   std::vector<std::string>& failed);
bool MEROSystemdRestartObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                std::vector<std::string>& failed, const SystemctlObserver& observer);
bool MEROSystemdRestartNoBlock(const std::string& strUnit);
bool MEROSystemdRestartNoBlock(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
/** @} */

/** @{ */
/// Restarts the units that run. Skips units that are about to stop; succeeds if no unit is left.
bool MEROSystemdTryRestart(const std::string& strUnit);
bool MEROSystemdTryRestart(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdTryRestartWithOptions(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                      std::vector<std::string>& failed);
bool MEROSystemdTryRestartObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                   std::vector<std::string>& failed, const SystemctlObserver& observer);
bool MEROSystemdTryRestartNoBlock(const std::string& strUnit);
bool MEROSystemdTryRestartNoBlock(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
/** @} */

/** @{ */
/// Reloads the units' configuration. No form waits for the reload to finish. Skips units that are about to stop;
/// succeeds if no unit is left.
bool MEROSystemdReload(const std::string& strUnit);
bool MEROSystemdReload(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdReloadWithOptions(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                  std::vector<std::string>& failed);
bool MEROSystemdReloadObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                               std::vector<std::string>& failed, const SystemctlObserver& observer);
bool MEROSystemdReloadNoBlock(const std::string& strUnit);
bool MEROSystemdReloadNoBlock(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
/** @} */

/** @{ */
/// Reloads the units that can be reloaded, and restarts or starts the others.
bool MEROSystemdReloadOrRestart(const std::string& strUnit);
bool MEROSystemdReloadOrRestart(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdReloadOrRestartWithOptions(const std::vector<std::string>& options,
                                           const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdReloadOrRestartObserved(const std::vector<std::string>& options,
                                        const std::vector<std::string>& vecUnits, std::vector<std::string>& failed,
                                        const SystemctlObserver& observer);
bool MEROSystemdReloadOrRestartNoBlock(const std::string& strUnit);
bool MEROSystemdReloadOrRestartNoBlock(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
/** @} */

/// @}

// ---- Enablement ----------------------------------------------------------------------------------------------------
/// @addtogroup enablement
///
/// If enable, disable or reenable fails, all units are appended to `failed`; mask and unmask append the units that
/// failed. An empty list is an invalid argument (0x0D00). If one name in a list is refused (0x0D00), all of its units
/// have failed, and nothing was touched.
/// @{

/**
   @{ */
/// Makes units start at boot. The Internal form takes systemctl's options.
bool MEROSystemdEnable(const std::string& strUnit);
bool MEROSystemdEnable(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdEnableWithOptions(const std::vector<std::string>& vecUnits,
                                  const MERO::Systemd::CommandOptions& options, std::vector<std::string>& failed);
bool MEROSystemdEnableWithOptionsInternal(const std::vector<std::string>& options,
                                          const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdEnableObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                               std::vector<std::string>& failed, const SystemctlObserver& observer);
bool MEROSystemdEnableInGenerator(const std::string& strUnit);
bool MEROSystemdEnableInGenerator(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
/** @} */

/** @{ */
/// Makes units not start at boot. The Internal form takes systemctl's options.
bool MEROSystemdDisable(const std::string& strUnit);
bool MEROSystemdDisable(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdDisableWithOptions(const std::vector<std::string>& vecUnits,
                                   const MERO::Systemd::CommandOptions& options, std::vector<std::string>& failed);
bool MEROSystemdDisableWithOptionsInternal(const std::vector<std::string>& options,
                                           const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdDisableObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                std::vector<std::string>& failed, const SystemctlObserver& observer);
bool MEROSystemdDisableInGenerator(const std::string& strUnit);
bool MEROSystemdDisableInGenerator(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
/** @} */

/** @{ */
/// Disables units and enables them again, as their unit files say now.
bool MEROSystemdReenable(const std::string& strUnit);
bool MEROSystemdReenable(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdReenableObserved(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed,
                                 const SystemctlObserver& observer);
/** @} */

/** @{ */
/// Mask prevents units from being started at all; unmask undoes it. The RunTime forms last until the next boot.
/// `options` are systemctl's.
bool MEROSystemdMask(const std::string& strUnit);
bool MEROSystemdMask(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdMaskObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                             std::vector<std::string>& failed, const SystemctlObserver& observer);
bool MEROSystemdMaskRunTime(const std::string& strUnit);
bool MEROSystemdUnmask(const std::string& strUnit);
bool MEROSystemdUnmask(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdUnmaskObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                               std::vector<std::string>& failed, const SystemctlObserver& observer);
bool MEROSystemdUnmaskRunTime(const std::string& strUnit);
/** @} */

/** @{ */
/// Clears the failed state of units. Appends the units that systemctl named as failing, such as units that are not
/// loaded.
bool MEROSystemdResetFailed(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdResetFailedObserved(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed,
                                    const SystemctlObserver& observer);
/** @} */

/** @{ */
/// Makes the manager read all unit files again.
bool MEROSystemdDaemonReload();
bool MEROSystemdDaemonReloadObserved(const SystemctlObserver& observer);
/** @} */

/** @{ */
/// Stops units, disables and unmasks them, removes their unit files, drop-ins, flag files and reasons, and clears their
/// failed state. If they cannot be stopped, disabled or unmasked, nothing is removed and all units have failed. A file
/// that cannot be removed (0x0F00), or that is a folder, fails its unit alone. A unit that is in `failed` already is
/// not appended again. An observer sees the stop, each step of disabling and unmasking, and the reloads; not the
/// clearing of failed states, which fails for every unit that is gone.
bool MEROSystemdUninstall(const std::string& strUnit);
bool MEROSystemdUninstall(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdUninstallObserved(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed,
                                  const SystemctlObserver& observer);
/** @} */

/// @}

// ---- Reasons -------------------------------------------------------------------------------------------------------
/// @addtogroup reasons
///
/// A reason is an empty file, `/run/merosystemd/reasons/<service>/<reason>`. An empty list is an invalid argument
/// (0x0D00). A unit that is no service, or whose name contains "/", fails (0x0D00), and the others go on. On failure
/// `vecFailed` may stay as it was, or get a service twice. A drop-in of the unit decides whether others can start a
/// held service: see MERO::Systemd::LinkMeroReason(). The manager reads its unit files again when one of the services
/// got its first reason or lost its last.
///
/// In the current dialect, the units that systemd stops along with the services (units that require them, for example)
/// are recorded before the stop. They start when the last reason of the last service that stopped them is removed,
/// unless they are held themselves. A unit that does not start then is logged, and is no failure.
/// @{

/**
   @{ */
/// Gives the services the reason, then stops them. The reason stays if the stop fails. Also returns false, with no
/// service in `vecFailed`, if the manager did not read its unit files again. An observer sees the stop and the reload.
bool MEROSystemdServiceStopByReason(const std::string& strReason, const std::string& strService);
bool MEROSystemdServiceStopByReason(const std::string& strReason, const std::vector<std::string>& vecServices,
                                    std::vector<std::string>& vecFailed);
bool MEROSystemdServiceStopByReasonObserved(const std::string& strReason, const std::vector<std::string>& vecServices,
                                            std::vector<std::string>& vecFailed, const SystemctlObserver& observer);
/** @} */

/** @{ */
/// Takes the reason from the services (not having it is no failure), clears their failed state and starts them,
/// whatever other reasons they have. Then starts the units that stopped along with services that have no reason left;
/// if there may be any, a watcher does the rest should the caller be killed meanwhile. An observer sees the start and
/// the reload, in this process only.
bool MEROSystemdServiceStartByReason(const std::string& strReason, const std::string& strService);
bool MEROSystemdServiceStartByReason(const std::string& strReason, const std::vector<std::string>& vecServices,
                                     std::vector<std::string>& vecFailed);
bool MEROSystemdServiceStartByReasonObserved(const std::string& strReason, const std::vector<std::string>& vecServices,
                                             std::vector<std::string>& vecFailed, const SystemctlObserver& observer);
/** @} */

/** @{ */
/// Takes the reason from the services and clears their failed state. Starts neither them nor the units that stopped
/// along with them.
bool MEROSystemdServiceReasonRemove(const std::string& strReason, const std::string& strService);
bool MEROSystemdServiceReasonRemove(const std::string& strReason, const std::vector<std::string>& vecServices,
                                    std::vector<std::string>& vecFailed);
/** @} */

/// Appends the service's reasons. Error code: 0x0900 if they cannot be read.
bool MEROSystemdServiceReasonList(const std::string& strService, std::vector<std::string>& vecReasons);

namespace MERO::Systemd {

/// Returns whether the service has a reason whose name does not begin with "."; true also if that cannot be read.
/// Leaves the error register as it was.
bool CheckServiceHasReason(const std::string& service);

/// Appends all services that have such a reason, in no particular order. Error code: 0x0900 if they cannot be read.
bool ListServicesWithReason(std::vector<std::string>& services);

/// Removes one reason's files. Appends a service to `removed` if it does not have the reason afterwards, otherwise to
/// `failed` (0x0D00: not a service, or an invalid reason; 0x3900: the file cannot be removed). Starts nothing.
bool UnlinkReasons(const std::string& reason, const std::vector<std::string>& services,
                   std::vector<std::string>& removed, std::vector<std::string>& failed);

/// Makes the folder `dropInDir`, which ends with "/", and in it "mero-reason.conf", a hard link to the drop-in
/// `sourceFile`. That drop-in keeps a held service from starting, with a condition on its folder of reasons for
/// example. Error codes: 0x0900, 0x0E00 or 0x0F00 if the folder cannot be made, 0x0D00 if a symbolic link on the way to
/// it lies in a folder that others can write; none if the link cannot be made, as when it exists.
bool LinkMeroReason(const std::string& dropInDir, const std::string& sourceFile);

} // namespace MERO::Systemd

/// @}

// ---- Jobs ----------------------------------------------------------------------------------------------------------
/// @defgroup jobs Jobs
/// @{

/// Adds systemd's queued jobs to `jobs`, by their numbers. A line that cannot be parsed is logged and left out. Returns
/// false if systemctl could not be run (0x0E00) or failed.
bool MEROSystemdIntJobList(std::map<std::uint32_t, MERO::Systemd::JobInfo>& jobs);

/// Gets the queued job of a unit. Returns false if it has none, and if it could not be asked for, which is logged. A
/// type or state that is Unknown is not written: pass a new `info`.
bool MEROSystemdIntJobGet(const std::string& strUnit, MERO::Systemd::JobInfo& info);

/// @}

// ---- Queries -------------------------------------------------------------------------------------------------------
/// @addtogroup queries
/// @{

/**
   @{ */
/// Gets the value of a unit's property, without blanks around it; only its first line counts. Returns false, with
/// `value` untouched, if the unit cannot be queried, or systemctl prints nothing, as for a property that systemd does
/// not know.
bool MEROSystemdShow(const std::string& strUnit, const std::string& strProperty, std::string& value);
bool MEROSystemdShowSystem(const std::string& strUnit, const std::string& strProperty, std::string& value);
/** @} */

/** @{ */
/// Queries several properties of several units at once: replaces `units` by what systemd says about each unit, by the
/// name that the caller spelt. Id and Names are always among the properties; a property that systemd does not know is
/// left out. A unit that does not exist has the LoadState "not-found".
///
/// Patterns, templates ("a@.service"), plain numbers (systemctl takes them for processes) and invalid names are not
/// asked about. If systemd refuses a name, the others are queried again, in at most 16 further runs of systemctl. A
/// unit that could not be queried is in `units` with `asked` false. Only the first line of a value counts, but a
/// property with several commands, such as ExecStartPre, has a line for each.
///
/// Returns false, with `units` untouched, if systemd does not answer, and for an empty list (0x0D00). The System form
/// asks the system's manager even for an ordinary user. @since 7.1.0
bool MEROSystemdShowProperties(const std::vector<std::string>& vecUnits, const std::vector<std::string>& vecProperties,
                               std::map<std::string, MERO::Systemd::ShownUnit>& units);
bool MEROSystemdShowPropertiesSystem(const std::vector<std::string>& vecUnits,
                                     const std::vector<std::string>& vecProperties,
                                     std::map<std::string, MERO::Systemd::ShownUnit>& units);
/** @} */

/// Returns a MERO_SYSTEMD_LOAD_STATUS or -1. A unit that does not exist is "not found", not -1.
int MEROSystemdLoadStatusGet(const std::string& strUnit);

/** @{ */
/// Returns a MERO_SYSTEMD_ACTIVE_STATUS or -1.
int MEROSystemdActiveStatusGet(const std::string& strUnit);
int MEROSystemdActiveStatusGetSystem(const std::string& strUnit);
/** @} */

/** @{ */
/// Returns a MERO_SYSTEMD_ENABLE_STATUS or -1. Indirect, generated, transient and alias units have no number. `options`
/// are systemctl's.
int MEROSystemdEnableStatusGet(const std::string& strUnit);
int MEROSystemdEnableStatusGetWithOptions(const std::vector<std::string>& options, const std::string& strUnit);
int MEROSystemdEnableStatusGetSystem(const std::string& strUnit);
int MEROSystemdEnableStatusGetInGenerator(const std::string& strUnit);
/** @} */

/// Appends the names of all installed unit files, or of those of one type ("service", "mount" ...; any other word is an
/// invalid argument, 0x0D00), sorted by type and then by name. In the current dialect they are read from the folders
/// that the manager names (its property UnitPath), which takes milliseconds. If it names none, and in the classic
/// dialect, `systemctl list-unit-files` is run, which takes seconds for 1,000 files. On failure `units` is untouched.
/// Error code: 0x0900 if a folder cannot be read; a folder that is missing or closed to the caller is skipped.
bool MEROSystemdListUnits(std::vector<std::string>& units, const std::string& strType);

/// Appends the names of all installed services, without ".service". Fails as MEROSystemdListUnits() does.
bool MEROSystemdServiceList(std::vector<std::string>& services);

/** @{ */
/// Gets the target that the machine boots into; makes it boot into another one. `options` are systemctl's.
bool MEROSystemdDefaultTargetGet(std::string& defaultTarget);
bool MEROSystemdDefaultTargetSet(const std::string& strDefaultTarget);
bool MEROSystemdDefaultTargetSetObserved(const std::string& strDefaultTarget, const SystemctlObserver& observer);
bool MEROSystemdDefaultTargetSetInGenerator(const std::string& strDefaultTarget);
bool MEROSystemdIntDefaultTargetSet(const std::vector<std::string>& options, const std::string& strDefaultTarget);
/** @} */

/// Returns whether systemd has a job for the unit; false also, with 0x8100, if it cannot be asked.
bool MEROSystemdIsJobEnqueued(const std::string& strUnit);

/// @}

// ---- Unit metadata -------------------------------------------------------------------------------------------------
/// @addtogroup metadata
///
/// The functions return true if the unit has a file. Otherwise they return false (0x0700), with the output untouched.
/// @{

/// Key "Name". Also returns false if it is missing or empty; `name` is empty then.
bool MEROSystemdNameGet(const std::string& strUnit, std::string& name);

/// Key "NameI18n". Also returns false unless the value contains one or two ":"; it is stored all the same.
bool MEROSystemdNameI18nGet(const std::string& strUnit, std::string& nameI18n);

/// Whether the platform has the capability that "SupportKey" names; true without the key.
bool MEROSystemdIsSupportGet(const std::string& strUnit, bool& support);

/** @{ */
/// Whether the key is exactly "yes".
bool MEROSystemdSupportOneClickEnableGet(const std::string& strUnit, bool& oneClickEnable);
bool MEROSystemdIsDefaultEnableGet(const std::string& strUnit, bool& defaultEnable);
bool MEROSystemdInfoCenterDisplayGet(const std::string& strUnit, bool& display);
bool MEROSystemdNanoUpdateDislayGet(const std::string& strUnit, bool& display);
/** @} */

/// Key "FirewallSections", split at blanks. Replaces `sections`, but an empty value leaves it untouched.
bool MEROSystemdFirewallSectionsGet(const std::string& strUnit, std::vector<std::string>& sections);

/** @{ */
/// Keys "BelongsTo" and "PackedIn": appends the targets among the units that they list to `targets`.
bool MEROSystemdBelongsToGet(const std::string& strUnit, std::vector<std::string>& targets);
bool MEROSystemdPackedInGet(const std::string& strUnit, std::vector<std::string>& targets);
/** @} */

/// @}

// ---- Isolation -----------------------------------------------------------------------------------------------------
/// @addtogroup isolation
/// @{

/**
   @{ */
/// Isolates the machine to a target. Returns true if systemctl succeeded. `*result`, if not null, gets how the wait for
/// the stops ended: it is written after an isolation that succeeded, and if the jobs could not be listed before it;
/// otherwise it is untouched. An empty target is an invalid argument (0x0D00), checked only once the locks are held.
bool MEROSystemdIsolateTarget(const std::string& strTarget, const MERO::Systemd::IsolateOptions& options,
                              MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result);
bool MEROSystemdIsolateTargetObserved(const std::string& strTarget, const MERO::Systemd::IsolateOptions& options,
                                      MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result, const SystemctlObserver& observer);
bool MEROSystemdIsolateTarget(const std::string& strTarget, MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result);
/** @} */

/** @{ */
/// The same for a caller that already holds the lock of operations on the whole machine.
bool MEROSystemdIntIsolateTarget(const std::string& strTarget, const MERO::Systemd::IsolateOptions& options,
                                 MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result);
bool MEROSystemdIntIsolateTarget(const std::string& strTarget, MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result);
/** @} */

/// Isolates the machine to "default.target".
bool MEROSystemdIsolateToDefaultTarget();

/// Gets whether an isolation is running, and its target. Returns false if its state cannot be read, or if the isolating
/// process was killed; its state then remains until the next isolation ends. `state` says none then.
bool MEROSystemdIsolateStateGet(MERO::Systemd::IsolateState& state);

/// Isolates the machine to a target, runs `action` in this thread, and isolates to "default.target" even if the action
/// fails. Returns true if all three succeeded. `action` is not called if the first isolation failed. An exception that
/// it throws is passed on after the second isolation. The action must not start another operation on the whole machine.
bool _MEROSystemdIsolateTargetAction(const std::string& strTarget, std::function<bool()>&& action);

/// @}

// ---- Volumes -------------------------------------------------------------------------------------------------------
/// @addtogroup volumes
/// @{

/// Registers a volume. Succeeds if it is registered already.
bool MEROSystemdVolumeRegister(const std::string& strUnit, const std::string& strVolume);

/** @{ */
/// Removes a volume. Also returns false if no unit of this machine, or not this package, has ever registered one.
bool MEROSystemdVolumeUnregister(const std::string& strUnit, const std::string& strVolume);
bool MEROSystemdPackageVolumeUnregister(const std::string& strPackage, const std::string& strVolume);
/** @} */

/// Registers a volume of a package, which must be installed (0x0900 if `/var/packages/<package>` is missing). The
/// package may own its folders, but a symbolic link on the way that lies in a folder which others can write is refused
/// (0x0D00).
bool MEROSystemdPackageVolumeRegister(const std::string& strPackage, const std::string& strVolume);

/** @{ */
/// Returns whether one of the volumes is registered; false also if that cannot be read. Sets no error code.
bool MEROSystemdVolumeIsRegisteredByUnit(const std::string& unit, const std::vector<std::string>& volumes);
bool MEROSystemdVolumeIsRegisteredByPackage(const std::string& package, const std::vector<std::string>& volumes);
/** @} */

/// Appends the packages that have registered the volume, in no particular order. Returns false at the first package
/// whose register cannot be read. Throws std::filesystem::filesystem_error if there is no /var/packages.
bool MEROSystemdListPackageByRegisteredVolume(const std::string& volume, std::vector<std::string>& packages);

/// Appends the registrations of the units and then those of the packages, each in no particular order; empty registers
/// are left out. Returns false if a register cannot be read, which is logged, or a folder of registers (0x0900); the
/// others are appended all the same. Without /var/packages there are no packages.
bool MEROSystemdVolumeRegisterList(std::vector<MERO::Systemd::VolumeRegistration>& registrations);

/// Gets which volumes a unit needs: key "VolumeDependency"; any word other than "all" and "partial" means none. Returns
/// false (0x0700), with `dependency` untouched, if the unit has no file.
bool MEROSystemdVolumeDependencyGet(const std::string& strUnit, MERO_SYSTEMD_VOLUME_DEPENDENCY& dependency);

/// Replaces `vecServices` by the services whose processes use files at or below the mount path: as working directory or
/// executable, open, or mapped into memory. Services that opted out are left out. The path is compared as it is with
/// the files' resolved paths; the path of a device node means all files on the device. An empty path is not refused: it
/// matches every service that has a file open. Error code: 0x0900 if /proc cannot be opened. Looks at every process of
/// the machine; processes that end meanwhile are skipped.
bool MEROSystemdServiceListByMntPath(const std::string& strMntPath, std::vector<std::string>& vecServices);

/// Gets whether the service is never listed for its files: key "SkipListByMntPath" is "yes". Returns false (0x0700),
/// with `skip` untouched, if it has no unit file.
bool MEROSystemdServiceSkipListByMntPath(const std::string& strService, bool& skip);

/// Stops the services that use the volumes, runs `action`, which unmounts them, and starts the services again even if
/// the action fails. Returns true if all of that succeeded. The services are the running ones that need the volumes by
/// their key "VolumeDependency", and those whose processes use files there. A service that needs some volumes stops if
/// one of these is registered: in its package's register if it is called pkgctl-PACKAGE.service, otherwise in its own.
/// A service whose key "Master" names another unit is replaced by that unit. systemd orders the stops and the starts.
/// `action` is not called if the services cannot be found or stopped; an exception that it throws is passed on after
/// the start. Waits up to an hour for other unmount actions, and another for an isolation; `action` must not call
/// either. An empty list and paths that are no volumes are invalid arguments (0x0D00).
bool _MEROSystemdVolumeUnmountAction(const std::vector<std::string>& vecVolumes, std::function<bool()>&& action);

/// Gets the plan: which services that action would stop now, and why, and what would still keep the volumes busy.
/// Changes nothing and takes no lock. Fails, with `plan` untouched, if the services cannot be found: 0x0D00, 0x0900 or
/// 0x0E00, as for the action.
bool MEROSystemdVolumeUnmountPlan(const std::vector<std::string>& vecVolumes, MERO::Systemd::VolumeUnmountPlan& plan);

/// The same with all units that would stop along, and those that may start a stopped service too early. @since 7.1.0
bool MEROSystemdVolumeUnmountFullPlan(const std::vector<std::string>& vecVolumes,
                                      MERO::Systemd::FullVolumeUnmountPlan& plan);

/// _MEROSystemdVolumeUnmountAction() for a caller that looks at the plan first: `agree` gets it before anything stops,
/// under the locks, in this thread. If it returns false, nothing is changed, and false is returned. An empty `agree`
/// agrees. @since 7.1.0
bool MEROSystemdVolumeUnmountWithPlan(const std::vector<std::string>& vecVolumes,
                                      const std::function<bool(const MERO::Systemd::FullVolumeUnmountPlan&)>& agree,
                                      const std::function<bool()>& action);

/// Gets whether an unmount is running, or was interrupted: its process and its watcher were killed, and its services
/// are still stopped. There is a record of that in the current dialect only; in the classic dialect there seems to be
/// none. Returns false (0x0A00), with `state` untouched, if the record cannot be read. @since 7.1.0
bool MEROSystemdVolumeUnmountStateGet(MERO::Systemd::VolumeUnmountState& state);

/// Starts the units that an interrupted unmount left stopped, except held services and units that are gone. The next
/// unmount does that too. Succeeds if there was none. Waits for the same locks as the action. Error codes: 0x1100;
/// 0x0A00 if the record cannot be read. @since 7.1.0
bool MEROSystemdVolumeUnmountRecover();

/// @}

// ---- Cgroups -------------------------------------------------------------------------------------------------------
/// @addtogroup cgroups
/// @{

/// Gets the path of a process's cgroup in the hierarchy with these controllers; "name=systemd" means systemd's
/// hierarchy, version 2 included. Returns false if there is no such process or hierarchy, and for a path that contains
/// ":". Sets no error code.
bool MEROSystemdCgroupPathnameGet(int pid, const std::string& controller, std::string& path);

/// Gets the unit of a process: the last folder of its path in systemd's hierarchy. Returns false if there is no such
/// process, or the folder's name contains no ".". Sets no error code.
bool MEROSystemdGetByPid(int pid, std::string& unit);

/// Gets the tracked slice that the calling process is in. Returns false, without an error code, if it is in none.
bool MEROSystemdCgroupMonitorSliceGet(std::string& slice);

/** @{ */
/// Moves the calling process into a slice: in the monitor's hierarchy; in systemd's hierarchy, and then in the
/// monitor's if that is mounted or cgroups are of version 1.
bool MEROSystemdCgroupMonitorSliceMove(const std::string& strSlice);
bool MEROSystemdCgroupSystemdSliceMove(const std::string& strSlice);
/** @} */

/// Moves the calling process to the root cgroup in systemd's hierarchy, or on cgroup version 2 into a scope of
/// system.slice, so that it outlives the unit that started it. The main process of a unit still ends with it.
bool MEROSystemdRunAsSystemProcess();

/// @}

#pragma GCC visibility pop
