#include "unit/job_info.h"

#include "core/text.h"

#include <charconv>
#include <new>
#include <stdexcept>

namespace MERO::Systemd {
namespace {

std::uint32_t ParseId(const std::string& text)
{
    std::uint32_t id = 0; // stays 0 if the text is no number or too large
    std::from_chars(text.data(), text.data() + text.size(), id);
    return id;
}

template <typename Words, typename Value>
void TranslateWord(const Words& words, const std::string& word, Value& value)
{
    const auto entry = words.right.find(word);
    if (entry != words.right.end()) {
        value = entry->second;
    }
}

} // namespace

const JobStringMap jobStringMap;

JobStringMap::JobStringMap()
{
    // "unknow": programs match this spelling.
    types.insert({JobType::Unknown, "unknow"});
    types.insert({JobType::Start, "start"});
    types.insert({JobType::Stop, "stop"});

    states.insert({JobState::Unknown, "unknow"});
    states.insert({JobState::Running, "running"});
    states.insert({JobState::Waiting, "waiting"});
}

bool JobInfoParse(const std::string& line, JobInfo& info)
{
    std::vector<std::string> fields;
    if (!Split(line, fields, " ")) {
        throw std::bad_alloc(); // must not look like a line that is no job
    }
    if (fields.size() != 4) {
        return false;
    }
    info.id = ParseId(fields[0]);
    info.unit = fields[1];
    TranslateWord(jobStringMap.types, fields[2], info.type);
    TranslateWord(jobStringMap.states, fields[3], info.state);
    return true;
}

std::string JobInfo::ToString() const
{
    return std::to_string(id) + " " + unit + " " + jobStringMap.types.left.at(type) + " " +
           jobStringMap.states.left.at(state);
}

} // namespace MERO::Systemd
