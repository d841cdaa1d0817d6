#pragma once

#include "diagnosis/diagnosis.h"
#include "diagnosis/systemctl_words.h"
#include "output/command_error.h"
#include "output/exit_code.h"
#include "output/output.h"
#include "output/words.h"

#include <merocore/error.h>

#include <vector>

namespace MERO::Tool {

/// Says that `what` failed, and why: no systemctl or no systemd (kCannotRun), a lock (kTimedOut), or what systemctl
/// said (kFailed). The exit code.
int ReportFailure(const std::string& what, int error = MLIBCErrGet(), const SystemctlWords& words = {});

/// The same as an error, to be thrown, of a question to systemd.
CommandError FailureOf(const std::string& question, const SystemctlWords& words = {});

/// What came of an action for one unit.
struct UnitResult {
    std::string unit; ///< as the caller spelt it
    ExitCode code = kDone;
    std::string fault{}; ///< what is wrong, in a few words
    std::vector<Cause> causes{};
    Texts log{};
};

struct FailedAction {
    std::string verb;
    Texts units;       ///< all of the action
    Texts failed;      ///< those that the library named
    int error;         ///< the error register
    bool diagnoses;    ///< the units should run now: asks why they do not
    bool needsManager; ///< cannot be done without systemd
};

/// Why each unit failed. Throws a CommandError when it was the same for all: no systemctl, no systemd, a lock.
std::vector<UnitResult> ExplainFailure(const FailedAction& action, const SystemctlWords& words);

bool AreDone(const std::vector<UnitResult>& results);

/// Prints, on standard error, the units that have a fault, and why; or all units as JSON on standard output. The exit
/// code: the worst of theirs.
int PrintResults(const std::vector<UnitResult>& results, bool json);

} // namespace MERO::Tool
