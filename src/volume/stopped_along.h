#pragma once

#include "core/log.h"

#include <string>
#include <vector>

/// Records of what systemd has stopped along with held services. Each unit is an empty file,
/// /run/merosystemd/stopped-along/<service>/<unit>. No lock is needed: a stop adds the reason before it looks at
/// running units and records, and a release looks for reasons again after it has dropped a record.
namespace MERO::Systemd {

/// Records what will stop along with services, which must already have their reason. Also records units that have
/// stopped along with other services and would stop with these: they wait for both. Logs a failure.
void RecordStoppedAlong(SourceLine where, const std::vector<std::string>& services);

/// Whether one of the services has a record.
bool IsStoppedAlongRecorded(const std::vector<std::string>& services);

/// Starts the recorded units of those services that are no longer held, except units that are held themselves or also
/// recorded for another held service. Drops the records, except of units that did not start, which are logged.
void StartStoppedAlong(SourceLine where, const std::vector<std::string>& services);

/// Drops the records of those services that are no longer held.
void ForgetStoppedAlong(const std::vector<std::string>& services);

} // namespace MERO::Systemd
