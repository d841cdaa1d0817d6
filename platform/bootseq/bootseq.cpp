#include <merobootseq/bootseq.h>

#include <fcntl.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <charconv>

int MEROSystemGetBootStep(void)
{
    const int file = open("/run/merobootseq/boot-step", O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return -1;
    }
    char text[32];
    ssize_t length;
    do {
        length = read(file, text, sizeof text);
    } while (length < 0 && errno == EINTR);
    close(file);
    if (length < 0 || length == sizeof text) { // a text that may go on is no number
        return -1;
    }
    const char* end = text + length;
    while (end > text && std::isspace(static_cast<unsigned char>(end[-1]))) {
        --end;
    }
    int step = -1;
    const auto [stop, error] = std::from_chars(text, end, step);
    return error == std::errc{} && stop == end ? step : -1;
}
