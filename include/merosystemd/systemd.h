/** @file
   The C interface. */

/** @mainpage

   libmerosystemd manages systemd units for the programs of this operating system.

   Each action and each query of a unit runs /usr/bin/systemctl and waits for it to exit. Functions whose names end in
   NoBlock queue the job and do not wait for it. try-restart and reload first ask systemctl for each unit's job; during
   the early boot, start, stop and restart do too. If the caller is not root, systemctl talks to the user's own service
   manager, and the environment of the user's session is loaded into the process through PAM first.

   Functions return 1 on success and 0 on failure, and log the cause ("FILE:LINE merosystemd: ..."). The error register
   (MLIBCErrGet() of merocore/error.h) holds a code after the failures that are listed here and with each function and
   group. After any other failure, and after success, its content means nothing: no code says that systemctl exited with
   an error. All functions share these codes:

   - MLIBC_ERR_INVALID_ARGUMENT (0x0D00): an argument is null or empty. Nothing was run.
   - MLIBC_ERR_START_PROGRAM (0x0E00): systemctl, or another program, could not be started.
   - MLIBC_ERR_NO_MEMORY (0x0200): memory ran out. Unit actions, enablement, reasons, the two actions with a callback,
     and functions that were about to run systemctl or to read metadata may fail for it without the code.

   A unit name without a type means a service: "nfs" is "nfs.service". Texts and lists stay the caller's. Results are
   pushed onto a list after its items; its pointer is passed by address because growing may move the list. All functions
   may be called from any thread at any time, but an ordinary user's calls change the process environment (setenv's
   rules apply). */
#pragma once

#include <merocore/list.h>
#include <merosystemd/status.h>

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/** @defgroup actions Unit actions

   Starts and stops of units with a display name are written to the event log. During the early steps of the boot the
   service control policy applies: it skips a start of a unit that is about to start, a stop of one that is about to
   stop, and a restart of one with any job, and the call fails.

   The group forms take a list of units and run one systemctl for all of them. A null item in the list throws
   std::logic_error. On failure the units that failed are pushed onto `*ppListFailed`, spelt as the caller spelt them;
   `ppListFailed` and `*ppListFailed` may be NULL. These are the units that systemctl's output names, once for each line
   that names one: the list may stay empty, or have a unit twice. If systemctl could not be run, or the policy skipped
   the command, all units have failed. When memory runs out, names may be missing. An empty list is an invalid argument
   (0x0D00).
   @{ */

/**
   @{ */
/** Starts units. */
int MEROCSystemdStart(const char* szUnit);
int MEROCSystemdStartNoBlock(const char* szUnit);
int MEROCSystemdStartGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdStartGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
/** @} */

/** Starts a unit with a job that no later job can replace (`--job-mode=replace-irreversibly`); only cancelling the job
   ends it. */
int MEROCSystemdStartIrreversibly(const char* szUnit);

/** @{ */
/** Stops units. */
int MEROCSystemdStop(const char* szUnit);
int MEROCSystemdStopNoBlock(const char* szUnit);
int MEROCSystemdStopGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdStopGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
/** @} */

/** @{ */
/** Stops and starts units. Units that do not run are started. */
int MEROCSystemdRestart(const char* szUnit);
int MEROCSystemdRestartNoBlock(const char* szUnit);
int MEROCSystemdRestartGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdRestartGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
/** @} */

/** @{ */
/** Restarts the units that run. Skips units that are about to stop; succeeds if no unit is left. */
int MEROCSystemdTryRestart(const char* szUnit);
int MEROCSystemdTryRestartNoBlock(const char* szUnit);
int MEROCSystemdTryRestartGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdTryRestartGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
/** @} */

/** @{ */
/** Reloads the units' configuration. No form waits for the reload to finish. Skips units that are about to stop;
   succeeds if no unit is left. */
int MEROCSystemdReload(const char* szUnit);
int MEROCSystemdReloadNoBlock(const char* szUnit);
int MEROCSystemdReloadGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdReloadGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
/** @} */

/** @{ */
/** Reloads the units that can be reloaded, and restarts or starts the others. */
int MEROCSystemdReloadOrRestart(const char* szUnit);
int MEROCSystemdReloadOrRestartNoBlock(const char* szUnit);
int MEROCSystemdReloadOrRestartGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdReloadOrRestartGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
/** @} */

/** @} */

