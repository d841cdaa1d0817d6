#include "core/program_stream.h"

#include "core/lines.h"

namespace MERO::Systemd {

bool ProgramStream::ReadLines(std::vector<std::string>& lines)
{
    return ForEachLine(stream_, [&](std::string_view line) { lines.emplace_back(line); });
}

} // namespace MERO::Systemd
