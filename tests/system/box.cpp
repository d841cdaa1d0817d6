#include "system/box.h"

#include "support/texts.h"

#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace MERO::Test {
namespace {

namespace fs = std::filesystem;

void WriteFile(const fs::path& path, const std::string& text)
{
    fs::create_directories(path.parent_path());
    std::ofstream file(path);
    if (!(file << text << std::flush)) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

std::string Line(std::string text)
{
    return text.substr(0, text.find('\n'));
}

} // namespace

Box::Box()
{
    SetDialect("current");
    SetBootStep(6);
    WriteFile("/usr/mero/bin/merologset", "#!/bin/sh\necho \"$1 $2 $3\" >> /run/events\n");
    fs::permissions("/usr/mero/bin/merologset", fs::perms(0755));
    fs::remove("/run/events");
    (void)Journal();
}

Box::~Box()
{
    std::string units;
    for (const std::string& unit : units_) {
        units += " " + unit;
    }
    Shell("systemctl cancel; cd /run/systemd/system; for unit in" + units +
          "; do systemctl kill -s KILL $unit; systemctl stop $unit; rm $unit; done; systemctl reset-failed");
    Load();
}

void Box::Unit(const std::string& name, const std::string& text)
{
    WriteFile("/run/systemd/system/" + name, text);
    units_.push_back(name);
}

void Box::Load()
{
    if (Shell("systemctl daemon-reload").exitCode != 0) {
        throw std::runtime_error("daemon-reload failed");
    }
}

void Box::SetDialect(const std::string& dialect)
{
    WriteFile("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=" + dialect + "\n");
}

void Box::SetBootStep(int step)
{
    WriteFile("/run/merobootseq/boot-step", std::to_string(step) + "\n");
}

std::string Box::ActiveState(const std::string& unit)
{
    return Line(Shell("systemctl show --value -p ActiveState " + unit).output);
}

bool Box::Comes(const std::function<bool()>& condition)
{
    using namespace std::chrono_literals;
    for (const auto end = std::chrono::steady_clock::now() + 10s; std::chrono::steady_clock::now() < end;
         std::this_thread::sleep_for(20ms)) {
        if (condition()) {
            return true;
        }
    }
    return false;
}

bool Box::Reaches(const std::string& unit, const std::string& state)
{
    return Comes([&] { return ActiveState(unit) == state; });
}

std::vector<std::string> Box::Journal()
{
    // JSON keeps a message of several lines in one.
    const std::string command = std::string("journalctl --sync; journalctl -o json SYSLOG_IDENTIFIER=") +
                                program_invocation_short_name + " | jq -c .MESSAGE | sed 's/^\"//; s/\"$//'";
    std::istringstream messages(Shell(command).output);
    std::vector<std::string> lines;
    for (std::string line; std::getline(messages, line);) {
        lines.push_back(WithoutLineNumber(line));
    }
    const std::size_t seen = std::exchange(linesSeen_, lines.size());
    return {lines.begin() + static_cast<std::ptrdiff_t>(seen), lines.end()};
}

} // namespace MERO::Test
