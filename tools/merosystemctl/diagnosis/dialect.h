#pragma once

#include <string>

namespace MERO::Tool {

/// Whether the library uses the current dialect for this machine's systemctl.
bool IsDialectCurrent();

/// The fault and its remedy if the library would use the wrong dialect for this machine's systemctl; otherwise empty.
/// With `asksSystemctl`, runs systemctl for its version; without, takes it from systemd's installed files.
std::string DialectFault(bool asksSystemctl);

/// Prints a line on standard error if the library would use the wrong dialect. Tables then seem empty: units have no
/// jobs, and volumes no services.
void WarnOfDialect();

} // namespace MERO::Tool
