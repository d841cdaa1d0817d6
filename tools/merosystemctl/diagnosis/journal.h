#pragma once

#include "output/output.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace MERO::Tool {

struct JournalEntry {
    long long time = 0; ///< microseconds since 1970
    std::string unit;   ///< the unit that wrote it, or that it is about
    std::string writer; ///< in journalctl's form: "systemd[1]"
    std::string message;
    std::string messageId;
    bool isOwn = false; ///< written by the unit, not by systemd about it

    // Only in systemd's messages:
    std::string invocation; ///< the run of the unit that it is about
    std::string jobResult;
};

/// journalctl's option for a unit of the manager that this program queries.
std::string JournalOption(const std::string& unit);

/// Reads the last messages of units in this boot from the journal. It starts at once and runs beside the caller until
/// Take(). 100 messages for a unit include what it wrote before its last few restarts.
class JournalReading {
public:
    explicit JournalReading(const Texts& units, std::size_t linesOfUnit = 100);

    /// Oldest first. Empty if the journal cannot be read.
    std::vector<JournalEntry> Take();

private:
    std::unique_ptr<FILE, int (*)(FILE*)> output_;
};

/// systemd's last message about a unit's life: it was started, stopped, skipped for a condition, or failed.
struct UnitEvent {
    std::string message;    ///< systemd's text
    bool isSkipped = false; ///< a condition or an assertion was not met
    bool isCommand = false; ///< the condition was an ExecCondition=; the message does not name it
};

/// Nothing if there is no such message about `unit`.
std::optional<UnitEvent> LastEvent(const std::vector<JournalEntry>& entries, const std::string& unit);
std::optional<UnitEvent> LastEvent(const std::string& unit);

/// Whether each unit's last event was a stop, and the two came at about the same time.
bool StoppedTogether(const std::vector<JournalEntry>& entries, const std::string& one, const std::string& other);

/// Whether systemd refused to start the unit because it was started too often.
bool HitStartLimit(const std::vector<JournalEntry>& entries, const std::string& unit);

/// The unit's last `own` lines and systemd's last `others` lines about it, in journalctl's form. With one common limit,
/// systemd's lines about restarts would displace the unit's own.
Texts LastLines(const std::vector<JournalEntry>& entries, const std::string& unit, std::size_t own, std::size_t others);

} // namespace MERO::Tool
