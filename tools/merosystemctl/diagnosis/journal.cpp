#include "diagnosis/journal.h"

#include "diagnosis/dialect.h"
#include "running/general_options.h"

#include <merocore/process.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <ctime>
#include <sstream>
#include <string_view>
#include <utility>

namespace MERO::Tool {
namespace {

constexpr std::size_t kMostLines = 2000;

// From systemd's sd-messages.h.
constexpr std::string_view kStarted = "39f53479d3a045ac8e11786248231fbf"; // sent for a skipped unit too
constexpr std::string_view kSkipped = "0e4284a0caca4bfc81c0bb6786972673"; // because of ExecCondition=
constexpr std::string_view kStopping = "de5b426a63be47a7b6ac3eaac82e2f6f";
constexpr std::string_view kStopped = "9d1aaa27d60140bd96365438aad20286";
constexpr std::array<std::string_view, 6> kEvents = {
    kStarted,                           // SD_MESSAGE_UNIT_STARTED
    "be02cf6855d2428ba40df7e9d022f03d", // SD_MESSAGE_UNIT_FAILED: its job failed
    kStopped,                           // SD_MESSAGE_UNIT_STOPPED
    "7ad2d189f7e94e70a38c781354912448", // SD_MESSAGE_UNIT_SUCCESS
    "d9b373ed55a64feb8242e02dbe79a49c", // SD_MESSAGE_UNIT_FAILURE_RESULT
    kSkipped,                           // SD_MESSAGE_UNIT_SKIPPED
};

/// Removes the user's settings for journalctl on a terminal: they would change the output.
std::vector<char*> JournalEnvironment()
{
    std::vector<char*> environment;
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        if (const std::string_view text = *variable; !text.starts_with("SYSTEMD_") && !text.starts_with("COLUMNS=")) {
            environment.push_back(*variable);
        }
    }
    environment.push_back(nullptr);
    return environment;
}

FILE* RunJournalctl(const Texts& units, std::size_t linesOfUnit)
{
    Texts words{"/usr/bin/journalctl",
                "--no-pager",
                "--quiet",
                "--boot",
                "--output=json",
                "--lines=" + std::to_string(std::min(linesOfUnit * units.size(), kMostLines))};
    for (const std::string& unit : units) {
        words.push_back(JournalOption(unit));
    }
    if (IsDialectCurrent()) { // an older journalctl may not know it
        words.emplace_back("--output-fields=MESSAGE,MESSAGE_ID,SYSLOG_IDENTIFIER,_COMM,_PID,UNIT,USER_UNIT,"
                           "COREDUMP_UNIT,_SYSTEMD_UNIT,_SYSTEMD_USER_UNIT,_SYSTEMD_SLICE,INVOCATION_ID,"
                           "USER_INVOCATION_ID,JOB_RESULT");
    }
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    // Its error messages are read too, and skipped because they are not JSON; on the terminal they would mix with our
    // lines.
    return MLIBCPopenvce(argv[0], "rB", argv.data(), JournalEnvironment().data());
}

/// The first of the fields that the entry has. journalctl prints a field with unprintable characters as an array of
/// bytes.
std::string Field(const Json::Value& entry, std::initializer_list<const char*> names)
{
    for (const char* name : names) {
        const Json::Value& value = entry[name];
        std::string text = value.isString() ? value.asString() : "";
        for (const Json::Value& byte : value.isArray() ? value : Json::Value(Json::arrayValue)) {
            const int character = byte.isInt() ? byte.asInt() : 0;
            text += character == '\n' || (character > 127 && character < 256) || std::isprint(character) != 0
                        ? static_cast<char>(character)
                        : '?';
        }
        if (!text.empty()) {
            return text;
        }
    }
    return {};
}

/// Nothing if the line is not a message.
std::optional<JournalEntry> EntryOf(const std::string& line)
{
    static const Json::CharReaderBuilder builder;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value json;
    if (!reader->parse(line.data(), line.data() + line.size(), &json, nullptr) || !json.isObject() ||
        !json["__REALTIME_TIMESTAMP"].isString()) {
        return std::nullopt;
    }
    const std::string about = Field(json, {"UNIT", "USER_UNIT", "COREDUMP_UNIT"});
    const std::string pid = Field(json, {"_PID"});
    return JournalEntry{
        .time = std::atoll(json["__REALTIME_TIMESTAMP"].asCString()),
        .unit = about.empty() ? Field(json, {"_SYSTEMD_USER_UNIT", "_SYSTEMD_UNIT", "_SYSTEMD_SLICE"}) : about,
        .writer = Field(json, {"SYSLOG_IDENTIFIER", "_COMM"}) + (pid.empty() ? "" : "[" + pid + "]"),
        .message = json["MESSAGE"].isNull() ? "(a line of more than 4 KiB; journalctl shows it)"
                                            : Field(json, {"MESSAGE"}), // journalctl leaves out longer ones
        .messageId = Field(json, {"MESSAGE_ID"}),
        .isOwn = about.empty(),
        .invocation = Field(json, {"INVOCATION_ID", "USER_INVOCATION_ID"}),
        .jobResult = Field(json, {"JOB_RESULT"}),
    };
}

/// Whether this start really ran the unit. If a condition skipped it, the message is the same, but has no invocation or
/// that of an earlier start.
bool WasRun(const JournalEntry& started, const JournalEntry* before)
{
    return !started.invocation.empty() &&
           !(before != nullptr && before->messageId == kStarted && before->invocation == started.invocation);
}

/// Returns null for an event that does not exist.
std::pair<const JournalEntry*, const JournalEntry*> LastTwoEvents(const std::vector<JournalEntry>& entries,
                                                                  const std::string& unit)
{
    const JournalEntry* last = nullptr;
    const JournalEntry* before = nullptr;
    for (const JournalEntry& entry : entries) {
        if (entry.unit == unit && !entry.isOwn &&
            std::find(kEvents.begin(), kEvents.end(), entry.messageId) != kEvents.end()) {
            before = std::exchange(last, &entry);
        }
    }
    return {last, before};
}

/// When the unit's last event, a stop, began and ended; (0, 0) if the last event is no stop.
std::pair<long long, long long> LastStop(const std::vector<JournalEntry>& entries, const std::string& unit)
{
    const JournalEntry* stopped = LastTwoEvents(entries, unit).first;
    if (stopped == nullptr || stopped->messageId != kStopped) {
        return {0, 0};
    }
    long long begin = stopped->time; // a target has no "Stopping" message
    for (const JournalEntry& entry : entries) {
        begin = entry.unit == unit && !entry.isOwn && entry.messageId == kStopping ? entry.time : begin;
    }
    return {std::min(begin, stopped->time), stopped->time};
}

std::string Printed(const JournalEntry& entry)
{
    std::tm local{};
    const std::time_t seconds = entry.time / 1'000'000;
    localtime_r(&seconds, &local);
    char time[32];
    const std::size_t length = std::strftime(time, sizeof time, "%b %d %H:%M:%S ", &local);
    return std::string(time, length) + entry.writer + ": " + entry.message;
}

} // namespace

