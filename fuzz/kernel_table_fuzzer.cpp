#include "support.h"
#include "volume/kernel_table.h"

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

namespace {

/// As the kernel writes it.
std::string Escape(const std::string& path)
{
    std::string text;
    for (char character : path) {
        if (Holds(" \t\n\\", std::string(1, character))) {
            const auto byte = static_cast<unsigned char>(character);
            for (int digit : {-1, byte / 64, byte / 8 % 8, byte % 8}) {
                text += digit < 0 ? '\\' : static_cast<char>('0' + digit);
            }
        } else {
            text += character;
        }
    }
    return text;
}

} // namespace

/// A letter for each column before the one that is looked at, and the table.
MERO_FUZZ_TARGET(kernel_table)
{
    const std::size_t column = TakeLine(input).size() % 8;
    const std::vector<std::string> paths = PathsInColumn(input, column);
    MERO_REQUIRE(paths.size() <= Lines(input).size());

    std::string table;
    for (const std::string& path : paths) {
        MERO_REQUIRE(path.starts_with('/'));
        for (std::size_t before = 0; before < column; ++before) {
            table += "/x ";
        }
        table += Escape(path) + "\t/y\n";
    }
    MERO_REQUIRE(PathsInColumn(table, column) == paths);
}
