#pragma once
// What an application saw of its calls, to compare with what another saw of the same ones.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class Tape {
public:
    void Note(const std::string& what, const void* bytes, std::size_t size) {
        std::uint64_t hash = 14695981039346656037u;
        const std::uint8_t* const all = static_cast<const std::uint8_t*>(bytes);
        for (std::size_t i = 0; i < size; ++i) hash = (hash ^ all[i]) * 1099511628211u;
        entries_.push_back({what, hash ^ size});
    }
    std::size_t size() const { return entries_.size(); }

    // Empty if both are the same; otherwise what the first difference is about.
    std::string DifferenceFrom(const Tape& other) const {
        for (std::size_t i = 0; i < entries_.size() || i < other.entries_.size(); ++i) {
            if (i >= entries_.size()) return other.entries_[i].what;
            const bool same = i < other.entries_.size() && entries_[i].what == other.entries_[i].what &&
                              entries_[i].hash == other.entries_[i].hash;
            if (!same) return entries_[i].what;
        }
        return "";
    }

private:
    struct Entry {
        std::string what;
        std::uint64_t hash;
    };
    std::vector<Entry> entries_;
};
