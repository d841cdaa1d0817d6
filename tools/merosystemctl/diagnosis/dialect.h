#pragma once

#include <string>

namespace MERO::Tool {

/// Whether the library reads this machine's systemctl in the dialect of today.
bool IsDialectOfToday();

/// What is wrong, and what to do, when the library would read this machine's systemctl in the wrong dialect; otherwise
/// empty. `asksSystemctl`: runs systemctl for its version; the name of systemd's private library has it as well.
std::string DialectFault(bool asksSystemctl);

/// Prints one line on standard error when the library would read this machine's systemctl in the wrong dialect. Then
/// tables seem empty: units have no jobs, and volumes no services.
void WarnOfDialect();

} // namespace MERO::Tool
