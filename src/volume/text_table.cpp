#include "volume/text_table.h"

#include <algorithm>
#include <functional>

namespace MERO::Systemd {

TextTable::Entry& TextTable::operator[](std::string_view text)
{
    const auto hash = static_cast<std::uint32_t>(std::hash<std::string_view>()(text));
    Place* place = &Find(hash, text);
    if (place->number != 0) {
        return entries_[place->number - 1];
    }
    if (2 * (entries_.size() + 1) > places_.size()) {
        Grow();
        place = &Find(hash, text);
    }
    entries_.push_back({Keep({text}), {}});
    *place = {hash, static_cast<std::uint32_t>(entries_.size())};
    return entries_.back();
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

/// Returns the text's place, or the free place for it.
TextTable::Place& TextTable::Find(std::uint32_t hash, std::string_view text)
{
    for (std::size_t index = hash;; ++index) {
        Place& place = places_[index & (places_.size() - 1)];
        if (place.number == 0 || (place.hash == hash && entries_[place.number - 1].text == text)) {
            return place;
        }
    }
}

void TextTable::Grow()
{
    std::vector<Place> old(2 * places_.size());
    old.swap(places_);
    for (const Place& place : old) {
        if (place.number != 0) {
            Find(place.hash, entries_[place.number - 1].text) = place;
        }
    }
}

} // namespace MERO::Systemd