std::string JournalOption(const std::string& unit)
{
    return (getuid() == 0 || General().system ? "--unit=" : "--user-unit=") + unit;
}

JournalReading::JournalReading(const Texts& units, std::size_t linesOfUnit)
    : output_(RunJournalctl(units, linesOfUnit), MLIBCPclose)
{
}

std::vector<JournalEntry> JournalReading::Take()
{
    std::vector<JournalEntry> entries;
    char* line = nullptr;
    std::size_t size = 0;
    for (ssize_t length = 0; output_ != nullptr && (length = getline(&line, &size, output_.get())) > 0;) {
        if (auto entry = EntryOf(std::string(line, static_cast<std::size_t>(length)))) {
            entries.push_back(std::move(*entry));
        }
    }
    std::free(line);
    output_.reset();
    return entries;
}

std::optional<UnitEvent> LastEvent(const std::vector<JournalEntry>& entries, const std::string& unit)
{
    const auto [last, before] = LastTwoEvents(entries, unit);
    if (last == nullptr) {
        return std::nullopt;
    }
    const bool isCommand = last->messageId == kSkipped ||
                           (last->messageId == kStarted && before != nullptr && before->messageId == kSkipped);
    return UnitEvent{.message = last->message,
                     .isSkipped = isCommand ||
                                  (last->messageId == kStarted ? !WasRun(*last, before) : last->jobResult == "assert"),
                     .isCommand = isCommand};
}

std::optional<UnitEvent> LastEvent(const std::string& unit)
{
    return LastEvent(JournalReading({unit}).Take(), unit);
}

bool StoppedTogether(const std::vector<JournalEntry>& entries, const std::string& one, const std::string& other)
{
    constexpr long long kShort = 1'000'000; // microseconds
    const auto [begin, end] = LastStop(entries, one);
    const auto [otherBegin, otherEnd] = LastStop(entries, other);
    return end > 0 && otherEnd > 0 && otherBegin <= end + kShort && begin <= otherEnd + kShort;
}

bool HitStartLimit(const std::vector<JournalEntry>& entries, const std::string& unit)
{
    const auto last = std::find_if(entries.rbegin(), entries.rend(), [&](const JournalEntry& entry) {
        return entry.unit == unit && !entry.isOwn &&
               (entry.messageId == kStarted || entry.message.find("repeated too quickly") != std::string::npos);
    });
    return last != entries.rend() && last->messageId != kStarted; // "repeated too quickly" has no message ID
}

Texts LastLines(const std::vector<JournalEntry>& entries, const std::string& unit, std::size_t own, std::size_t others)
{
    Texts lines;
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
        std::size_t& left = entry->isOwn ? own : others;
        if (entry->unit == unit && left > 0) {
            --left;
            lines.push_back(Printed(*entry));
        }
    }
    std::reverse(lines.begin(), lines.end());
    return lines;
}

} // namespace MERO::Tool
