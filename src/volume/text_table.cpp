#include "volume/text_table.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace MERO::Systemd {

TextTable::Entry& TextTable::operator[](std::string_view text)
{
    const std::size_t hash = std::hash<std::string_view>()(text);
    Entry* entry = &Place(hash, text);
    if (entry->text.data() == nullptr) {
        if (2 * (count_ + 1) > entries_.size()) {
            Grow();
            entry = &Place(hash, text);
        }
        *entry = {hash, Keep({text}), {}};
        ++count_;
    }
    return *entry;
}

std::string_view TextTable::Keep(std::initializer_list<std::string_view> pieces)
{
    std::size_t size = 0;
    for (std::string_view piece : pieces) {
        size += piece.size();
    }
    char* const text = static_cast<char*>(arena_.allocate(size + 1, 1));
    char* end = text;
    for (std::string_view piece : pieces) {
        end = std::copy(piece.begin(), piece.end(), end);
    }
    *end = '\0';
    return {text, size};
}

/// Where the text stands, or will stand.
TextTable::Entry& TextTable::Place(std::size_t hash, std::string_view text)
{
    for (std::size_t index = hash;; ++index) {
        Entry& entry = entries_[index & (entries_.size() - 1)];
        if (entry.text.data() == nullptr || (entry.hash == hash && entry.text == text)) {
            return entry;
        }
    }
}

void TextTable::Grow()
{
    std::vector<Entry> old(2 * entries_.size());
    old.swap(entries_);
    for (const Entry& entry : old) {
        if (entry.text.data() != nullptr) {
            Place(entry.hash, entry.text) = entry;
        }
    }
}

} // namespace MERO::Systemd
