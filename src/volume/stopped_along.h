#pragma once

#include "core/log.h"

#include <string>
#include <vector>

/// What systemd has stopped along with services that reasons hold: /run/merosystemd/stopped-along/<service>/<unit>, an
/// empty file each. There is no lock: whoever holds a service gives it the reason before it looks what runs and what is
/// noted, and whoever releases one looks for reasons after it has dropped the note.
namespace MERO::Systemd {

/// Notes what will stop along with services, which have got their reason already. Units that have been stopped along
/// with others, and would be with these, are noted too: they wait for both. What cannot be noted is logged.
void RecordStoppedAlong(SourceLine where, const std::vector<std::string>& services);

/// Whether something is noted for one of the services.
bool IsStoppedAlongRecorded(const std::vector<std::string>& services);

/// Starts what is noted for those of the services that no reason holds any more, but what a reason holds, or another
/// service that is held has stopped too. The notes are dropped, but of units that did not start, which is logged.
void StartStoppedAlong(SourceLine where, const std::vector<std::string>& services);

/// Drops the notes of those of the services that no reason holds any more.
void ForgetStoppedAlong(const std::vector<std::string>& services);

} // namespace MERO::Systemd
