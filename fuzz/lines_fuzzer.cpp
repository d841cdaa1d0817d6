#include "core/lines.h"
#include "support.h"

#include <memory>

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

/// What a program prints.
MERO_FUZZ_TARGET(lines)
{
    static MemoryFile file;
    file.Put(input);
    const std::unique_ptr<FILE, int (*)(FILE*)> stream(std::fopen(file.Path(), "re"), std::fclose);
    MERO_REQUIRE(stream != nullptr);
    std::vector<std::string> lines;
    ForEachLine(stream.get(), [&](std::string_view line) { lines.emplace_back(line); });
    MERO_REQUIRE(lines == Lines(input));
}
