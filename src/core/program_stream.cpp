#include "core/program_stream.h"

#include <cstdlib>

namespace MERO::Systemd {
namespace {

struct LineBuffer {
    ~LineBuffer() { std::free(text); }

    char* text = nullptr;
    std::size_t capacity = 0;
};

} // namespace

std::vector<std::string> ProgramStream::ReadLines()
{
    std::vector<std::string> lines;
    LineBuffer line;
    ssize_t length;
    while ((length = getdelim(&line.text, &line.capacity, '\n', stream_)) >= 0) {
        lines.emplace_back(line.text, static_cast<std::size_t>(length));
    }
    return lines;
}

} // namespace MERO::Systemd
