#include "diagnosis/journal.h"

#include "output/times.h"

#include <merocore/process.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string_view>

namespace MERO::Tool {
namespace {

// From systemd's sd-messages.h.
constexpr std::string_view kStarted = "39f53479d3a045ac8e11786248231fbf"; // also of a unit that was skipped
constexpr std::string_view kEvents[] = {
    kStarted,                           // SD_MESSAGE_UNIT_STARTED
    "be02cf6855d2428ba40df7e9d022f03d", // SD_MESSAGE_UNIT_FAILED: a job did
    "9d1aaa27d60140bd96365438aad20286", // SD_MESSAGE_UNIT_STOPPED
    "7ad2d189f7e94e70a38c781354912448", // SD_MESSAGE_UNIT_SUCCESS
    "d9b373ed55a64feb8242e02dbe79a49c", // SD_MESSAGE_UNIT_FAILURE_RESULT
};

/// What the user has set for journalctl on a terminal must not change what is read here.
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

Texts Journal(const std::string& unit, const Texts& options)
{
    Texts words{"/usr/bin/journalctl", "--no-pager", "--quiet", "--boot"};
    words.push_back((getuid() == 0 ? "--unit=" : "--user-unit=") + unit);
    words.insert(words.end(), options.begin(), options.end());
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    const std::unique_ptr<FILE, decltype(&MLIBCPclose)> output(
        MLIBCPopenvce(argv[0], "r", argv.data(), JournalEnvironment().data()), MLIBCPclose);
    Texts lines;
    char* line = nullptr;
    std::size_t size = 0;
    for (ssize_t length = 0; output != nullptr && (length = getline(&line, &size, output.get())) > 0;) {
        lines.emplace_back(line, static_cast<std::size_t>(length - (line[length - 1] == '\n' ? 1 : 0)));
    }
    std::free(line);
    return lines;
}

/// An object; an empty one for a line that is none.
Json::Value EntryOf(const std::string& line)
{
    std::istringstream text(line);
    Json::Value entry;
    const bool isRead = Json::parseFromStream(Json::CharReaderBuilder(), text, &entry, nullptr) && entry.isObject();
    return isRead ? entry : Json::Value(Json::objectValue);
}

bool IsStarted(const Json::Value& entry)
{
    return entry["MESSAGE_ID"] == std::string(kStarted);
}

/// Whether a start that is done ran the unit. One that a condition kept from running says the same, with no invocation,
/// or with that of an earlier start.
bool WasRun(const Json::Value& started, const Json::Value& before)
{
    const Json::Value& invocation = started["INVOCATION_ID"];
    return invocation.isString() && !invocation.asString().empty() &&
           !(IsStarted(before) && before["INVOCATION_ID"] == invocation);
}

} // namespace

std::optional<UnitEvent> LastEvent(const std::string& unit)
{
    Texts options{"--lines=2", "--output=json"};
    for (std::string_view event : kEvents) {
        options.push_back("MESSAGE_ID=" + std::string(event));
    }
    const Texts lines = Journal(unit, options);
    const Json::Value entry = lines.empty() ? Json::Value() : EntryOf(lines.back());
    const Json::Value before = lines.size() < 2 ? Json::Value() : EntryOf(lines.front());
    if (!entry["MESSAGE"].isString() || !entry["__REALTIME_TIMESTAMP"].isString()) {
        return std::nullopt;
    }
    const long long microseconds = std::atoll(entry["__REALTIME_TIMESTAMP"].asCString());
    return UnitEvent{.time = TimeText(static_cast<std::time_t>(microseconds / 1'000'000)),
                     .message = entry["MESSAGE"].asString(),
                     .isSkipped = IsStarted(entry) ? !WasRun(entry, before) : entry["JOB_RESULT"] == "assert",
                     .isDependency = entry["JOB_RESULT"] == "dependency"};
}

Texts LastLines(const std::string& unit, int count)
{
    return Journal(unit, {"--lines=" + std::to_string(count), "--output=short", "--no-hostname"});
}

} // namespace MERO::Tool
