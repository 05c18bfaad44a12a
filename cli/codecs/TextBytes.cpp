#include "codecs/TextBytes.h"

#include <algorithm>

namespace {

// How many bytes the letter takes that begins here; 0: no letter of UTF-8 does.
std::size_t LetterBytes(const std::string& text, std::size_t at) {
    const auto byte = [&text](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
    const unsigned first = byte(at);
    if (first < 0x80) return 1;
    const std::size_t count = first >= 0xC2 && first <= 0xDF   ? 2
                              : first >= 0xE0 && first <= 0xEF ? 3
                              : first >= 0xF0 && first <= 0xF4 ? 4
                                                               : 0;
    for (std::size_t i = 1; i < count; ++i)
        if ((byte(at + i) & 0xC0U) != 0x80) return 0;
    const unsigned second = byte(at + 1);
    // Longer than it has to be, half of a pair, or beyond the last letter.
    if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) || (first == 0xF0 && second < 0x90) ||
        (first == 0xF4 && second > 0x8F))
        return 0;
    return count;
}

}  // namespace

bool IsUtf8(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t count = LetterBytes(text, at);
        if (count == 0) return false;
        at += count;
    }
    return true;
}

std::string Utf8OfLatin1(const std::string& text) {
    std::string result;
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (byte < 0x80) {
            result += letter;
        } else {
            result += static_cast<char>(0xC0U | byte >> 6);
            result += static_cast<char>(0x80U | (byte & 0x3FU));
        }
    }
    return result;
}

std::optional<std::string> Latin1OfUtf8(const std::string& text) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if (byte < 0x80) {
            result += text[at];
        } else {
            if ((byte != 0xC2 && byte != 0xC3) || at + 1 == text.size()) return {};
            result += static_cast<char>((byte & 3U) << 6 | (static_cast<unsigned char>(text[++at]) & 0x3FU));
        }
    }
    return result;
}

std::string TextOfBytes(const std::uint8_t* bytes, std::size_t size) {
    while (size > 0 && (bytes[size - 1] == 0 || bytes[size - 1] == ' ')) --size;
    std::string text(bytes, bytes + size);
    std::replace(text.begin(), text.end(), '\0', ' ');
    return IsUtf8(text) ? text : Utf8OfLatin1(text);
}

std::string OneLine(const std::string& text, std::size_t most) {
    std::string line;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t count = std::max<std::size_t>(LetterBytes(text, at), 1);
        if (line.size() + count > most) return line + "...";
        const auto byte = static_cast<unsigned char>(text[at]);
        // The letters from U+0080 to U+009F are control characters too.
        const bool control = byte < 0x20 || byte == 0x7F || (byte == 0xC2 && count == 2 && text[at + 1] < '\xA0');
        control ? line += ' ' : line.append(text, at, count);
        at += count;
    }
    return line;
}
