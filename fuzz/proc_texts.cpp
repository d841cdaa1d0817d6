#include "resource/proc_texts.h"
#include "fuzzer.h"
#include "volume/process_files.h"

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

namespace {

/// The line of /proc/<pid>/stat, or the first one of /proc/stat.
void Stat(std::string_view input)
{
    std::uint64_t user = 0, system = 0, total = 0;
    const std::string line = TakeLine(input);
    MERO_REQUIRE(!ProcessTicks(line, user, system) || line.size() > 28); // 13 words before the two numbers
    MERO_REQUIRE(!ProcessorTicks(line, total) || line.starts_with("cpu"));
}

/// Lines of /proc/<pid>/smaps.
void Smaps(std::string_view input)
{
    std::uint64_t sum = 0;
    for (const std::string& line : Lines(input)) {
        sum += SumOfPss(line);
    }
    MERO_REQUIRE(SumOfPss(input) == sum);
}

/// The text of /proc/<pid>/io.
void ProcessIo(std::string_view input)
{
    std::uint64_t read = 0, written = 0;
    MERO_REQUIRE(!IoBytes(input, read, written) || (Holds(input, "read_bytes:") && Holds(input, "write_bytes:")));
    const std::string text = std::string(input) + "\nread_bytes: 17\nwrite_bytes:\t18446744073709551615\n";
    MERO_REQUIRE(IoBytes(text, read, written) && read == 17 && written == ~0UL);
}

/// The first line of /proc/<pid>/cmdline.
void Script(std::string_view input)
{
    const std::string name = ScriptName(input);
    MERO_REQUIRE(name == "." || name == "/" || (!name.empty() && !Holds(name, "/") && Holds(input, name)));
}

/// The text of /proc/<pid>/cgroup.
void Cgroup(std::string_view input)
{
    std::string path;
    if (FindCgroupPath(input, SystemdControllers(true), path)) {
        MERO_REQUIRE(Holds(input, path) && !Holds(path, ":"));
    }
    const std::string unit = UnitOfCgroup(path);
    if (!unit.empty()) {
        MERO_REQUIRE(Holds(unit, ".") && !Holds(unit, "/") && path.ends_with(unit));
        MERO_REQUIRE(UnitOfCgroup("/system.slice/" + unit) == UnitOfFolder(unit));
    }
}

/// A letter for each column to skip, and a table of mounts, swap files or exports.
void KernelTable(std::string_view input)
{
    const std::size_t column = TakeLine(input).size() % 8;
    const std::vector<std::string> paths = PathsInColumn(input, column);
    MERO_REQUIRE(paths.size() <= Lines(input).size());
    for (const std::string& path : paths) {
        MERO_REQUIRE(path.starts_with('/') && path.size() <= input.size());
    }
}

/// The text of /proc/<pid>/maps.
void MemoryMap(std::string_view input)
{
    const std::string_view whole = input;
    for (std::size_t left = input.size(); const auto path = TakeMapPath(input); left = input.size()) {
        MERO_REQUIRE(input.size() < left && path->starts_with('/') && !Holds(*path, "\n"));
        MERO_REQUIRE(path->data() > whole.data() && path->data()[-1] == ' ');
        const std::string_view cut = UpToBlank(*path);
        MERO_REQUIRE(path->starts_with(cut) && cut == Trim(cut));
        MERO_REQUIRE(cut.size() == path->size() || Trim(path->substr(cut.size(), 1)).empty());
    }
}

} // namespace

MERO_FUZZ(Stat, MemoryMap, Smaps, ProcessIo, Script, Cgroup, KernelTable)
