/** @file
   The C interface. */

/** @mainpage

   libmerosystemd: managing systemd's units from the programs of this operating system.

   Every operation that changes or asks units runs /usr/bin/systemctl and waits for it; the operations whose names end
   in NoBlock queue the job and do not wait until it is done. try-restart and reload first ask systemctl for each unit's
   job, and during the early boot start, stop and restart do. When the caller is not root, the user's own
   service manager is meant, and the environment of the user's session is loaded into the process through PAM first.

   Operations return 1 when they succeeded and 0 when they failed. Why is written to syslog ("FILE:LINE
   merosystemd: ..."); the error register of merocore/error.h holds the code where one is named below. A null or
   empty argument is answered with 0 and MLIBC_ERR_INVALID_ARGUMENT (0x0D00), and nothing is run, unless told otherwise.

   Where memory is out they fail. The register tells so (MLIBC_ERR_NO_MEMORY, 0x0200) in some places only: unit actions,
   enablement, reasons, the two actions with a callback, and whatever was about to run systemctl or to read metadata may
   leave it as it was.

   Unit names may lack their type: ".service" is meant then. All functions may be called from any thread at any
   time, except that an ordinary user's calls change the process environment (setenv's rules hold). */
#pragma once

#include <merocore/list.h>
#include <merosystemd/status.h>

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/** @defgroup actions Unit actions

   Starts and stops are written to the event log, for the units that have a display name. During the early steps of
   the boot the service control policy holds: a start of a unit that is about to start, a stop of one that is about
   to stop, and a restart of one with any job are not carried out and fail.

   The group forms take a list of units, which must hold no null item (std::logic_error is thrown for one), and run
   one systemctl for all of them. When they fail, the names of the units that failed are pushed onto `*ppListFailed`,
   as the caller spelt them; `ppListFailed` and `*ppListFailed` may be NULL. These are the units that systemctl's
   output names, once for each line that does: it may be none of them, and one twice. They are all units when systemctl
   could not be run or the policy skipped the command. Where memory is out names may be missing.
   @{ */

/**
   @{ */
/** Starts units. */
int MEROCSystemdStart(const char* szUnit);
int MEROCSystemdStartNoBlock(const char* szUnit);
int MEROCSystemdStartGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdStartGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
/** @} */

/** Starts with a job that no later job can replace (`--job-mode=replace-irreversibly`): only cancelling ends it. */
int MEROCSystemdStartIrreversibly(const char* szUnit);

/** @{ */
/** Stops units. */
int MEROCSystemdStop(const char* szUnit);
int MEROCSystemdStopNoBlock(const char* szUnit);
int MEROCSystemdStopGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdStopGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
/** @} */

/** @{ */
/** Stops and starts units; starts those that do not run. */
int MEROCSystemdRestart(const char* szUnit);
int MEROCSystemdRestartNoBlock(const char* szUnit);
int MEROCSystemdRestartGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdRestartGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
/** @} */

/** @{ */
/** Restarts the units that run. Units that are about to stop are left out; when none is left, that is success. */
int MEROCSystemdTryRestart(const char* szUnit);
int MEROCSystemdTryRestartNoBlock(const char* szUnit);
int MEROCSystemdTryRestartGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdTryRestartGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
/** @} */

/** @{ */
/** Reloads the units' configuration. Every form returns without waiting for the reload to end. Units that are about
   to stop are left out; when none is left, that is success. */
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

   Whether units start at boot. Enable, disable and reenable leave a flag for each unit once systemctl has run, whatever
   it said; when it could not be run, they leave none. The InGenerator forms work on the unit files alone (as
   systemctl's `--root` does), for the time before a manager runs. Enable, disable and reenable take the path of a unit
   file, too, as systemctl does; what ends with "/", "." or ".." is refused (0x0D00). Uninstall takes no path: its names
   become names of files. The group forms run one systemctl for all units, but mask and unmask one for each. They return
   0 for a null item.
   @{ */

/**
   @{ */
/** Has units start at boot. */
int MEROCSystemdEnable(const char* szUnit);
int MEROCSystemdEnableGroup(const MLIBCSzList* pListUnits);
int MEROCSystemdEnableInGenerator(const char* szUnit);
int MEROCSystemdEnableGroupInGenerator(const MLIBCSzList* pListUnits);
/** @} */

/** @{ */
/** Has units not start at boot. */
int MEROCSystemdDisable(const char* szUnit);
int MEROCSystemdDisableGroup(const MLIBCSzList* pListUnits);
int MEROCSystemdDisableInGenerator(const char* szUnit);
int MEROCSystemdDisableGroupInGenerator(const MLIBCSzList* pListUnits);
/** @} */

/** @{ */
/** Disables units and enables them anew, as their files say now. */
int MEROCSystemdReenable(const char* szUnit);
int MEROCSystemdReenableGroup(const MLIBCSzList* pListUnits);
/** @} */

/** @{ */
/** Keeps units from being started at all; takes that back. The RunTime forms last until the next boot. */
int MEROCSystemdMask(const char* szUnit);
int MEROCSystemdMaskGroup(const MLIBCSzList* pListUnits);
int MEROCSystemdMaskRunTime(const char* szUnit);
int MEROCSystemdUnmask(const char* szUnit);
int MEROCSystemdUnmaskGroup(const MLIBCSzList* pListUnits);
int MEROCSystemdUnmaskRunTime(const char* szUnit);
/** @} */

/** Has the manager read all unit files again. */
int MEROCSystemdDaemonReload(void);

/** @{ */
/** Stops units, disables and unmasks them, removes their unit files and drop-ins, their flags and their reasons, and
   clears their failed state. When they cannot be stopped, disabled or unmasked, nothing is removed. */
int MEROCSystemdUninstall(const char* szUnit);
int MEROCSystemdUninstallGroup(const MLIBCSzList* pListUnits);
/** @} */

/** @} */

/** @defgroup reasons Reasons

   A service is held while it has a reason: the name of a cause, chosen by the caller, which must not be empty, hold
   "/", or be "." or "..". Reasons are gone after a boot. Units that are no services fail (0x0D00). The group forms
   push the services that failed onto `*ppListFailed`, if there is such a list, and return 0 for a null item. As with
   unit actions it may be none of them, and one twice.
   @{ */

/**
   @{ */
/** Gives the services the reason, then stops them. The reason stays when the stop fails. In the current dialect, what
    systemd stops along with them is noted. */
int MEROCSystemdServiceStopByReason(const char* szReason, const char* szService);
int MEROCSystemdServiceStopGroupByReason(const char* szReason, const MLIBCSzList* pListServices,
                                         MLIBCSzList** ppListFailed);
/** @} */

/** @{ */
/** Takes the reason from the services and starts them, whatever other reasons they have. What stopped along with those
    that have none left starts too, unless something else that is held has stopped it as well. */
int MEROCSystemdServiceStartByReason(const char* szReason, const char* szService);
int MEROCSystemdServiceStartGroupByReason(const char* szReason, const MLIBCSzList* pListServices,
                                          MLIBCSzList** ppListFailed);
/** @} */

/** @{ */
/** Takes the reason from the services and starts neither them nor what stopped along with them. */
int MEROCSystemdServiceReasonRemove(const char* szReason, const char* szService);
int MEROCSystemdServiceReasonRemoveGroup(const char* szReason, const MLIBCSzList* pListServices,
                                         MLIBCSzList** ppListFailed);
/** @} */

/** Pushes the service's reasons onto the list, which must exist. 0 with error 0x0900 when they cannot be read. */
int MEROCSystemdServiceReasonList(const char* szService, MLIBCSzList** ppListReasons);

/** @} */

/** @defgroup questions Questions

   The names ending in System ask the system's manager although the caller is an ordinary user; those ending in
   InGenerator look at the unit files alone (as systemctl's `--root` does), for the time before a manager runs. States
   are answered by their numbers in merosystemd/status.h; -1 means that the unit could not be asked, that its state has
   no number (0x8000), or that the argument is invalid.
   @{ */

/** Gets a property of a unit. The texts are gone after the call. `szUnit` is spelt as its caller did; `szProperty` and
    `szValue` are NULL for a unit that systemd could not be asked for. */
typedef void (*MEROSystemdPropertyCallback)(const char* szUnit, const char* szProperty, const char* szValue,
                                            void* pData);

/** Several properties of several units, in one question: calls `callback` with `pData` for each property of each unit,
    in this thread, when all answers are there, in no order that can be relied on. Id and Names come along; a property
    that systemd does not know is left out. A unit that does not exist has the LoadState "not-found". Patterns,
    templates ("a@.service"), plain numbers (systemctl takes them for processes) and what is no unit's name are not
    asked for. When systemd refuses a name, the others are asked for again, in at most 16 further questions. Of a value
    with several lines the first counts; of several commands, as of ExecStartPre, each is a line. 0, with no call, when
    systemd does not answer, and for a list that is empty or holds NULL. @since 7.1.0 */
int MEROCSystemdShowProperties(const MLIBCSzList* pListUnits, const MLIBCSzList* pListProperties,
                               MEROSystemdPropertyCallback callback, void* pData);

/** A MERO_SYSTEMD_LOAD_STATUS or -1. A unit that does not exist is "not found", not -1. */
int MEROCSystemdLoadStatusGet(const char* szUnit);

/** @{ */
/** A MERO_SYSTEMD_ACTIVE_STATUS or -1. */
int MEROCSystemdActiveStatusGet(const char* szUnit);
int MEROCSystemdActiveStatusGetSystem(const char* szUnit);
/** @} */

/** @{ */
/** A MERO_SYSTEMD_ENABLE_STATUS or -1, which indirect, generated, transient and alias units have too. */
int MEROCSystemdEnableStatusGet(const char* szUnit);
int MEROCSystemdEnableStatusGetSystem(const char* szUnit);
int MEROCSystemdEnableStatusGetInGenerator(const char* szUnit);
/** @} */

/** Pushes the names of all installed services, without ".service", onto the list, which must exist. */
int MEROCSystemdServiceList(MLIBCSzList** ppListServices);

/** The target that the machine boots into. `cbDefaultTarget` counts bytes; a name that does not fit with its NUL gives
   0 and MLIBC_ERR_BUFFER_TOO_SMALL (0x0100). */
int MEROCSystemdDefaultTargetGet(char* szDefaultTarget, int cbDefaultTarget);

/** @{ */
/** Has the machine boot into a target. */
int MEROCSystemdDefaultTargetSet(const char* szDefaultTarget);
int MEROCSystemdDefaultTargetSetInGenerator(const char* szDefaultTarget);
/** @} */

/** Whether systemd has a job for the unit. 0 with error 0x8100, too, when it cannot be asked. */
int MEROCSystemdIsJobEnqueued(const char* szUnit);

/** @} */

/** @defgroup metadata Unit metadata

   These read one key of the section [X-Tarvix] of the unit's file, found in /usr/local/lib/systemd/system,
   /usr/lib/systemd/system, /etc/systemd/system or /run/systemd/system, in this order; an instance's key is read from
   its template. No program is run. They return 0 with MLIBC_ERR_NOT_FOUND (0x0700) when the unit has no file.
   @{ */

/** The display name, key "Name". 0 when there is none. `cbName` counts bytes; a name that does not fit with its NUL
   gives 0 and MLIBC_ERR_BUFFER_TOO_SMALL (0x0100). */
int MEROCSystemdNameGet(const char* szUnit, char* szName, int cbName);

/** The reference of the translated name, key "NameI18n": section:key or file:section:key. 0 for any other value, and
   for one that does not fit (0x0100). */
int MEROCSystemdNameI18nGet(const char* szUnit, char* szNameI18n, int cbNameI18n);

/** Whether this machine supports the unit: key "SupportKey" names a platform capability; without it, it does. */
int MEROCSystemdIsSupportGet(const char* szUnit, bool* pblSupport);

/** Answers from the key "DefaultEnable", as MEROCSystemdIsDefaultEnableGet(): its callers rely on that answer. */
int MEROCSystemdSupportOneClickEnableGet(const char* szUnit, bool* pblOneClickEnable);

/** Whether the unit is enabled by default: key "DefaultEnable" is "yes". */
int MEROCSystemdIsDefaultEnableGet(const char* szUnit, bool* pblDefaultEnable);

/** Whether the information centre shows the unit: key "InfoCenterDisplay" is "yes". The name is spelt as its callers
   know it. */
int MEROCSystemdInfoCenterDislayGet(const char* szUnit, bool* pblDisplay);

/** Whether the small-update screen shows the unit: key "NanoUpdateDisplay" is "yes". Spelt as its callers know it. */
int MEROCSystemdNanoUpdateDislayGet(const char* szUnit, bool* pblDisplay);

/** Pushes the unit's firewall sections, key "FirewallSections", onto the list, which must exist. */
int MEROCSystemdFirewallSectionsGet(const char* szUnit, MLIBCSzList** ppFirewallSections);

/** @} */

/** @defgroup isolation Isolation

   Isolating switches the machine to a target: systemd stops whatever the target does not want. One isolation goes on
   at a time, on the whole machine, and none while a volume is being unmounted. Isolating blocks for the whole isolation
   and then until the services that it stops have stopped, five minutes at most. Before, it waits up to two minutes for
   another operation on the whole machine (another isolation, a target action) and up to ten for volume unmounts; when
   that is not enough it fails (0x1100), and nothing has happened.
   @{ */

/** Isolates to "default.target". */
int MEROCSystemdIsolateToDefaultTarget(void);

/** Whether an isolation is going on, and where to (the first 63 bytes of the target's name). 0 when that cannot be
   told: its state cannot be read, or its process was killed and has left the state behind; `*pState` is untouched. It
   does not wait. NULL is answered with 0 and a line in the log, and leaves the register as it was. */
int MEROCSystemdIsolateStateGet(MERO_SYSTEMD_ISOLATE_STATE* pState);

/** Isolates to a target, calls `action` there with `data`, in this thread, and isolates to "default.target", whatever
   came of it, be it the end of the thread (pthread_cancel, pthread_exit). 1 when both isolations succeeded and the
   action returned true. The action is not called when the first isolation failed, and must start no other operation on
   the whole machine. */
int MEROCSystemdIsolateTargetAction(const char* szTarget, bool (*action)(void* data), void* data);

/** @} */

/** @defgroup volumes Volumes

   A volume is named by its mount path, which begins with "/" and does not end with it. Units and packages register the
   volumes that they use, in a file each that survives boots; a file is replaced whole, and is on the disk when the call
   succeeds. One process writes at a time, and none waits for another: failure then, at once, and MLIBC_ERR_LOCK_BUSY
   (0x1100). Names that are empty, hold "/", or are "." or "..", and what is no volume, are invalid arguments (0x0D00).
   @{ */

/** Registers a volume. One that is registered already is fine. */
int MEROCSystemdVolumeRegister(const char* szUnit, const char* szVolume);

/** @{ */
/** Takes a volume away. 0, too, when nothing was ever registered by a unit on this machine, or by this package. */
int MEROCSystemdVolumeUnregister(const char* szUnit, const char* szVolume);
int MEROCSystemdPackageVolumeUnregister(const char* szPackage, const char* szVolume);
/** @} */

/** Registers a volume of a package, which must be installed: `/var/packages/<package>`. */
int MEROCSystemdPackageVolumeRegister(const char* szPackage, const char* szVolume);

/** Which volumes a unit needs. 0 with error 0x0700 when it has no file; `*pDependency` is untouched then. */
int MEROCSystemdVolumeDependencyGet(const char* szUnit, MERO_SYSTEMD_VOLUME_DEPENDENCY* pDependency);

/** Pushes the services whose processes use files at or below the mount path onto the list, which must exist. An empty
   path is not refused: every service that has a file open is below it. */
int MEROCSystemdServiceListByMntPath(const char* szMntPath, MLIBCSzList** ppListServices);

/** @{ */
/** Stops the services that use the volumes, calls `action`, which unmounts them, with `data`, and starts the services
   again, whatever came of it, be it the end of the thread (pthread_cancel, pthread_exit). 1 when all of that succeeded
   and the action returned true. The services are those that run and by their key "VolumeDependency" need all volumes,
   or some of which one of these is registered (of pkgctl-PACKAGE.service the package's register counts, of other units
   their own), and those whose processes use files there. The action must call neither an isolation nor another unmount
   action, and is not called when the services cannot be found or stopped. The calls may wait for an hour for other
   unmount actions and for isolations. A null item in the list gives 0. */
int MEROCSystemdVolumeUnmountAction(const char* szVolume, bool (*action)(void* data), void* data);
int MEROCSystemdVolumeGroupUnmountAction(const MLIBCSzList* pListVolumes, bool (*action)(void* data), void* data);
/** @} */

/** @} */

/** @defgroup cgroups Cgroups

   Two hierarchies matter: systemd's (name=systemd, at /sys/fs/cgroup/systemd) and that of the resource monitor
   (name=meromonitor, at /sys/fs/cgroup/meromonitor). A slice's name ends with ".slice" and holds no "/" (0x0D00). What
   moves the calling process moves all its threads, whichever thread calls it; its children stay where they are. When it
   fails, some of the threads may have been moved.

   Where /sys/fs/cgroup is the hierarchy of cgroup version 2, and the dialect is the current one, that hierarchy is
   systemd's. No process can be written into its slices: systemd moves the calling process into a new transient scope of
   the slice (StartTransientUnit, called by /usr/bin/busctl; see org.freedesktop.systemd1(5)), which ends with its last
   process. The monitor's hierarchy may be mounted in it, at the same path. Where it is not, the slices of systemd are
   the ones that are accounted, and a move into the monitor's hierarchy fails.
   @{ */

/** The slice that the calling process is accounted to. `cbSlice` counts bytes; a name that does not fit with its NUL
   gives 0 and MLIBC_ERR_BUFFER_TOO_SMALL (0x0100). */
int MEROCSystemdCgroupMonitorSliceGet(char* szSlice, int cbSlice);

/** Moves the calling process into a slice of the resource monitor's hierarchy. */
int MEROCSystemdCgroupMonitorSliceMove(const char* szSlice);

/** Moves the calling process into a slice of systemd's hierarchy, and then of the monitor's, if that is mounted or
   cgroups are of version 1. */
int MEROCSystemdCgroupSystemdSliceMove(const char* szSlice);

/** Pushes the slices that the resource monitor tracks onto the list, which must exist. 0 when there are none. */
int MEROCSystemdSliceList(MLIBCSzList** ppListSlices);

/** Moves the calling process to the root of systemd's hierarchy, so that it outlives the unit that started it. On
   cgroup version 2 it moves into a scope of system.slice. The unit still ends its main process. */
int MEROCSystemdRunAsSystemProcess(void);

/** @} */

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif
