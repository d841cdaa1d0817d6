#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace MERO::Bench {

/// Waiting processes with mapped files and descriptors like those of a busy machine: libraries that all of them map,
/// files of their own, sockets. One in a hundred has a file open on the volume. They end with this object.
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
