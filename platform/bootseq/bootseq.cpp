#include "platform/core/owners.h"
#include "platform/core/system_calls.h"

#include <merobootseq/bootseq.h>

#include <fcntl.h>

#include <cctype>
#include <charconv>

int MEROSystemGetBootStep(void)
{
    const MERO::Descriptor file(open("/run/merobootseq/boot-step", O_RDONLY | O_CLOEXEC));
    char text[32];
    const ssize_t length = MERO::Uninterrupted([&] { return read(file.Get(), text, sizeof text); });
    if (length < 0 || length == sizeof text) { // a full buffer: the number may go on
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
