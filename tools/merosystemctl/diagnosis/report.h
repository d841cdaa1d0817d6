#pragma once

#include "output/exit_code.h"
#include "output/output.h"

#include <merocore/error.h>

namespace MERO::Tool {

/// Whether a LoadState says that there is no such unit.
bool IsMissing(const std::string& load);

/// Says that `what` failed and where the reason stands. The exit code: kTimedOut when the error register tells of a
/// lock, kCannotRun when there is no systemctl, kFailed otherwise.
int ReportFailure(const std::string& what, int error = MLIBCErrGet());

/// The exit code of an operation on units: when it failed, names the units that did on standard error.
int ReportUnits(bool done, const std::string& verb, Texts failed, int error = MLIBCErrGet());

/// The same of an operation that should have left the units running: tells of each why it does not.
int ReportStart(bool done, const std::string& verb, Texts failed, int error = MLIBCErrGet());

} // namespace MERO::Tool
