#include "core/program_stream.h"

#include "core/lines.h"

namespace MERO::Systemd {

std::vector<std::string> ProgramStream::ReadLines()
{
    std::vector<std::string> lines;
    ForEachLine(stream_, [&](std::string_view line) { lines.emplace_back(line); });
    return lines;
}

} // namespace MERO::Systemd
