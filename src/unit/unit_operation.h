#pragma once

#include "core/errors.h"
#include "core/event_log.h"

#include <merocore/list.h>
#include <merosystemd/systemd.hpp>

#include <functional>
#include <string>
#include <vector>

/// Shared by the actions on units: the systemctl run, and the forms in which each action is offered. `where` is the
/// source line that log lines show. A failed list may be the same object as another list. An observer may be empty.
namespace MERO::Systemd {

/// Makes systemctl work on the unit files below the root directory, without the manager. (It ignores a plain "/".)
inline constexpr const char* kOfflineOption = "--root=/.";

/// The words that differ between unit actions: systemctl's verb, and the log lines "[units] <words>".
struct ActionWords {
    const char* verb;
    const char* doing;
    const char* done;
    const char* failed;
    const char* notRun = nullptr; ///< like `failed`, if systemctl was not run; nullptr: the same words
    int event = 0;                ///< an ActionEvent, logged whether the action succeeds or fails; 0: none
    bool changesFiles = false;    ///< enable, disable, reenable: see RunUnitAction
};

/// Runs systemctl once for all of `vecUnits`. Appends to `failed` the units that it reports as failed, or all of them
/// if it was not run. An empty list is an invalid argument.
///
/// An action that changes unit files also accepts their paths, logs its run time, and sets each unit's flag even if the
/// change fails. On failure all units count as failed: systemctl does not say which did.
///
/// A systemctl that was ended by a signal counts as successful; `wasKilled`, if given, says whether that happened.
bool RunUnitAction(SourceLine where, const ActionWords& words, const std::vector<std::string>& options,
                   const std::vector<std::string>& vecUnits, std::vector<std::string>& failed,
                   const SystemctlObserver& observer, bool* wasKilled = nullptr);

/// Like MEROSystemdStartIrreversibly, but also says whether a signal ended systemctl.
bool StartIrreversibly(const std::string& unit, bool& wasKilled);

/// Runs mask or unmask once for each of `vecUnits`, and appends the units that failed to `failed`.
bool RunMasking(SourceLine where, const ActionWords& words, const std::vector<std::string>& options,
                const std::vector<std::string>& vecUnits, std::vector<std::string>& failed,
                const SystemctlObserver& observer);

using ListForm = bool(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
using SingleForm = bool(const std::string& strUnit);

/// Calls the observer after all consequences of the run have been handled.
void ShowRun(const SystemctlObserver& observer, int exitCode, const std::vector<std::string>& lines);

/// The form for one unit: discards the failed list. An empty name is an invalid argument.
bool RunSingleForm(SourceLine where, ListForm* operation, const std::string& strUnit);

/// The C form for one unit. NULL is an invalid argument.
int RunCForm(SourceLine where, SingleForm* operation, const char* szUnit);

/// The C form for a list; a null item throws std::logic_error. On failure pushes the failed units onto the output list,
/// if there is one. A null input list is an invalid argument.
int RunCGroupForm(SourceLine where, ListForm* operation, const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);

/// The same without an output list, for actions that let no exception out: a null item is a failure.
int RunGuardedCGroupForm(SourceLine where, ListForm* operation, const MLIBCSzList* pListUnits);

/// Shared by the C forms for lists.
int RunOnCList(SourceLine where, const Boundary& boundary, const std::function<ListForm>& operation,
               const MLIBCSzList* list, MLIBCSzList** ppListFailed);

} // namespace MERO::Systemd
