#include "population.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace MERO::Bench {
namespace {

const std::string kFolder = "/run/bench";

[[noreturn]] void Fail(const char* what)
{
    std::perror(what);
    std::exit(1);
}

int Open(const std::string& path)
{
    const int file = open(path.c_str(), O_RDWR | O_CREAT, 0600);
    if (file < 0 || ftruncate(file, 2 * sysconf(_SC_PAGESIZE)) != 0) {
        Fail(path.c_str());
    }
    return file;
}

/// Makes two mappings of a file with different access rights, like a library's code and data.
void Map(const std::string& path)
{
    const int file = Open(path);
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    if (mmap(nullptr, page, PROT_READ | PROT_EXEC, MAP_PRIVATE, file, 0) == MAP_FAILED ||
        mmap(nullptr, page, PROT_READ | PROT_WRITE, MAP_PRIVATE, file, static_cast<off_t>(page)) == MAP_FAILED) {
        Fail("mmap");
    }
    close(file);
}

void Live(const Population::Shape& shape, int number)
{
    const std::string own = kFolder + "/own/" + std::to_string(number) + ".";
    for (int i = 0; i < shape.mappedFiles; ++i) {
        Map(kFolder + "/lib/" + std::to_string(i));
    }
    for (int i = 0; i < shape.descriptors; ++i) {
        if (i % 3 == 0) {
            socket(AF_UNIX, SOCK_DGRAM, 0);
        } else {
            Open(i % 3 == 1 ? own + std::to_string(i) : kFolder + "/lib/" + std::to_string(i));
        }
    }
    if (number % 100 == 0) {
        Open(shape.volume + "/" + std::to_string(number));
    }
}

} // namespace

Population::Population(const Shape& shape) : volume_(shape.volume)
{
    for (const std::string& folder : {kFolder + "/lib", kFolder + "/own", volume_}) {
        std::filesystem::create_directories(folder);
    }
    if (mount("bench", volume_.c_str(), "tmpfs", 0, nullptr) != 0) {
        Fail("mount: is this inside mero-sandbox?");
    }
    for (int number = 0; number < shape.processes; ++number) {
        int ready[2];
        if (pipe(ready) != 0) {
            Fail("pipe");
        }
        const pid_t pid = fork();
        if (pid < 0) {
            Fail("fork");
        }
        if (pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            close(ready[0]);
            Live(shape, number);
            close(ready[1]);
            for (;;) {
                pause();
            }
        }
        processes_.push_back(pid);
        close(ready[1]);
        char nothing;
        while (read(ready[0], &nothing, 1) > 0) {
        }
        close(ready[0]);
    }
}

Population::~Population()
{
    for (const pid_t pid : processes_) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
    umount(volume_.c_str());
    std::filesystem::remove_all(kFolder);
}

} // namespace MERO::Bench
