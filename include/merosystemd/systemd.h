/* libmerosystemd: managing systemd's units from the programs of this operating system. The C interface.

   Every operation that changes or asks units runs /usr/bin/systemctl and waits for it; the operations whose names end
   in NoBlock queue the job and do not wait until it is done. try-restart and reload first ask systemctl for each unit's
   job, and during the early boot start, stop and restart do. When the caller is not root, the user's own
   service manager is meant, and the environment of the user's session is loaded into the process through PAM first.

   Operations return 1 when they succeeded and 0 when they failed. Why is written to syslog ("<file>:<line>
   merosystemd: ..."); the error register of <merocore/error.h> holds the code where one is named below. A null or
   empty argument is answered with 0 and MLIBC_ERR_INVALID_ARGUMENT (0x0D00), and nothing is run. Where memory is out
   they fail (MLIBC_ERR_NO_MEMORY, 0x0200, when that ended the operation itself).

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

/* ---- Unit actions --------------------------------------------------------------------------------------------

   Starts and stops are written to the event log, for the units that have a display name. During the early steps of
   the boot the service control policy holds: a start of a unit that is about to start, a stop of one that is about
   to stop, and a restart of one with any job are not carried out and fail.

   The group forms take a list of units, which must hold no null item (std::logic_error is thrown for one), and run
   one systemctl for all of them. When they fail, the names of the units that failed are pushed onto *ppListFailed,
   as the caller spelt them; ppListFailed and *ppListFailed may be NULL. */

int MEROCSystemdStart(const char* szUnit);
int MEROCSystemdStartNoBlock(const char* szUnit);
int MEROCSystemdStartGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdStartGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);

/* Starts with a job that no later job can replace (--job-mode=replace-irreversibly): only cancelling ends it. */
int MEROCSystemdStartIrreversibly(const char* szUnit);

int MEROCSystemdStop(const char* szUnit);
int MEROCSystemdStopNoBlock(const char* szUnit);
int MEROCSystemdStopGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdStopGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);

int MEROCSystemdRestart(const char* szUnit);
int MEROCSystemdRestartNoBlock(const char* szUnit);
int MEROCSystemdRestartGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdRestartGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);

/* Restarts the units that run. Units that are about to stop are left out; when none is left, that is success. */
int MEROCSystemdTryRestart(const char* szUnit);
int MEROCSystemdTryRestartNoBlock(const char* szUnit);
int MEROCSystemdTryRestartGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdTryRestartGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);

/* Reloads the units' configuration. Every form returns without waiting for the reload to end. Units that are about
   to stop are left out; when none is left, that is success. */
int MEROCSystemdReload(const char* szUnit);
int MEROCSystemdReloadNoBlock(const char* szUnit);
int MEROCSystemdReloadGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdReloadGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);

/* Reloads the units that can be reloaded, and restarts or starts the others. */
int MEROCSystemdReloadOrRestart(const char* szUnit);
int MEROCSystemdReloadOrRestartNoBlock(const char* szUnit);
int MEROCSystemdReloadOrRestartGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);
int MEROCSystemdReloadOrRestartGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);

/* ---- Enablement ----------------------------------------------------------------------------------------------

   Whether units start at boot. Enable, disable and reenable leave a flag for each unit, whatever comes of it; the
   InGenerator forms work on the unit files alone, for the time before a manager runs. Enable, disable, reenable and
   uninstall refuse names that hold "/", and "." and "..": they become names of files (0x0D00). The group forms run
   one systemctl for all units, but mask and unmask one for each. They return 0 for a null item. */

int MEROCSystemdEnable(const char* szUnit);
int MEROCSystemdEnableGroup(const MLIBCSzList* pListUnits);
int MEROCSystemdEnableInGenerator(const char* szUnit);
int MEROCSystemdEnableGroupInGenerator(const MLIBCSzList* pListUnits);

int MEROCSystemdDisable(const char* szUnit);
int MEROCSystemdDisableGroup(const MLIBCSzList* pListUnits);
int MEROCSystemdDisableInGenerator(const char* szUnit);
int MEROCSystemdDisableGroupInGenerator(const MLIBCSzList* pListUnits);

int MEROCSystemdReenable(const char* szUnit);
int MEROCSystemdReenableGroup(const MLIBCSzList* pListUnits);

/* The RunTime forms last until the next boot. */
int MEROCSystemdMask(const char* szUnit);
int MEROCSystemdMaskGroup(const MLIBCSzList* pListUnits);
int MEROCSystemdMaskRunTime(const char* szUnit);
int MEROCSystemdUnmask(const char* szUnit);
int MEROCSystemdUnmaskGroup(const MLIBCSzList* pListUnits);
int MEROCSystemdUnmaskRunTime(const char* szUnit);

/* Has the manager read all unit files again. */
int MEROCSystemdDaemonReload(void);

/* Stops units, disables and unmasks them, removes their unit files and drop-ins, their flags and their reasons, and
   clears their failed state. When they cannot be stopped, disabled or unmasked, nothing is removed. */
int MEROCSystemdUninstall(const char* szUnit);
int MEROCSystemdUninstallGroup(const MLIBCSzList* pListUnits);

/* ---- Reasons -------------------------------------------------------------------------------------------------

   A service is held while it has a reason: the name of a cause, chosen by the caller, which must not be empty, hold
   "/", or be "." or "..". Reasons are gone after a boot. Units that are no services fail (0x0D00). The group forms
   push the services that failed onto *ppListFailed, if there is such a list, and return 0 for a null item. */

/* Gives the services the reason, then stops them. The reason stays when the stop fails. */
int MEROCSystemdServiceStopByReason(const char* szReason, const char* szService);
int MEROCSystemdServiceStopGroupByReason(const char* szReason, const MLIBCSzList* pListServices,
                                         MLIBCSzList** ppListFailed);

/* Takes the reason from the services and starts them, whatever other reasons they have. */
int MEROCSystemdServiceStartByReason(const char* szReason, const char* szService);
int MEROCSystemdServiceStartGroupByReason(const char* szReason, const MLIBCSzList* pListServices,
                                          MLIBCSzList** ppListFailed);

/* Takes the reason from the services and does not start them. */
int MEROCSystemdServiceReasonRemove(const char* szReason, const char* szService);
int MEROCSystemdServiceReasonRemoveGroup(const char* szReason, const MLIBCSzList* pListServices,
                                         MLIBCSzList** ppListFailed);

/* Pushes the service's reasons onto the list, which must exist. 0 with error 0x0900 when they cannot be read. */
int MEROCSystemdServiceReasonList(const char* szService, MLIBCSzList** ppListReasons);

/* ---- Questions -----------------------------------------------------------------------------------------------

   The names ending in System ask the system's manager although the caller is an ordinary user; those ending in
   InGenerator look at the unit files alone, for the time before a manager runs. States are answered by their numbers
   in <merosystemd/status.h>; -1 means that the unit could not be asked, that its state has no number (0x8000), or that
   the argument is invalid. */

int MEROCSystemdLoadStatusGet(const char* szUnit);
int MEROCSystemdActiveStatusGet(const char* szUnit);
int MEROCSystemdActiveStatusGetSystem(const char* szUnit);
int MEROCSystemdEnableStatusGet(const char* szUnit);
int MEROCSystemdEnableStatusGetSystem(const char* szUnit);
int MEROCSystemdEnableStatusGetInGenerator(const char* szUnit);

/* Pushes the names of all installed services, without ".service", onto the list, which must exist. */
int MEROCSystemdServiceList(MLIBCSzList** ppListServices);

/* The target that the machine boots into. `cbDefaultTarget` counts bytes; a name that does not fit with its NUL gives
   0 and MLIBC_ERR_BUFFER_TOO_SMALL (0x0100). */
int MEROCSystemdDefaultTargetGet(char* szDefaultTarget, int cbDefaultTarget);
int MEROCSystemdDefaultTargetSet(const char* szDefaultTarget);
int MEROCSystemdDefaultTargetSetInGenerator(const char* szDefaultTarget);

/* Whether systemd has a job for the unit. 0 with error 0x8100, too, when it cannot be asked. */
int MEROCSystemdIsJobEnqueued(const char* szUnit);

/* ---- Unit metadata -------------------------------------------------------------------------------------------

   These read one key of the section [X-Tarvix] of the unit's file, found in /usr/local/lib/systemd/system,
   /usr/lib/systemd/system, /etc/systemd/system or /run/systemd/system, in this order; an instance's key is read from
   its template. No program is run. They return 0 with MLIBC_ERR_NOT_FOUND (0x0700) when the unit has no file. */

/* The display name, key "Name". 0 when there is none. `cbName` counts bytes; a name that does not fit with its NUL
   gives 0 and MLIBC_ERR_BUFFER_TOO_SMALL (0x0100). */
int MEROCSystemdNameGet(const char* szUnit, char* szName, int cbName);

/* The reference of the translated name, key "NameI18n": section:key or file:section:key. 0 for any other value, and
   for one that does not fit (0x0100). */
int MEROCSystemdNameI18nGet(const char* szUnit, char* szNameI18n, int cbNameI18n);

/* Whether this machine supports the unit: key "SupportKey" names a platform capability; without it, it does. */
int MEROCSystemdIsSupportGet(const char* szUnit, bool* pblSupport);

/* Answers from the key "DefaultEnable", as MEROCSystemdIsDefaultEnableGet: its callers rely on that answer. */
int MEROCSystemdSupportOneClickEnableGet(const char* szUnit, bool* pblOneClickEnable);

