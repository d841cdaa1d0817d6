#pragma once

namespace MERO::Tool {

/// Whether the library reads this machine's systemctl in the dialect of today.
bool IsDialectOfToday();

/// Prints one line on standard error when the library would read this machine's systemctl in the wrong dialect. Then
/// tables seem empty: units have no jobs, and volumes no services.
void WarnOfDialect();

} // namespace MERO::Tool
