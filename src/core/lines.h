#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace MERO::Systemd {

/// Hands each line of the stream to `take`, with its newline; the last one may lack it. Whether they were all: false
/// when the stream could not be read to its end, or memory is out.
template <typename Take>
bool ForEachLine(FILE* stream, Take&& take)
{
    struct Buffer {
        ~Buffer() { std::free(text); }

        char* text = nullptr;
        std::size_t capacity = 0;
    } line;
    ssize_t length;
    while ((length = getdelim(&line.text, &line.capacity, '\n', stream)) >= 0) {
        take(std::string_view(line.text, static_cast<std::size_t>(length)));
    }
    return std::feof(stream) != 0;
}

} // namespace MERO::Systemd