/** @defgroup enablement Enablement

   Whether units start at boot. Enable, disable and reenable set a flag file for each unit once systemctl has run,
   whether it succeeded or not. The InGenerator forms work on the unit files alone (`systemctl --root`), for use before
   a manager runs. Enable, disable and reenable also take the path of a unit file, as systemctl does; its last part must
   not be empty, "." or ".." (0x0D00). Uninstall takes no paths (0x0D00): its names become file names. The group forms
   run one systemctl for all units, except mask and unmask, which run one for each. They return 0 for a null item; an
   empty list is an invalid argument (0x0D00).
   @{ */

/**
   @{ */
/** Makes units start at boot. */
int MEROCSystemdEnable(const char* szUnit);
int MEROCSystemdEnableGroup(const MLIBCSzList* pListUnits);
int MEROCSystemdEnableInGenerator(const char* szUnit);
int MEROCSystemdEnableGroupInGenerator(const MLIBCSzList* pListUnits);
/** @} */

/** @{ */
/** Makes units not start at boot. */
int MEROCSystemdDisable(const char* szUnit);
int MEROCSystemdDisableGroup(const MLIBCSzList* pListUnits);
int MEROCSystemdDisableInGenerator(const char* szUnit);
int MEROCSystemdDisableGroupInGenerator(const MLIBCSzList* pListUnits);
/** @} */

/** @{ */
/** Disables units and enables them again, as their unit files say now. */
int MEROCSystemdReenable(const char* szUnit);
int MEROCSystemdReenableGroup(const MLIBCSzList* pListUnits);
/** @} */

/** @{ */
/** Mask prevents units from being started at all; unmask undoes it. The RunTime forms last until the next boot. */
int MEROCSystemdMask(const char* szUnit);
int MEROCSystemdMaskGroup(const MLIBCSzList* pListUnits);
int MEROCSystemdMaskRunTime(const char* szUnit);
int MEROCSystemdUnmask(const char* szUnit);
int MEROCSystemdUnmaskGroup(const MLIBCSzList* pListUnits);
int MEROCSystemdUnmaskRunTime(const char* szUnit);
/** @} */

/** Makes the manager read all unit files again. */
int MEROCSystemdDaemonReload(void);

/** @{ */
/** Stops units, disables and unmasks them, removes their unit files, drop-ins, flag files and reasons, and clears their
   failed state. If they cannot be stopped, disabled or unmasked, nothing is removed. Error code: 0x0F00 if a file
   cannot be removed. */
int MEROCSystemdUninstall(const char* szUnit);
int MEROCSystemdUninstallGroup(const MLIBCSzList* pListUnits);
/** @} */

/** @} */

/** @defgroup reasons Reasons

   A service is held while it has a reason. A reason is a name that the caller chooses; it must not be empty, contain
   "/", or be "." or ".." (0x0D00). Reasons do not survive a boot. A unit that is no service fails (0x0D00). The group
   forms push the services that failed onto `*ppListFailed` unless that is NULL, and return 0 for a null item. As with
   unit actions, that list may stay empty, or have a service twice. An empty list of services is an invalid argument
   (0x0D00).
   @{ */

/**
   @{ */
/** Gives the services the reason, then stops them. The reason stays if the stop fails. In the current dialect, units
   that systemd stops along with them are recorded. Error codes: 0x0A00 if the reason's file cannot be created; 0x0900,
   0x0E00 or 0x0F00 if its folder cannot. */
int MEROCSystemdServiceStopByReason(const char* szReason, const char* szService);
int MEROCSystemdServiceStopGroupByReason(const char* szReason, const MLIBCSzList* pListServices,
                                         MLIBCSzList** ppListFailed);
/** @} */

/** @{ */
/** Takes the reason from the services and starts them, whatever other reasons they have. Units that stopped along with
   a service that has no reason left start too, unless another held service stopped them as well. Error code: 0x3900 if
   the reason's file cannot be removed. */
int MEROCSystemdServiceStartByReason(const char* szReason, const char* szService);
int MEROCSystemdServiceStartGroupByReason(const char* szReason, const MLIBCSzList* pListServices,
                                          MLIBCSzList** ppListFailed);
/** @} */

/** @{ */
/** Takes the reason from the services. Starts neither them nor the units that stopped along with them. Error code:
   0x3900 if the reason's file cannot be removed. */
int MEROCSystemdServiceReasonRemove(const char* szReason, const char* szService);
int MEROCSystemdServiceReasonRemoveGroup(const char* szReason, const MLIBCSzList* pListServices,
                                         MLIBCSzList** ppListFailed);
/** @} */

/** Pushes the service's reasons onto the list, which must exist. Error code: 0x0900 if they cannot be read. */
int MEROCSystemdServiceReasonList(const char* szService, MLIBCSzList** ppListReasons);

/** @} */

/** @defgroup queries Queries

   The functions whose names end in System ask the system's manager even for an ordinary user. Those that end in
   InGenerator read the unit files alone (`systemctl --root`), for use before a manager runs. Queries of a state return
   its number in merosystemd/status.h, or -1: the unit could not be queried, its state has no number (error code
   0x8000), or an argument is invalid.
   @{ */

/** Receives a property of a unit. The texts are valid during the call. `szUnit` is spelt as the caller spelt it;
   `szProperty` and `szValue` are NULL for a unit that systemd could not be asked about. */
typedef void (*MEROSystemdPropertyCallback)(const char* szUnit, const char* szProperty, const char* szValue,
                                            void* pData);

/** Queries several properties of several units at once: calls `callback` with `pData` for each property of each unit,
   in this thread, after all answers have arrived, in no particular order. Id and Names are always among the properties;
   a property that systemd does not know is left out. A unit that does not exist has the LoadState "not-found".
   Patterns, templates ("a@.service"), plain numbers (systemctl takes them for processes) and invalid names are not
   asked about. If systemd refuses a name, the others are queried again, in at most 16 further runs of systemctl. Only
   the first line of a value counts, but a property with several commands, such as ExecStartPre, has a line for each.
   Returns 0, without calling `callback`, if systemd does not answer, and for a list that is empty or holds NULL.
   @since 7.1.0 */
int MEROCSystemdShowProperties(const MLIBCSzList* pListUnits, const MLIBCSzList* pListProperties,
                               MEROSystemdPropertyCallback callback, void* pData);

/** Returns a MERO_SYSTEMD_LOAD_STATUS or -1. A unit that does not exist is "not found", not -1. */
int MEROCSystemdLoadStatusGet(const char* szUnit);

/** @{ */
/** Returns a MERO_SYSTEMD_ACTIVE_STATUS or -1. */
int MEROCSystemdActiveStatusGet(const char* szUnit);
int MEROCSystemdActiveStatusGetSystem(const char* szUnit);
/** @} */

/** @{ */
/** Returns a MERO_SYSTEMD_ENABLE_STATUS or -1. Indirect, generated, transient and alias units have no number. */
int MEROCSystemdEnableStatusGet(const char* szUnit);
int MEROCSystemdEnableStatusGetSystem(const char* szUnit);
int MEROCSystemdEnableStatusGetInGenerator(const char* szUnit);
/** @} */

/** Pushes the names of all installed services, without ".service", onto the list, which must exist. Error code: 0x0900
   if a folder of unit files cannot be read. */
int MEROCSystemdServiceList(MLIBCSzList** ppListServices);

/** Gets the target that the machine boots into. `cbDefaultTarget` is the size of the buffer in bytes. Error code:
   MLIBC_ERR_BUFFER_TOO_SMALL (0x0100) if the name and its NUL do not fit. */
int MEROCSystemdDefaultTargetGet(char* szDefaultTarget, int cbDefaultTarget);

/** @{ */
/** Makes the machine boot into a target. */
int MEROCSystemdDefaultTargetSet(const char* szDefaultTarget);
int MEROCSystemdDefaultTargetSetInGenerator(const char* szDefaultTarget);
/** @} */

/** Returns 1 if systemd has a job for the unit, 0 if it has none. Also 0, with error code 0x8100, if it cannot be
   asked. */
int MEROCSystemdIsJobEnqueued(const char* szUnit);

/** @} */

/** @defgroup metadata Unit metadata

   These functions read a key in the section [X-Tarvix] of the unit's file. The file is looked for in
   /usr/local/lib/systemd/system, /usr/lib/systemd/system, /etc/systemd/system and /run/systemd/system, in this order;
   an instance's keys are read from its template. No program is run. They return 1 if the unit has a file, whatever its
   keys, except as stated below. Otherwise they return 0, with the output untouched.

   Error codes: MLIBC_ERR_NOT_FOUND (0x0700) if the unit has no file; 0x0A00, 0x0B00 or 0x0200 if the file cannot be
   read for lack of descriptors or memory, or for a disk error.
   @{ */

/** Gets the display name, key "Name". Returns 0 if there is none. `cbName` is the size of the buffer in bytes. Error
   code: MLIBC_ERR_BUFFER_TOO_SMALL (0x0100) if the name and its NUL do not fit. */
int MEROCSystemdNameGet(const char* szUnit, char* szName, int cbName);

/** Gets the reference of the translated name, key "NameI18n": section:key or file:section:key. Returns 0 for any other
   value. `cbNameI18n` is the size of the buffer in bytes. Error code: 0x0100 if the text and its NUL do not fit. */
int MEROCSystemdNameI18nGet(const char* szUnit, char* szNameI18n, int cbNameI18n);

/** Gets whether this machine supports the unit: it does if it has the platform capability that the key "SupportKey"
   names, or if there is no such key. */
int MEROCSystemdIsSupportGet(const char* szUnit, bool* pblSupport);

/** Reads the key "DefaultEnable", like MEROCSystemdIsDefaultEnableGet(): C callers rely on that answer. */
int MEROCSystemdSupportOneClickEnableGet(const char* szUnit, bool* pblOneClickEnable);

/** Gets whether the unit is enabled by default: key "DefaultEnable" is "yes". */
int MEROCSystemdIsDefaultEnableGet(const char* szUnit, bool* pblDefaultEnable);

/** Gets whether the information centre shows the unit: key "InfoCenterDisplay" is "yes". Callers know the function by
   this misspelt name. */
int MEROCSystemdInfoCenterDislayGet(const char* szUnit, bool* pblDisplay);

/** Gets whether the small-update screen shows the unit: key "NanoUpdateDisplay" is "yes". Misspelt likewise. */
int MEROCSystemdNanoUpdateDislayGet(const char* szUnit, bool* pblDisplay);

/** Pushes the unit's firewall sections, key "FirewallSections", onto the list, which must exist. */
int MEROCSystemdFirewallSectionsGet(const char* szUnit, MLIBCSzList** ppFirewallSections);

/** @} */

/** @defgroup isolation Isolation

   Isolating switches the machine to a target: systemd stops every unit that the target does not need. Only one
   isolation runs at a time on the whole machine, and none while a volume is being unmounted. The call blocks for the
   whole isolation, and then until the services that it stops have stopped, at most five minutes. Before that it waits
   up to two minutes for another operation on the whole machine (an isolation, a target action) and up to ten minutes
   for unmounts.

   Error codes: 0x1100 if the other operations were not over in time, and nothing has been done; 0x0900, 0x0A00 or
   0x0F00 if the files in /run/merosystemd cannot be made; 0x1000 if no process could be forked.
   @{ */

/** Isolates the machine to "default.target". */
int MEROCSystemdIsolateToDefaultTarget(void);

/** Gets whether an isolation is running, and its target (the first 63 bytes of the name). Does not wait. Returns 0,
   with `*pState` untouched, if the state cannot be read (0x0A00, 0x0B00 or 0x0700), or if the isolating process was
   killed and its state remains (no code). For NULL it logs a line, returns 0 and leaves the register as it was. */
int MEROCSystemdIsolateStateGet(MERO_SYSTEMD_ISOLATE_STATE* pState);

/** Isolates the machine to a target, calls `action` with `data` in this thread, and isolates to "default.target" even
   if the action fails or ends the thread (pthread_cancel, pthread_exit). Returns 1 if both isolations succeeded and the
   action returned true; the machine stays in the target if the second one fails. The action is not called if the first
   isolation failed. It must not start another operation on the whole machine. */
int MEROCSystemdIsolateTargetAction(const char* szTarget, bool (*action)(void* data), void* data);

/** @} */

/** @defgroup volumes Volumes

   A volume is named by its mount path, which begins with "/" and does not end with it. Units and packages register the
   volumes that they use, each in a file of its own, which survives boots. A file is replaced whole, and is on the disk
   when the call succeeds. Only one process can write at a time; another one fails at once.

   Error codes: 0x0D00 for a path that is no volume, and for a unit's or package's name that contains "/", or is "." or
   ".."; MLIBC_ERR_LOCK_BUSY (0x1100) if another process is writing; 0x0A00 if the lock file cannot be opened; 0x0900,
   0x0E00 or 0x0F00 if a folder cannot be made. A register that cannot be read or written sets no code.
   @{ */

/** Registers a volume. Succeeds if it is registered already. */
int MEROCSystemdVolumeRegister(const char* szUnit, const char* szVolume);

/** @{ */
/** Removes a volume. Also returns 0 if no unit of this machine, or not this package, has ever registered one. */
int MEROCSystemdVolumeUnregister(const char* szUnit, const char* szVolume);
int MEROCSystemdPackageVolumeUnregister(const char* szPackage, const char* szVolume);
/** @} */

/** Registers a volume of a package, which must be installed. Error code: 0x0900 if /var/packages/PACKAGE is missing. */
int MEROCSystemdPackageVolumeRegister(const char* szPackage, const char* szVolume);

/** Gets which volumes a unit needs. Returns 0, with `*pDependency` untouched and error code 0x0700, if the unit has no
   file. */
int MEROCSystemdVolumeDependencyGet(const char* szUnit, MERO_SYSTEMD_VOLUME_DEPENDENCY* pDependency);

/** Pushes the services whose processes use files at or below the mount path onto the list, which must exist. An empty
   path is not refused: it matches every service that has a file open. Error code: 0x0900 if /proc cannot be opened. */
int MEROCSystemdServiceListByMntPath(const char* szMntPath, MLIBCSzList** ppListServices);

/** @{ */
/** Stops the services that use the volumes, calls `action` with `data`, which unmounts them, and starts the services
   again even if the action fails or ends the thread (pthread_cancel, pthread_exit). Returns 1 if all of that succeeded
   and the action returned true. The services are the running ones that need all volumes (key "VolumeDependency"), or
   some volumes and have registered one of these (for pkgctl-PACKAGE.service the package's register counts, for other
   units their own), and those whose processes use files there. The action must not start an isolation or another
   unmount action. It is not called if the services cannot be found or stopped. The calls may wait an hour for other
   unmount actions, and another for isolations. A null item in the list gives 0. Error codes: 0x1100 if those were not
   over after that time, and nothing has been done; 0x0900 if a folder of unit files cannot be read. */
int MEROCSystemdVolumeUnmountAction(const char* szVolume, bool (*action)(void* data), void* data);
int MEROCSystemdVolumeGroupUnmountAction(const MLIBCSzList* pListVolumes, bool (*action)(void* data), void* data);
/** @} */

/** @} */

/** @defgroup cgroups Cgroups

   There are two hierarchies: systemd's (name=systemd, at /sys/fs/cgroup/systemd) and the resource monitor's
   (name=meromonitor, at /sys/fs/cgroup/meromonitor). A slice's name ends in ".slice" and does not contain "/". A move
   takes all threads of the calling process along, whichever thread calls, but not its children. If it fails, some of
   the threads may have been moved.

   If /sys/fs/cgroup is a cgroup version 2 hierarchy and the dialect is the current one, that hierarchy is systemd's.
   Processes cannot be written into its slices: systemd moves the calling process into a new transient scope of the
   slice (StartTransientUnit, called through /usr/bin/busctl; see org.freedesktop.systemd1(5)). The scope ends with its
   last process. The monitor's hierarchy may be mounted inside, at the same path. If it is not, systemd's slices are the
   tracked ones, and a move into the monitor's hierarchy fails.

   Error codes: 0x0D00 for a name that is no slice's; 0x0900 if the slice does not exist on cgroup version 2. Other
   moves that fail set no code.
   @{ */

/** Gets the tracked slice that the calling process is in. `cbSlice` is the size of the buffer in bytes. Error code:
   MLIBC_ERR_BUFFER_TOO_SMALL (0x0100) if the name and its NUL do not fit. */
int MEROCSystemdCgroupMonitorSliceGet(char* szSlice, int cbSlice);

/** Moves the calling process into a slice of the resource monitor's hierarchy. */
int MEROCSystemdCgroupMonitorSliceMove(const char* szSlice);

/** Moves the calling process into a slice in systemd's hierarchy, and then into the monitor's slice of that name, if
   the monitor's hierarchy is mounted or cgroups are of version 1. */
int MEROCSystemdCgroupSystemdSliceMove(const char* szSlice);

/** Pushes the tracked slices onto the list, which must exist. Returns 0 if there are none. */
int MEROCSystemdSliceList(MLIBCSzList** ppListSlices);

/** Moves the calling process to the root cgroup in systemd's hierarchy, or on cgroup version 2 into a scope of
   system.slice, so that it outlives the unit that started it. The main process of a unit still ends with it. */
int MEROCSystemdRunAsSystemProcess(void);

/** @} */

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif
