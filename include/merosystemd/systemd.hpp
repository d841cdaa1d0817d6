/// @file
/// The string-object interface.
///
/// merosystemd/systemd.h tells what the operations have in common, in sections of the same names: which manager they
/// talk to, how failures are told, and what threads may do. Here operations return true when they succeeded. No
/// exceptions leave them but those that are named below, and std::bad_alloc where memory is out, which many answer with
/// false instead; locks, descriptors and children do not stay behind.
///
/// A list of what failed is appended to, never cleared. It may be the list of the units, or of the options, too: what
/// failed is appended to it when all is done.
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

/// Judges a run of systemctl: its exit code (0 to 255; 0 too when a signal ended it, 255 when its wait status was
/// lost), and every line that it printed on either output in the order of arrival, with its newline.
using SystemctlCallback = std::function<bool(int exitCode, const std::vector<std::string>& lines)>;

/// Sees what systemctl answered to an action: exit code and lines, as SystemctlCallback gets them.
///
/// It is called in the calling thread, once for each systemctl that carries out the action, after the log lines of that
/// run are written and its units are on the failed list. It does not see questions that are asked on the way, nor what
/// the service control policy skipped. Log, commands and results are the same without it. It must not throw, and may be
/// empty. The forms that take one end with "Observed". @since 7.1.0
using SystemctlObserver = std::function<void(int exitCode, const std::vector<std::string>& lines)>;

/// Runs `systemctl VERB [--user] [OPTIONS] [--no-block] [UNITS]` and returns what `callback` says of it.
///
/// `--` stands before the units when one of them begins with "-", unless `opts.cmdOpts` is null: without options
/// apart, these may stand among the units.
/// `--user` is there when the caller is not root and `opts.forceSystem` is false; `--no-block` when the service control
/// policy wants it. try-restart and reload leave out the units that are about to stop; when none is left, nothing is
/// run and `callback` gets (0, no lines).
/// Throws std::exception when the policy skips the command, or systemctl cannot be started or its output not be read
/// (all are logged; `callback` is not called then), std::bad_function_call for an empty `callback`, and what `callback`
/// throws.
bool MEROSystemdSystemctlUltron(const std::string& verb, const MERO::Systemd::SystemctlOpts& opts,
                                const std::vector<std::string>& units, SystemctlCallback&& callback);

/** @{ */
/// MEROSystemdSystemctlUltron() with nothing but options, or with none.
bool MEROSystemdSystemctl(const std::string& verb, const std::vector<std::string>& options,
                          const std::vector<std::string>& units, SystemctlCallback&& callback);
bool MEROSystemdSystemctl(const std::string& verb, const std::vector<std::string>& units, SystemctlCallback&& callback);
/** @} */

/// Opens a PAM session of the service "systemd-user" for the calling user and puts its variables into the process
/// environment, so that `systemctl --user` finds the user's manager. Nothing happens for root. Failures are logged.
/// The session is never closed, and the variables' texts are never freed. Other threads must not use the environment
/// meanwhile. Where PAM's configuration has pam_loginuid, as Debian's does, only the process' first thread can open the
/// session: an ordinary user's program calls it, or the first operation, there.
void MEROSystemdPutEnvByPAMSystemd();

/// @}

// ---- Unit actions --------------------------------------------------------------------------------------------------
/// @addtogroup actions
///
/// The list forms are those that C calls group forms, with `failed` in the place of `*ppListFailed`: it may stay
/// as it was when the operation failed. An empty list is an invalid argument (0x0D00). `options` are systemctl's,
/// placed after the verb.
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

/// Starts with a job that no later job can replace.
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
/// Stops and starts units; starts those that do not run.
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
/// Restarts the units that run, those that are about to stop left out.
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
/// Reloads, those units left out that are about to stop. No form waits for the reload to end.
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
/// When enable, disable and reenable fail, all units are appended to `failed`; mask and unmask append those that
/// failed. An empty list is an invalid argument (0x0D00). A list in which a name is refused (0x0D00) fails with all of
/// its units, and nothing has been touched.
/// @{

/**
   @{ */
/// Has units start at boot. The Internal form takes options of systemctl.
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
/// Has units not start at boot. The Internal form takes options of systemctl.
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
/// Disables units and enables them anew, as their files say now.
bool MEROSystemdReenable(const std::string& strUnit);
bool MEROSystemdReenable(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdReenableObserved(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed,
                                 const SystemctlObserver& observer);
/** @} */

/** @{ */
/// Keeps units from being started at all; takes that back. The RunTime forms last until the next boot. `options` are
/// systemctl's.
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
/// Clears the failed state. Appends the units that systemctl named as failing: those that are not loaded, say.
bool MEROSystemdResetFailed(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
bool MEROSystemdResetFailedObserved(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed,
                                    const SystemctlObserver& observer);
/** @} */

/** @{ */
/// Has the manager read all unit files again.
bool MEROSystemdDaemonReload();
bool MEROSystemdDaemonReloadObserved(const SystemctlObserver& observer);
/** @} */

/** @{ */
/// Stops units, disables and unmasks them, removes their unit files and drop-ins, their flags and their reasons, and
/// clears their failed state. When they cannot be stopped, disabled or unmasked, nothing is removed and all of them are
/// failed; a file that cannot be removed, or that is a folder, fails its unit alone. A unit that is in `failed` already
/// is not appended again. An observer sees the stop, each step of disabling and unmasking, and the reloads; not the
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
/// (0x0D00). A unit that is no service, or whose name holds "/", is failed (0x0D00), and the others go on; `vecFailed`
/// may stay as it was when the operation failed, and get a service twice. Whether a held service can be started by
/// others is for a drop-in of its unit to say: see MERO::Systemd::LinkMeroReason(). The manager reads its unit files
/// again when one of the services got its first reason or lost its last.
///
/// Where systemctl speaks the current dialect, what systemd stops along with the services (units that require them,
/// say) is noted before the stop, and starts when the last reason of the last service that stopped it is released,
/// unless a reason holds it too. What does not start then is logged, and no failure.
/// @{

/**
   @{ */
/// Gives the services the reason, then stops them. The reason stays when the stop fails. False, too, with no service
/// failed, when the manager did not read its unit files again. An observer sees the stop and the reload.
bool MEROSystemdServiceStopByReason(const std::string& strReason, const std::string& strService);
bool MEROSystemdServiceStopByReason(const std::string& strReason, const std::vector<std::string>& vecServices,
                                    std::vector<std::string>& vecFailed);
bool MEROSystemdServiceStopByReasonObserved(const std::string& strReason, const std::vector<std::string>& vecServices,
                                            std::vector<std::string>& vecFailed, const SystemctlObserver& observer);
/** @} */

/** @{ */
/// Takes the reason from the services (one that does not have it is fine), clears their failed state and starts them,
/// whatever other reasons they have. Those that have none left bring back what stopped along with them; then a process
/// watches for the end of the caller, and goes on if it is killed. An observer sees the start and the reload, in this
/// process only.
bool MEROSystemdServiceStartByReason(const std::string& strReason, const std::string& strService);
bool MEROSystemdServiceStartByReason(const std::string& strReason, const std::vector<std::string>& vecServices,
                                     std::vector<std::string>& vecFailed);
bool MEROSystemdServiceStartByReasonObserved(const std::string& strReason, const std::vector<std::string>& vecServices,
                                             std::vector<std::string>& vecFailed, const SystemctlObserver& observer);
/** @} */

/** @{ */
/// Takes the reason from the services and clears their failed state, and does not start them, nor what stopped along
/// with them.
bool MEROSystemdServiceReasonRemove(const std::string& strReason, const std::string& strService);
bool MEROSystemdServiceReasonRemove(const std::string& strReason, const std::vector<std::string>& vecServices,
                                    std::vector<std::string>& vecFailed);
/** @} */

/// Appends the service's reasons. False (0x0900) when they cannot be read.
bool MEROSystemdServiceReasonList(const std::string& strService, std::vector<std::string>& vecReasons);

namespace MERO::Systemd {

/// Whether the service has a reason whose name does not begin with ".". True, too, when that cannot be read.
bool CheckServiceHasReason(const std::string& service);

/// Appends all services that have a reason, in no order. False (0x0900) when they cannot be read.
bool ListServicesWithReason(std::vector<std::string>& services);

/// Removes one reason's files: appends a service to `removed` when it does not have the reason now, otherwise to
/// `failed` (0x0D00: no service, or no reason's name; 0x3900: the file cannot be removed). Nothing is started.
bool UnlinkReasons(const std::string& reason, const std::vector<std::string>& services,
                   std::vector<std::string>& removed, std::vector<std::string>& failed);

/// Makes the folder `dropInDir`, which ends with "/", and in it "mero-reason.conf", a hard link to the drop-in
/// `sourceFile`. What keeps a held service from starting stands in that file: a condition on its reasons' folder, say.
bool LinkMeroReason(const std::string& dropInDir, const std::string& sourceFile);

} // namespace MERO::Systemd

/// @}

// ---- Jobs ----------------------------------------------------------------------------------------------------------
/// @defgroup jobs Jobs
/// @{

/// Adds systemd's queued jobs to `jobs`, by their numbers. A line of systemctl's that cannot be read is logged and
/// left out. False when systemctl could not be run or failed.
bool MEROSystemdIntJobList(std::map<std::uint32_t, MERO::Systemd::JobInfo>& jobs);

/// The queued job of a unit. False when it has none, and when it could not be asked, which is logged.
bool MEROSystemdIntJobGet(const std::string& strUnit, MERO::Systemd::JobInfo& info);

/// @}

// ---- Questions -----------------------------------------------------------------------------------------------------
/// @addtogroup questions
/// @{

/**
   @{ */
/// The value of a unit's property, trimmed. Of several lines only the first counts. False, with `value` untouched,
/// when it cannot be asked; a property that systemd does not know prints no line, and is such a one.
bool MEROSystemdShow(const std::string& strUnit, const std::string& strProperty, std::string& value);
bool MEROSystemdShowSystem(const std::string& strUnit, const std::string& strProperty, std::string& value);
/** @} */

/** @{ */
/// Several properties of several units, in one question: replaces `units` by what systemd says of each unit, by the
/// name that the caller spelt. A property that systemd does not know is missing; Id and Names are always there. A unit
/// that does not exist has the LoadState "not-found".
///
/// Patterns, templates ("a@.service"), plain numbers (systemctl takes them for processes) and what is no unit's name
/// are not asked for. When systemd refuses a name, the others are asked for again, in at most 16 further questions. A
/// unit that could not be asked for is in `units`, with `asked` false. Of a value with several lines the first counts;
/// of several commands, as of ExecStartPre, each is a line.
///
/// False, with `units` untouched, when systemd does not answer. The System form asks the system's manager for an
/// ordinary user, too. @since 7.1.0
bool MEROSystemdShowProperties(const std::vector<std::string>& vecUnits, const std::vector<std::string>& vecProperties,
                               std::map<std::string, MERO::Systemd::ShownUnit>& units);
bool MEROSystemdShowPropertiesSystem(const std::vector<std::string>& vecUnits,
                                     const std::vector<std::string>& vecProperties,
                                     std::map<std::string, MERO::Systemd::ShownUnit>& units);
/** @} */

/// A MERO_SYSTEMD_LOAD_STATUS or -1. A unit that does not exist is "not found", not -1.
int MEROSystemdLoadStatusGet(const std::string& strUnit);

/** @{ */
/// A MERO_SYSTEMD_ACTIVE_STATUS or -1.
int MEROSystemdActiveStatusGet(const std::string& strUnit);
int MEROSystemdActiveStatusGetSystem(const std::string& strUnit);
/** @} */

/** @{ */
/// A MERO_SYSTEMD_ENABLE_STATUS or -1, which indirect, generated, transient and alias units have too. `options` are
/// systemctl's.
int MEROSystemdEnableStatusGet(const std::string& strUnit);
int MEROSystemdEnableStatusGetWithOptions(const std::vector<std::string>& options, const std::string& strUnit);
int MEROSystemdEnableStatusGetSystem(const std::string& strUnit);
int MEROSystemdEnableStatusGetInGenerator(const std::string& strUnit);
/** @} */

/// Appends the names of all installed unit files, or of those of one type ("service", "mount" ...; another word is an
/// invalid argument), by type and then by name. In the current dialect they are read from the folders that the manager
/// names (its property UnitPath), which takes milliseconds; where it names none, and in the classic dialect, `systemctl
/// list-unit-files` is run, which takes seconds for 1,000 of them. False, with `units` untouched, when that fails; with
/// 0x0900 when one of the folders cannot be read, for another reason than that it is missing or closed to the caller.
bool MEROSystemdListUnits(std::vector<std::string>& units, const std::string& strType);

/// Appends the names of all installed services, without ".service".
bool MEROSystemdServiceList(std::vector<std::string>& services);

/** @{ */
/// The target that the machine boots into; has it boot into another one. `options` are systemctl's.
bool MEROSystemdDefaultTargetGet(std::string& defaultTarget);
bool MEROSystemdDefaultTargetSet(const std::string& strDefaultTarget);
bool MEROSystemdDefaultTargetSetObserved(const std::string& strDefaultTarget, const SystemctlObserver& observer);
bool MEROSystemdDefaultTargetSetInGenerator(const std::string& strDefaultTarget);
bool MEROSystemdIntDefaultTargetSet(const std::vector<std::string>& options, const std::string& strDefaultTarget);
/** @} */

/// Whether systemd has a job for the unit. False with 0x8100, too, when it cannot be asked.
bool MEROSystemdIsJobEnqueued(const std::string& strUnit);

/// @}

// ---- Unit metadata -------------------------------------------------------------------------------------------------
/// @addtogroup metadata
///
/// Here they return true when the unit has a file; otherwise false (0x0700), and the output stays as it was.
/// @{

/// Key "Name". False, too, when it is missing or empty; `name` is empty then.
bool MEROSystemdNameGet(const std::string& strUnit, std::string& name);

/// Key "NameI18n". False, too, unless the value holds one or two ":"; it is stored all the same.
bool MEROSystemdNameI18nGet(const std::string& strUnit, std::string& nameI18n);

/// Whether the platform has the capability that "SupportKey" names; true without that key.
bool MEROSystemdIsSupportGet(const std::string& strUnit, bool& support);

/** @{ */
/// Whether the key is exactly "yes".
bool MEROSystemdSupportOneClickEnableGet(const std::string& strUnit, bool& oneClickEnable);
bool MEROSystemdIsDefaultEnableGet(const std::string& strUnit, bool& defaultEnable);
bool MEROSystemdInfoCenterDisplayGet(const std::string& strUnit, bool& display);
bool MEROSystemdNanoUpdateDislayGet(const std::string& strUnit, bool& display);
/** @} */

/// Key "FirewallSections", split at blanks. `sections` is replaced, and left as it was by an empty value.
bool MEROSystemdFirewallSectionsGet(const std::string& strUnit, std::vector<std::string>& sections);

/** @{ */
/// Keys "BelongsTo" and "PackedIn": the targets among their units are appended to `targets`.
bool MEROSystemdBelongsToGet(const std::string& strUnit, std::vector<std::string>& targets);
bool MEROSystemdPackedInGet(const std::string& strUnit, std::vector<std::string>& targets);
/** @} */

/// @}

// ---- Isolation -----------------------------------------------------------------------------------------------------
/// @addtogroup isolation
/// @{

/**
   @{ */
/// Isolates to a target: true when systemctl did. `result`, unless it is null, tells how the wait for the stops ended:
/// it is written after an isolation that succeeded, and when the jobs could not be listed before it; otherwise it stays
/// as it was. An empty target is an invalid argument (0x0D00), which is seen when the waiting is over.
bool MEROSystemdIsolateTarget(const std::string& strTarget, const MERO::Systemd::IsolateOptions& options,
                              MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result);
bool MEROSystemdIsolateTargetObserved(const std::string& strTarget, const MERO::Systemd::IsolateOptions& options,
                                      MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result, const SystemctlObserver& observer);
bool MEROSystemdIsolateTarget(const std::string& strTarget, MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result);
/** @} */

/** @{ */
/// The same for a caller that holds the lock of operations on the whole machine already.
bool MEROSystemdIntIsolateTarget(const std::string& strTarget, const MERO::Systemd::IsolateOptions& options,
                                 MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result);
bool MEROSystemdIntIsolateTarget(const std::string& strTarget, MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result);
/** @} */

/// Isolates to "default.target".
bool MEROSystemdIsolateToDefaultTarget();

/// Whether an isolation is going on, and where to. False when that cannot be told: its state cannot be read, or its
/// process was killed and has left the state behind, until the next isolation ends. `state` says none then.
bool MEROSystemdIsolateStateGet(MERO::Systemd::IsolateState& state);

/// Isolates to a target, runs `action` there, in this thread, and isolates to "default.target", whatever came of it:
/// true when all three succeeded. `action` is not called when the first isolation failed. What it throws is passed on
/// after the way back. It must start no other operation on the whole machine.
bool _MEROSystemdIsolateTargetAction(const std::string& strTarget, std::function<bool()>&& action);

/// @}

// ---- Volumes -------------------------------------------------------------------------------------------------------
/// @addtogroup volumes
/// @{

/// Registers a volume. One that is registered already is fine.
bool MEROSystemdVolumeRegister(const std::string& strUnit, const std::string& strVolume);

/** @{ */
/// Takes a volume away. False, too, when nothing was ever registered by a unit on this machine, or by this package.
bool MEROSystemdVolumeUnregister(const std::string& strUnit, const std::string& strVolume);
bool MEROSystemdPackageVolumeUnregister(const std::string& strPackage, const std::string& strVolume);
/** @} */

/// Registers a volume of a package, which must be installed: `/var/packages/<package>`. The package may own its
/// folders, but a symbolic link on the way that lies in a folder which others can write is refused (0x0D00).
bool MEROSystemdPackageVolumeRegister(const std::string& strPackage, const std::string& strVolume);

/** @{ */
/// Whether one of the volumes is registered. False, too, when that cannot be read.
bool MEROSystemdVolumeIsRegisteredByUnit(const std::string& unit, const std::vector<std::string>& volumes);
bool MEROSystemdVolumeIsRegisteredByPackage(const std::string& package, const std::vector<std::string>& volumes);
/** @} */

/// Appends the packages that have registered the volume, in no order. False at the first one whose register cannot be
/// read. Throws std::filesystem::filesystem_error when there is no /var/packages.
bool MEROSystemdListPackageByRegisteredVolume(const std::string& volume, std::vector<std::string>& packages);

/// Appends what is registered, by units and then by packages, in no order among them; a register that is empty is left
/// out. A register that cannot be read is logged and passed over: false then. Without /var/packages there are none.
bool MEROSystemdVolumeRegisterList(std::vector<MERO::Systemd::VolumeRegistration>& registrations);

/// Which volumes a unit needs, by its key "VolumeDependency"; another word than "all" and "partial" means none. False
/// (0x0700), with `dependency` untouched, when the unit has no file.
bool MEROSystemdVolumeDependencyGet(const std::string& strUnit, MERO_SYSTEMD_VOLUME_DEPENDENCY& dependency);

/// Replaces `vecServices` by the services whose processes use files at or below the mount path: as working directory
/// or executable, open, or mapped into memory. Services that opt out are left out. The path is compared as it stands
/// with the files' resolved paths; that of a device's node means all files on the device. An empty one is not refused:
/// every service that has a file open is below it. False (0x0900) when /proc cannot be opened. Every process of the
/// machine is looked at; a process that ends meanwhile is passed over.
bool MEROSystemdServiceListByMntPath(const std::string& strMntPath, std::vector<std::string>& vecServices);

/// Whether the service is never listed for its files: key "SkipListByMntPath" is "yes". False (0x0700), with `skip`
/// untouched, when it has no unit file.
bool MEROSystemdServiceSkipListByMntPath(const std::string& strService, bool& skip);

/// Stops the services that use the volumes, runs `action`, which unmounts them, and starts the services again, whatever
/// came of it: true when all of that succeeded. The services are those that run and depend on the volumes by their key
/// "VolumeDependency", and those whose processes use files there. A service that depends on some volumes stops when one
/// of these is registered: in its package's register when it is called pkgctl-PACKAGE.service, otherwise in its own. A
/// service whose key "Master" names another unit is replaced by that one. systemd orders the stops and the starts.
/// `action` is not called when the services cannot be found or stopped; what it throws is passed on after the start.
/// Waits up to an hour each for other unmount actions and for an isolation, and must not be called, nor may an
/// isolation be, from `action`. An empty list and paths that are no volumes are invalid arguments (0x0D00).
bool _MEROSystemdVolumeUnmountAction(const std::vector<std::string>& vecVolumes, std::function<bool()>&& action);

/// What that action would stop now, and why; besides, what would still keep the volumes busy. Nothing is changed, and
/// no lock is taken. False as the action is when it cannot find the services; `plan` is untouched then.
bool MEROSystemdVolumeUnmountPlan(const std::vector<std::string>& vecVolumes, MERO::Systemd::VolumeUnmountPlan& plan);

/// The same with all that goes down, and what may bring it up too early. @since 7.1.0
bool MEROSystemdVolumeUnmountFullPlan(const std::vector<std::string>& vecVolumes,
                                      MERO::Systemd::FullVolumeUnmountPlan& plan);

/// _MEROSystemdVolumeUnmountAction for a caller that looks at the plan first: `agree` is called with it before anything
/// stops, under the locks, in this thread. When it returns false nothing is changed, and the result is false.
/// @since 7.1.0
bool MEROSystemdVolumeUnmountWithPlan(const std::vector<std::string>& vecVolumes,
                                      const std::function<bool(const MERO::Systemd::FullVolumeUnmountPlan&)>& agree,
                                      const std::function<bool()>& action);

/// Whether an unmounting is going on, or was interrupted: its process and the watcher that was to go back for it have
/// been killed, and its services are still stopped. Only where systemctl is today's is that on record; otherwise there
/// seems to be none. False (0x0A00), with `state` untouched, when the record cannot be read. @since 7.1.0
bool MEROSystemdVolumeUnmountStateGet(MERO::Systemd::VolumeUnmountState& state);

/// Starts what an interrupted unmounting has left stopped, but services that a reason holds and units that are gone;
/// the next unmounting does so too. True when there was none. Waits for its locks as the action does. @since 7.1.0
bool MEROSystemdVolumeUnmountRecover();

/// @}

// ---- Cgroups -------------------------------------------------------------------------------------------------------
/// @addtogroup cgroups
/// @{

/// The path of a process' cgroup in the hierarchy with these controllers; "name=systemd" means systemd's, of version 2
/// too. False when there is no such process or hierarchy, and for a path that holds ":".
bool MEROSystemdCgroupPathnameGet(int pid, const std::string& controller, std::string& path);

/// The unit of a process: the last folder of its path in systemd's hierarchy. False when there is no such process, or
/// the folder's name holds no ".".
bool MEROSystemdGetByPid(int pid, std::string& unit);

/// The slice that the calling process is accounted to.
bool MEROSystemdCgroupMonitorSliceGet(std::string& slice);

/** @{ */
/// Moves the calling process into a slice of the monitor's hierarchy; of systemd's hierarchy, and then of the
/// monitor's, if that is mounted or cgroups are of version 1.
bool MEROSystemdCgroupMonitorSliceMove(const std::string& strSlice);
bool MEROSystemdCgroupSystemdSliceMove(const std::string& strSlice);
/** @} */

/// Moves the calling process to the root of systemd's hierarchy, so that it outlives the unit that started it. On
/// cgroup version 2 it moves into a scope of system.slice. The unit still ends its main process.
bool MEROSystemdRunAsSystemProcess();

/// @}

#pragma GCC visibility pop
