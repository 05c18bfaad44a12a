#include "support/FakeText.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include "host/HostInterface.h"

namespace {

using CodePoints = std::vector<std::uint32_t>;

CodePoints FromUTF8(const std::string& text) {
    CodePoints points;
    for (std::size_t i = 0; i < text.size();) {
        const unsigned lead = static_cast<unsigned char>(text[i]);
        const std::size_t size = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        std::uint32_t point = size == 1 ? lead : lead & (0xFFu >> (size + 1));
        for (std::size_t k = 1; k < size && i + k < text.size(); ++k) {
            point = point << 6 | (static_cast<unsigned char>(text[i + k]) & 0x3F);
        }
        points.push_back(point);
        i += size;
    }
    return points;
}

std::string ToUTF8(const CodePoints& points) {
    std::string text;
    const auto add = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
    for (const std::uint32_t point : points) {
        if (point < 0x80) {
            add(point);
        } else if (point < 0x800) {
            add(0xC0 | point >> 6);
            add(0x80 | (point & 0x3F));
        } else if (point < 0x10000) {
            add(0xE0 | point >> 12);
            add(0x80 | (point >> 6 & 0x3F));
            add(0x80 | (point & 0x3F));
        } else {
            add(0xF0 | point >> 18);
            add(0x80 | (point >> 12 & 0x3F));
            add(0x80 | (point >> 6 & 0x3F));
            add(0x80 | (point & 0x3F));
        }
    }
    return text;
}

// The upper half of Mac Roman, 128 characters from 0x80 on.
const CodePoints& MacRoman() {
    static const CodePoints points = FromUTF8(
        "ÄÅÇÉÑÖÜáàâäãåçéèêëíìîïñóòôöõúùûü†°¢£§•¶ß®©™´¨≠ÆØ∞±≤≥¥µ∂∑∏π∫ªºΩæø"
        "¿¡¬√ƒ≈∆«»…\u00A0ÀÃÕŒœ–—“”‘’÷◊ÿŸ⁄€‹›ﬁﬂ‡·‚„‰ÂÊÁËÈÍÎÏÌÓÔ\uF8FFÒÚÛÙıˆ˜¯˘˙˚¸˝˛ˇ");
    return points;
}

template <class Unit>
CodePoints FromUnits(const std::string& bytes) {
    CodePoints points;
    for (std::size_t i = 0; i + sizeof(Unit) <= bytes.size(); i += sizeof(Unit)) {
        Unit unit;
        std::memcpy(&unit, bytes.data() + i, sizeof unit);
        points.push_back(unit);
    }
    return points;
}

template <class Unit>
std::string ToUnits(const CodePoints& points) {
    std::string bytes;
    for (const std::uint32_t point : points) {
        const Unit unit = static_cast<Unit>(point);
        bytes.append(reinterpret_cast<const char*>(&unit), sizeof unit);
    }
    return bytes;
}

CodePoints Decode(const std::string& bytes, unsigned encoding) {
    if (encoding == kREALEncodingUTF8) return FromUTF8(bytes);
    if (encoding == kREALEncodingUTF16) return FromUnits<std::uint16_t>(bytes);
    if (encoding == kREALEncodingUTF32) return FromUnits<std::uint32_t>(bytes);
    CodePoints points;
    for (const char byte : bytes) {
        const unsigned value = static_cast<unsigned char>(byte);
        points.push_back(value < 0x80 ? value : encoding == kREALEncodingMacRoman ? MacRoman()[value - 0x80] : '?');
    }
    return points;
}

std::string Encode(const CodePoints& points, unsigned encoding) {
    if (encoding == kREALEncodingUTF8) return ToUTF8(points);
    if (encoding == kREALEncodingUTF16) return ToUnits<std::uint16_t>(points);
    if (encoding == kREALEncodingUTF32) return ToUnits<std::uint32_t>(points);
    std::string bytes;
    for (const std::uint32_t point : points) {
        char byte = point < 0x80 ? static_cast<char>(point) : '?';
        for (std::size_t i = 0; encoding == kREALEncodingMacRoman && i < MacRoman().size(); ++i) {
            if (MacRoman()[i] == point) byte = static_cast<char>(i + 0x80);
        }
        bytes += byte;
    }
    return bytes;
}

}  // namespace

std::string ConvertText(const std::string& bytes, unsigned from, unsigned to) {
    if (from == to || from == kREALEncodingBytes || to == kREALEncodingBytes) return bytes;
    return Encode(Decode(bytes, from), to);
}
