/// What does a program pay for loading the library? A fresh process that loads it and makes one query, against the same
/// process with an empty library of the same dependencies, and against a process that loads nothing. Also prints how
/// many relocations loading takes, and how much of the file is loaded.
#include "measure.h"
#include "peer_program.h"

#include <elf.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using namespace MERO::Bench;

void Load(benchmark::State& state, const std::string& library)
{
    const std::vector<std::string> words =
        library.empty() ? std::vector<std::string>{LOAD_LIBRARY} : std::vector<std::string>{LOAD_LIBRARY, library};
    for (auto _ : state) {
        if (!RunProgram(words)) {
            state.SkipWithError("cannot be loaded");
        }
    }
}

std::string ReadLibrary()
{
    std::ifstream file(MEROSYSTEMD, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

template <typename Entry>
Entry EntryAt(const std::string& elf, std::size_t offset)
{
    Entry entry{};
    if (offset + sizeof entry <= elf.size()) {
        std::memcpy(&entry, elf.data() + offset, sizeof entry);
    }
    return entry;
}

/// Does not count debug information, which stays in the file.
std::size_t LoadedBytes(const std::string& elf)
{
    std::size_t bytes = 0;
    const auto header = EntryAt<Elf64_Ehdr>(elf, 0);
    for (std::size_t i = 0; i < header.e_phnum; ++i) {
        const auto segment = EntryAt<Elf64_Phdr>(elf, header.e_phoff + i * header.e_phentsize);
        bytes += segment.p_type == PT_LOAD ? segment.p_filesz : 0;
    }
    return bytes;
}

struct Relocations {
    std::size_t relative = 0; ///< need no symbol look-up
    std::size_t symbols = 0;
};

Relocations CountRelocations(const std::string& elf)
{
    Relocations relocations;
    const auto header = EntryAt<Elf64_Ehdr>(elf, 0);
    for (std::size_t i = 0; i < header.e_shnum; ++i) {
        const auto section = EntryAt<Elf64_Shdr>(elf, header.e_shoff + i * header.e_shentsize);
        for (std::size_t at = 0; section.sh_type == SHT_RELA && at < section.sh_size; at += sizeof(Elf64_Rela)) {
            const auto relocation = EntryAt<Elf64_Rela>(elf, section.sh_offset + at);
            ++(ELF64_R_SYM(relocation.r_info) == STN_UNDEF ? relocations.relative : relocations.symbols);
        }
    }
    return relocations;
}

} // namespace

int main(int argc, char* argv[])
{
    Initialize(argc, argv);
    const char* peer = "empty library";
    const char* bare = "process without";
    const Results results = Measure(
        {
            {"library", [](benchmark::State& state) { Load(state, MEROSYSTEMD); }},
            {peer, [](benchmark::State& state) { Load(state, EMPTY_LIBRARY); }},
            {bare, [](benchmark::State& state) { Load(state, ""); }},
        },
        {.iterations = 20, .repetitions = 51});
    const std::string question = "process that loads the library and asks one thing";
    const bool done = results.PrintRatio(question, "library", peer, 1.2) &&
                      results.PrintRatio(question, "library", bare, std::nullopt);
    const std::string elf = ReadLibrary();
    const Relocations relocations = CountRelocations(elf);
    PrintFigure("relocations of the library", std::to_string(relocations.symbols) + " of symbols, " +
                                                  std::to_string(relocations.relative) + " relative");
    PrintFigure("file of the library, the part that is loaded", std::to_string(LoadedBytes(elf) / 1024) + " kB");
    return done && !elf.empty() ? 0 : 1;
}
