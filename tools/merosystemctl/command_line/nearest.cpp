#include "command_line/nearest.h"

#include <algorithm>

namespace MERO::Tool {
namespace {

/// How many letters to add, drop, change or swap with a neighbour to turn one word into the other.
std::size_t Distance(const std::string& a, const std::string& b)
{
    std::vector<std::vector<std::size_t>> table(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                table[i][j] = i + j;
                continue;
            }
            table[i][j] = std::min(
                {table[i - 1][j] + 1, table[i][j - 1] + 1, table[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                table[i][j] = std::min(table[i][j], table[i - 2][j - 2] + 1);
            }
        }
    }
    return table[a.size()][b.size()];
}

} // namespace

std::string Nearest(const std::string& word, const Texts& names)
{
    if (word.size() > 32) { // no name is that long
        return {};
    }
    std::string nearest;
    std::size_t least = word.size() / 3 + 1; // farther away it is a different word
    for (const std::string& name : names) {
        if (const std::size_t distance = Distance(word, name); distance < least) {
            nearest = name;
            least = distance;
        }
    }
    return nearest;
}

} // namespace MERO::Tool
