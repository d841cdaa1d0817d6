#pragma once

#include "core/errors.h"
#include "core/event_log.h"

#include <merocore/list.h>
#include <merosystemd/systemd.hpp>

#include <functional>
#include <string>
#include <vector>

/// What the operations on units have in common: the run of systemctl, and the forms in which each is offered.
/// `where` is the place that log lines name. A failed list may be one of the other lists. An observer may be empty.
namespace MERO::Systemd {

/// Has systemctl work on the unit files below the root directory, without the manager. ("/" alone would be no root.)
inline constexpr const char* kOfflineOption = "--root=/.";

/// In what the operations differ: systemctl's verb, and the words of the log lines "[units] <words>".
struct ActionWords {
    const char* verb;
    const char* doing;
    const char* done;
    const char* failed;
    const char* notRun = nullptr; ///< as `failed`, when systemctl was not run; nullptr: the same words
    int event = 0;                ///< an ActionEvent, logged whatever came of the action; 0: none
    bool changesFiles = false;    ///< enablement: see RunUnitAction
};

/// Runs systemctl once for all of `vecUnits`, and appends to `failed` those that it named as failed, or all when it was
/// not run. An empty list is an invalid argument.
///
/// What changes unit files takes paths of them too, measures its run, and sets the flag of each unit, although the
/// change may have failed; then all of them have failed: systemctl does not say which did.
///
/// A systemctl that a signal ended counts as one that succeeded. `wasKilled`, if it is given, says so.
bool RunUnitAction(SourceLine where, const ActionWords& words, const std::vector<std::string>& options,
                   const std::vector<std::string>& vecUnits, std::vector<std::string>& failed,
                   const SystemctlObserver& observer, bool* wasKilled = nullptr);

/// MEROSystemdStartIrreversibly that knows whether a signal ended systemctl.
bool StartIrreversibly(const std::string& unit, bool& wasKilled);

/// Runs mask or unmask once for each of `vecUnits`, and appends those that failed to `failed`.
bool RunMasking(SourceLine where, const ActionWords& words, const std::vector<std::string>& options,
                const std::vector<std::string>& vecUnits, std::vector<std::string>& failed,
                const SystemctlObserver& observer);

using ListForm = bool(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
using SingleForm = bool(const std::string& strUnit);

/// Shows a run to the caller's observer, when all that follows from the run is done.
void ShowRun(const SystemctlObserver& observer, int exitCode, const std::vector<std::string>& lines);

/// One unit, its failed list thrown away. An empty name is an invalid argument.
bool RunSingleForm(SourceLine where, ListForm* operation, const std::string& strUnit);

/// One unit from C. NULL is an invalid argument.
int RunCForm(SourceLine where, SingleForm* operation, const char* szUnit);

/// A list from C; a null item throws std::logic_error. On failure pushes the failed units onto the output list, if
/// there is one. A null input list is an invalid argument.
int RunCGroupForm(SourceLine where, ListForm* operation, const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);

/// The same without an output list, for operations that let no exception out: a null item is a failure.
int RunGuardedCGroupForm(SourceLine where, ListForm* operation, const MLIBCSzList* pListUnits);

/// What the forms of lists from C have in common.
int RunOnCList(SourceLine where, const Boundary& boundary, const std::function<ListForm>& operation,
               const MLIBCSzList* list, MLIBCSzList** ppListFailed);

} // namespace MERO::Systemd