/* Whether the unit is enabled by default: key "DefaultEnable" is "yes". */
int MEROCSystemdIsDefaultEnableGet(const char* szUnit, bool* pblDefaultEnable);

/* Whether the information centre shows the unit: key "InfoCenterDisplay" is "yes". The name is spelt as its callers
   know it. */
int MEROCSystemdInfoCenterDislayGet(const char* szUnit, bool* pblDisplay);

/* Whether the small-update screen shows the unit: key "NanoUpdateDisplay" is "yes". Spelt as its callers know it. */
int MEROCSystemdNanoUpdateDislayGet(const char* szUnit, bool* pblDisplay);

/* Pushes the unit's firewall sections, key "FirewallSections", onto the list, which must exist. */
int MEROCSystemdFirewallSectionsGet(const char* szUnit, MLIBCSzList** ppFirewallSections);

/* ---- Isolation -----------------------------------------------------------------------------------------------

   Isolating switches the machine to a target: systemd stops whatever the target does not want. <merosystemd/
   systemd.hpp> tells how long the calls block, and for whom they wait. */

/* Isolates to "default.target". */
int MEROCSystemdIsolateToDefaultTarget(void);

/* Whether an isolation is going on, and where to (the first 63 bytes of the target's name). 0 when that cannot be
   told: its state cannot be read, or its process was killed and has left the state behind; *pState is untouched. */
int MEROCSystemdIsolateStateGet(MERO_SYSTEMD_ISOLATE_STATE* pState);

/* Isolates to a target, calls `action` there with `data`, in this thread, and isolates to "default.target", whatever
   came of it. 1 when both isolations succeeded and the action returned true. The action is not called when the first
   isolation failed, and must start no other operation on the whole machine. */
int MEROCSystemdIsolateTargetAction(const char* szTarget, bool (*action)(void* data), void* data);

/* ---- Volumes -------------------------------------------------------------------------------------------------

   A volume is named by its mount path, which begins with "/" and does not end with it. Units and packages register the
   volumes that they use. One process writes at a time, and none waits for another: 0 and MLIBC_ERR_LOCK_BUSY then.
   Names that hold "/", and what is no volume, are invalid arguments (0x0D00). */

int MEROCSystemdVolumeRegister(const char* szUnit, const char* szVolume);
int MEROCSystemdVolumeUnregister(const char* szUnit, const char* szVolume);
int MEROCSystemdPackageVolumeRegister(const char* szPackage, const char* szVolume);
int MEROCSystemdPackageVolumeUnregister(const char* szPackage, const char* szVolume);

/* Which volumes a unit needs. 0 with error 0x0700 when it has no file; *pDependency is untouched then. */
int MEROCSystemdVolumeDependencyGet(const char* szUnit, MERO_SYSTEMD_VOLUME_DEPENDENCY* pDependency);

/* Pushes the services whose processes use files at or below the mount path onto the list, which must exist. */
int MEROCSystemdServiceListByMntPath(const char* szMntPath, MLIBCSzList** ppListServices);

/* Stops the services that use the volumes, calls `action`, which unmounts them, with `data`, and starts the services
   again, whatever came of it. 1 when all of that succeeded and the action returned true. The action must call neither
   an isolation nor another unmount action, and is not called when the services cannot be found or stopped. The calls
   may wait for an hour for other unmount actions and for isolations. A null item in the list gives 0. */
int MEROCSystemdVolumeUnmountAction(const char* szVolume, bool (*action)(void* data), void* data);
int MEROCSystemdVolumeGroupUnmountAction(const MLIBCSzList* pListVolumes, bool (*action)(void* data), void* data);

/* ---- Cgroups -------------------------------------------------------------------------------------------------

   Of the calling process, but for the list. A slice's name ends with ".slice" and holds no "/" (0x0D00). */

/* The slice that it is accounted to. `cbSlice` counts bytes; a name that does not fit with its NUL gives 0 and
   MLIBC_ERR_BUFFER_TOO_SMALL (0x0100). */
int MEROCSystemdCgroupMonitorSliceGet(char* szSlice, int cbSlice);

/* Move it into a slice of the resource monitor's hierarchy; of systemd's hierarchy, and then of the monitor's. */
int MEROCSystemdCgroupMonitorSliceMove(const char* szSlice);
int MEROCSystemdCgroupSystemdSliceMove(const char* szSlice);

/* Pushes the slices that the resource monitor tracks onto the list, which must exist. 0 when there are none. */
int MEROCSystemdSliceList(MLIBCSzList** ppListSlices);

/* Moves it to the root of systemd's hierarchy, so that it outlives the unit that started it. */
int MEROCSystemdRunAsSystemProcess(void);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif
