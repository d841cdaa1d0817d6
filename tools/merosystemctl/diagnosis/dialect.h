#pragma once

namespace MERO::Tool {

/// Prints one line on standard error when the library would read this machine's systemctl in the wrong dialect. Then
/// tables seem empty: units have no jobs, and volumes no services.
void WarnOfDialect();

} // namespace MERO::Tool
