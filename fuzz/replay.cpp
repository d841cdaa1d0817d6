#include "support.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> Entries(const fs::path& folder)
{
    std::error_code ignored; // a folder that is missing has none
    std::vector<fs::path> entries(fs::directory_iterator(folder, ignored), {});
    std::sort(entries.begin(), entries.end());
    return entries;
}

} // namespace

/// Runs each target on its seeds, which lie in the folder's folder of its name. None without a seed, or without a
/// target.
int main(int argc, char* argv[])
{
    if (argc != 2) {
        std::cerr << "usage: fuzz_seeds_test FOLDER\n";
        return 2;
    }
    const fs::path folder = argv[1];
    bool done = true;
    for (const auto& [name, target] : MERO::Fuzz::Targets()) {
        const std::vector<fs::path> seeds = Entries(folder / name);
        for (const fs::path& seed : seeds) {
            std::cout << name << '/' << seed.filename().string() << std::endl; // known when it aborts
            std::ifstream file(seed);
            target(std::string(std::istreambuf_iterator<char>(file), {}));
        }
        if (seeds.empty()) {
            std::cerr << name << " has no seeds\n";
            done = false;
        }
    }
    for (const fs::path& seeds : Entries(folder)) {
        if (!MERO::Fuzz::Targets().contains(seeds.filename())) {
            std::cerr << seeds << " has no target\n";
            done = false;
        }
    }
    return done ? 0 : 1;
}
