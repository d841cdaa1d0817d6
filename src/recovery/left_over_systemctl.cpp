#include "recovery/left_over_systemctl.h"

#include "core/directory_entries.h"
#include "core/interruption.h"
#include "core/text_reader.h"

#include <fcntl.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace MERO::Systemd {
namespace {

constexpr int kMaxWait = 300; // seconds

} // namespace

bool IsSystemctlRunning(const std::string& verb, const std::string& unit)
{
    using namespace std::string_literals;
    const std::string begin = "/usr/bin/systemctl\0"s + verb + "\0"s;
    const std::string end = "\0"s + unit + "\0"s;
    std::vector<std::string> processes;
    (void)DirectoryEntries("/proc/", processes);
    TextReader reader;
    return std::any_of(processes.begin(), processes.end(), [&](const std::string& process) {
        const std::string file = "/proc/" + process + "/cmdline";
        const auto arguments = process.front() <= '9' ? reader.Read(AT_FDCWD, file.c_str()) : std::nullopt;
        return arguments && arguments->starts_with(begin) && arguments->ends_with(end);
    });
}

void AwaitLeftOverSystemctl(const std::string& verb, const std::string& unit)
{
    int seconds = 0;
    do {
        SleepOneSecond();
    } while (IsSystemctlRunning(verb, unit) && ++seconds < kMaxWait);
}

} // namespace MERO::Systemd
