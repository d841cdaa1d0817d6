#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory_resource>
#include <string_view>
#include <vector>

namespace MERO::Systemd {

/// Maps texts, which are copied, to values. Flat and small: a scan of all processes looks up a path or two for each
/// descriptor, and the kernel's work in between leaves little of the table in the processor's caches.
class TextTable {
public:
    struct Entry {
        std::string_view text; ///< a NUL follows it
        std::string_view value;
    };

    /// Returns the text's entry. The value of a new entry is null. Valid until the next call.
    Entry& operator[](std::string_view text);

    /// Joins the pieces to a text with a NUL after it. It lives as long as the table.
    std::string_view Keep(std::initializer_list<std::string_view> pieces);

private:
    struct Place {
        std::uint32_t hash;
        std::uint32_t number; ///< of the entry, from 1; 0: this place is free
    };

    Place& Find(std::uint32_t hash, std::string_view text);
    void Grow();

    std::pmr::monotonic_buffer_resource arena_{32 * 1024};
    std::vector<Entry> entries_;
    std::vector<Place> places_ = std::vector<Place>(1024); ///< a power of two, at least half of them free
};

} // namespace MERO::Systemd
