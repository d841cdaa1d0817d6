#include "resource/process_texts.h"
#include "support.h"

#include <charconv>

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

/// Lines of /proc/<pid>/smaps.
MERO_FUZZ_TARGET(smaps)
{
    constexpr std::string_view kKey = "Pss:";
    unsigned long sum = 0;
    for (const std::string& line : Lines(input)) {
        unsigned long number = 0;
        if (line.starts_with(kKey)) {
            const std::string_view value = Trim(std::string_view(line).substr(kKey.size()));
            std::from_chars(value.data(), value.data() + value.size(), number); // stays 0 without one
        }
        sum += number;
    }
    MERO_REQUIRE(SumOfPss(input) == sum);
}
