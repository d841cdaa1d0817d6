#pragma once

#include <string>

namespace MERO::Tool {

/// Whether the library reads this machine's systemctl in the dialect of today.
bool IsDialectOfToday();

/// What is wrong when the library would read this machine's systemctl in the wrong dialect, and what to do; empty when
/// nothing is. The version of systemd is that of systemctl, which is run for it, or of systemd's private library.
std::string DialectFault(bool asksSystemctl);

/// Prints one line on standard error when the library would read this machine's systemctl in the wrong dialect. Then
/// tables seem empty: units have no jobs, and volumes no services.
void WarnOfDialect();

} // namespace MERO::Tool
