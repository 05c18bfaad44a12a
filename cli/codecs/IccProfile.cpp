#include "codecs/IccProfile.h"

#include <algorithm>
#include <cstring>

namespace {

// Sizes and places in the profile format: a header of 128 bytes, a count, then 12 bytes for each tag.
constexpr std::size_t kHeaderBytes = 128;
constexpr std::size_t kTagBytes = 12;

using Bytes = std::vector<std::uint8_t>;

std::uint32_t Number32(const Bytes& bytes, std::size_t at) {
    return std::uint32_t{bytes[at]} << 24 | std::uint32_t{bytes[at + 1]} << 16 | std::uint32_t{bytes[at + 2]} << 8 |
           std::uint32_t{bytes[at + 3]};
}

bool Holds(const Bytes& bytes, std::size_t at, const char* fourLetters) {
    return at + 4 <= bytes.size() && std::memcmp(bytes.data() + at, fourLetters, 4) == 0;
}

bool IsProfile(const Bytes& bytes) {
    return bytes.size() >= kHeaderBytes + 4 && Holds(bytes, 36, "acsp") && Number32(bytes, 0) <= bytes.size();
}

// The bytes of the 'desc' tag; empty when there is none, or when it lies outside the profile.
Bytes DescriptionTag(const Bytes& profile) {
    const std::size_t count = std::min<std::size_t>(Number32(profile, kHeaderBytes), 100);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t entry = kHeaderBytes + 4 + i * kTagBytes;
        if (entry + kTagBytes > profile.size()) break;
        if (!Holds(profile, entry, "desc")) continue;
        const std::size_t offset = Number32(profile, entry + 4), size = Number32(profile, entry + 8);
        if (offset > profile.size() || size > profile.size() - offset || size < 16) break;
        return {profile.begin() + static_cast<std::ptrdiff_t>(offset),
                profile.begin() + static_cast<std::ptrdiff_t>(offset + size)};
    }
    return {};
}

}  // namespace

bool ProfileFits(const std::vector<std::uint8_t>& profile, PixelKind kind) {
    return IsProfile(profile) && Holds(profile, 16, Describe(kind).profileSpace);
}

std::string ProfileSpace(const std::vector<std::uint8_t>& profile) {
    if (!IsProfile(profile)) return {};
    std::string space(profile.begin() + 16, profile.begin() + 20);
    while (!space.empty() && space.back() == ' ') space.pop_back();
    return space;
}

std::string ProfileName(const std::vector<std::uint8_t>& profile) {
    if (!IsProfile(profile)) return {};
    const Bytes tag = DescriptionTag(profile);
    std::string name;
    if (Holds(tag, 0, "desc")) {
        // Older profiles: a length, then ASCII with a zero at its end.
        const std::size_t length = std::min<std::size_t>(Number32(tag, 8), tag.size() - 12);
        name.assign(tag.begin() + 12, tag.begin() + 12 + static_cast<std::ptrdiff_t>(length));
    } else if (Holds(tag, 0, "mluc") && tag.size() >= 28) {
        // Newer ones: texts in UTF-16 by language, of which the first is taken.
        const std::size_t length = Number32(tag, 20), offset = Number32(tag, 24);
        if (offset > tag.size() || length > tag.size() - offset) return {};
        for (std::size_t i = offset; i + 1 < offset + length; i += 2)
            name += tag[i] == 0 ? static_cast<char>(tag[i + 1]) : '?';
    }
    if (const std::size_t end = name.find('\0'); end != std::string::npos) name.resize(end);
    for (char& c : name)
        if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) > 0x7E) c = '?';
    return name;
}
