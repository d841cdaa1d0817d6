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

/// Prints that `what` failed and why: no systemctl or no systemd (kCannotRun), a lock (kTimedOut), or systemctl's
/// message (kFailed). Returns the exit code.
int ReportFailure(const std::string& what, int error = MLIBCErrGet(), const SystemctlWords& words = {});

/// The same for a failed query, as an error to throw.
CommandError FailureOf(const std::string& query, const SystemctlWords& words = {});

struct UnitResult {
    std::string unit; ///< as the caller spelt it
    ExitCode code = kDone;
    std::string fault{}; ///< a few words; empty if all is well
    std::vector<Cause> causes{};
    Texts log{};
};

struct FailedAction {
    std::string verb;
    Texts units;       ///< all units of the action
    Texts failed;      ///< the units that the library named as failed
    int error;         ///< the error register
    bool diagnoses;    ///< the units should run now: find out why they do not
    bool needsManager; ///< the action needs a running systemd
};

/// Explains why each unit failed. Throws a CommandError if the cause is the same for all: no systemctl, no systemd, a
/// lock.
std::vector<UnitResult> ExplainFailure(const FailedAction& action, const SystemctlWords& words);

bool AreDone(const std::vector<UnitResult>& results);

/// Prints the units that failed, and why, on standard error; or all units as JSON on standard output. Returns the worst
/// exit code.
int PrintResults(const std::vector<UnitResult>& results, bool json);

} // namespace MERO::Tool
