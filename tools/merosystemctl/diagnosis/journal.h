#pragma once

#include "output/output.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace MERO::Tool {

/// One message of the journal.
struct JournalEntry {
    long long time = 0; ///< microseconds since 1970
    std::string unit;   ///< that wrote it, or that it is about
    std::string writer; ///< as journalctl prints it: "systemd[1]"
    std::string message;
    std::string messageId;
    bool isOwn = false; ///< written by the unit, not by systemd about it

    // Of systemd's own messages:
    std::string invocation; ///< which run of the unit it is about
    std::string jobResult;
};

/// The option by which journalctl shows what a unit of the manager that is asked wrote.
std::string JournalOption(const std::string& unit);

/// Reads the last messages of units from the journal, of this boot. The reading begins at once, and goes on beside what
/// the caller does until it takes the messages. 100 of a unit are enough to have what it wrote before it was restarted
/// some times.
class JournalReading {
public:
    explicit JournalReading(const Texts& units, std::size_t linesOfUnit = 100);

    /// Oldest first. None when the journal cannot be read.
    std::vector<JournalEntry> Take();

private:
    std::unique_ptr<FILE, int (*)(FILE*)> output_;
};

/// What systemd said last of a unit's life: that it was started, stopped, skipped for a condition, or failed.
struct UnitEvent {
    std::string message;    ///< in systemd's words
    bool isSkipped = false; ///< a condition or an assertion was not met
    bool isCommand = false; ///< the condition was an ExecCondition=; the message does not name it
};

/// Nothing when the messages have none of `unit`.
std::optional<UnitEvent> LastEvent(const std::vector<JournalEntry>& entries, const std::string& unit);
std::optional<UnitEvent> LastEvent(const std::string& unit);

/// Whether both units were stopped last, at the same time or one right after the other.
bool StoppedTogether(const std::vector<JournalEntry>& entries, const std::string& one, const std::string& other);

/// Whether systemd refused to start the unit once more, since it was started too often.
bool HitStartLimit(const std::vector<JournalEntry>& entries, const std::string& unit);

/// The last lines of the unit itself, and the last ones of systemd about it, so many of each, as journalctl prints
/// them. A unit that is restarted again and again would lose its own to systemd's.
Texts LastLines(const std::vector<JournalEntry>& entries, const std::string& unit, std::size_t own, std::size_t others);

} // namespace MERO::Tool
