#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace MERO::Bench {

/// Processes that wait, with mapped files and descriptors as a busy machine's have them: libraries that all of them
/// map, files of their own, sockets. One in a hundred has a file on the volume open. Gone with this object.
class Population {
public:
    struct Shape {
        int processes;
        int mappedFiles;
        int descriptors;
        std::string volume; ///< a tmpfs is mounted there
    };

    explicit Population(const Shape& shape);
    Population(const Population&) = delete;
    Population& operator=(const Population&) = delete;
    ~Population();

    const std::vector<pid_t>& Pids() const { return processes_; }

private:
    std::string volume_;
    std::vector<pid_t> processes_;
};

} // namespace MERO::Bench
