#include "resource/process_texts.h"
#include "support.h"

#include <sstream>

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

/// The line of /proc/<pid>/stat.
MERO_FUZZ_TARGET(process_stat)
{
    const std::string line = TakeLine(input);
    unsigned long user = 0;
    unsigned long system = 0;
    if (!ProcessTicks(line, user, system)) {
        return;
    }
    std::istringstream words(line);
    std::string word;
    for (int field = 1; field <= 13; ++field) {
        MERO_REQUIRE(words >> word);
    }
    MERO_REQUIRE(words >> word && word.find_first_not_of("0123456789") == word.npos && std::stoul(word) == user);
    MERO_REQUIRE(words >> word && std::stoul(word) == system);
}
