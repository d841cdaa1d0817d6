#include "support/machine.h"

#include "sandbox/mounting.h"
#include "sandbox/private_root.h"
#include "support/environment.h"
#include "support/texts.h"

#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace MERO::Test {
namespace {

constexpr const char* kEmptied[] = {"/run",
                                    "/usr/mero",
                                    "/var/packages",
                                    "/usr/local/lib/systemd/system",
                                    "/usr/lib/systemd/system",
                                    "/etc/systemd/system"};

constexpr const char* kCalls = "/run/systemctl.calls";

void Require(bool isDone, const char* what)
{
    if (!isDone) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

/// The socket at /dev/log. A thread reads it, so that the library never waits for the test.
class LogReader {
public:
    void Start()
    {
        socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        const sockaddr_un address{.sun_family = AF_UNIX, .sun_path = "/dev/log"};
        Require(bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "/dev/log");
        fs::permissions("/dev/log", fs::perms::all);
        std::thread([this] {
            pollfd readable{.fd = socket_, .events = POLLIN, .revents = 0};
            while (poll(&readable, 1, -1) >= 0) {
                const std::lock_guard lock(mutex_);
                Drain();
            }
        }).detach();
    }

    std::vector<std::string> Take()
    {
        const std::lock_guard lock(mutex_);
        Drain();
        return std::exchange(datagrams_, {});
    }

private:
    void Drain()
    {
        std::vector<char> datagram(1 << 18);
        ssize_t size;
        while ((size = recv(socket_, datagram.data(), datagram.size(), 0)) > 0) {
            datagrams_.emplace_back(datagram.data(), static_cast<std::size_t>(size));
        }
    }

    int socket_ = -1;
    std::mutex mutex_;
    std::vector<std::string> datagrams_;
};

LogReader& theLog = *new LogReader; // its thread outlives main

std::string Quoted(const std::string& text)
{
    return "'" + Replaced(text, "'", "'\\''") + "'";
}

/// "<11>Nov 21 10:00:00 program: systemd_start:41 merosystemd: message"
std::string Readable(const std::string& datagram)
{
    constexpr const char* kNames[] = {"EMERG", "ALERT", "CRIT", "ERR", "WARNING", "NOTICE", "INFO", "DEBUG"};
    unsigned priority = 0;
    int end = 0;
    std::sscanf(datagram.c_str(), "<%u>%*15c %*[^:]:%n", &priority, &end);
    return end == 0 ? datagram : kNames[LOG_PRI(priority)] + WithoutLineNumber(datagram.substr(end));
}

} // namespace

void EnterMachine()
{
    MakeEnvironmentKnown();
    const fs::path program = fs::canonical("/proc/self/exe");
    Require(unshare(CLONE_NEWNS) == 0, "no mount namespace (are you root?)");
    if (std::getenv("MERO_ROOT_IS_PRIVATE") != nullptr) { // an emulator cannot create one
        Sandbox::KeepMountsPrivate();
        Require(umount2("/sys", MNT_DETACH) == 0, "/sys");
        fs::remove("/dev/log");
    } else {
        Sandbox::EnterPrivateRoot({program.parent_path().parent_path()});
    }
    // A program that was started in a chroot now has its path outside of it; a file must exist there.
    if (const fs::path path = fs::read_symlink("/proc/self/exe"); !fs::exists(path)) {
        Machine::Write(path, "");
    }
    for (const char* directory : kEmptied) {
        fs::create_directories(directory);
        Require(mount("tmpfs", directory, "tmpfs", 0, "mode=755") == 0, directory);
    }
    theLog.Start();
}

Machine::Machine()
{
    for (const char* directory : kEmptied) {
        std::ranges::for_each(fs::directory_iterator(directory), [](auto& entry) { fs::remove_all(entry.path()); });
    }
    Systemctl({});
    (void)Log();
}

void Machine::Systemctl(const std::vector<Answer>& answers)
{
    std::string script = "case \"$*\" in\n";
    for (const Answer& answer : answers) {
        script += Replaced(answer.arguments, " ", "\\ ") + ") printf %s " + Quoted(answer.errors) + " >&2; printf %s " +
                  Quoted(answer.output) + "; exit " + std::to_string(answer.exitCode) + ";;\n";
    }
    SystemctlScript(script + "esac\n");
}

void Machine::SystemctlScript(const std::string& body)
{
    WriteProgram("/usr/bin/systemctl", std::string("echo \"$*\" >> ") + kCalls + "\n" + body);
}

std::vector<std::string> Machine::Calls()
{
    std::istringstream text(Read(kCalls));
    std::vector<std::string> calls;
    for (std::string line; std::getline(text, line);) {
        calls.push_back(line);
    }
    fs::remove(kCalls);
    return calls;
}

std::vector<std::string> Machine::Log()
{
    std::vector<std::string> lines = theLog.Take();
    std::transform(lines.begin(), lines.end(), lines.begin(), Readable);
    return lines;
}

std::vector<std::string> Machine::Said(const std::string& file)
{
    constexpr std::string_view kRefused = " Invaild Argument (";
    constexpr std::string_view kRefusal = ")=[0]\n";
    std::vector<std::string> said;
    for (std::string& line : Log()) {
        const std::size_t name = line.find(' ') + 1;
        if (line.compare(name, file.size() + 2, file + ": ") == 0) {
            said.push_back(line.erase(name, file.size() + 2));
        } else if (line.compare(name, file.size() + 1, file + ":") == 0 && line.ends_with(kRefusal)) {
            const std::size_t condition = line.find(kRefused) + kRefused.size();
            said.push_back(line.substr(condition, line.size() - kRefusal.size() - condition));
        }
    }
    return said;
}

void Machine::Write(const fs::path& path, const std::string& text)
{
    fs::create_directories(path.parent_path());
    Require(bool(std::ofstream(path, std::ios::binary) << text << std::flush), path.c_str());
}

void Machine::WriteProgram(const fs::path& path, const std::string& script)
{
    const fs::path fresh = path.string() + ".new"; // a running program cannot be written to
    Write(fresh, "#!/bin/sh\n" + script);
    fs::permissions(fresh, fs::perms(0755));
    fs::rename(fresh, path);
}

std::string Machine::Read(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace MERO::Test
