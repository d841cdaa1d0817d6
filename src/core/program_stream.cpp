#include "core/program_stream.h"

#include "core/program_environment.h"
#include "core/text_reader.h"

#include <algorithm>

namespace MERO::Systemd {

ProgramStream::ProgramStream(const char* path, const char* mode, char* const argv[])
    : stream_(MLIBCPopenvce(path, mode, argv, ProgramEnvironment().data()))
{
}

bool ProgramStream::ReadLines(std::vector<std::string>& lines)
{
    return TextReader().ReadLines(stream_, [&](std::string_view text) {
        while (!text.empty()) {
            const std::size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
            lines.emplace_back(text.substr(0, size));
            text.remove_prefix(size);
        }
        return true;
    });
}

} // namespace MERO::Systemd
