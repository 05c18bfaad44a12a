#include "CorpusBytes.h"

#include <zlib.h>

#include <algorithm>
#include <map>
#include <stdexcept>

std::string Big(std::uint64_t value, int bytes) {
    std::string text;
    for (int i = bytes - 1; i >= 0; --i) text += static_cast<char>(value >> (8 * i) & 255U);
    return text;
}

std::string Little(std::uint64_t value, int bytes) {
    std::string text = Big(value, bytes);
    std::reverse(text.begin(), text.end());
    return text;
}

std::string Packed(const std::string& bytes) {
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    std::string packed(size, '\0');
    compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()),
              static_cast<uLong>(bytes.size()), 9);
    packed.resize(size);
    return packed;
}

std::string PackedZeros(std::size_t count) {
    return Packed(std::string(count, '\0'));
}

std::string Patched(const std::string& whole, const std::string& found, std::size_t behind, const std::string& bytes) {
    const std::size_t at = whole.find(found);
    if (at == std::string::npos) throw std::runtime_error("there is nothing to patch");
    std::string patched = whole;
    return patched.replace(at + behind, bytes.size(), bytes);
}

std::string PngChunk(const std::string& name, const std::string& data) {
    const std::string summed = name + data;
    const uLong sum = crc32(0, reinterpret_cast<const Bytef*>(summed.data()), static_cast<uInt>(summed.size()));
    return Big(data.size(), 4) + summed + Big(sum, 4);
}

std::string PngHead(std::uint32_t width, std::uint32_t height, int depth, int colourType, int interlace) {
    return PngChunk("IHDR", Big(width, 4) + Big(height, 4) + static_cast<char>(depth) + static_cast<char>(colourType) +
                                std::string(2, '\0') + static_cast<char>(interlace));
}

std::string PngOf(const std::string& chunks) {
    return "\x89PNG\r\n\x1A\n" + chunks;
}

std::string TiffOf(const std::vector<TiffEntry>& entries, const std::string& data, std::uint32_t next) {
    std::string bytes = "II*" + std::string(1, '\0') + Little(8, 4) + Little(entries.size(), 2);
    for (const TiffEntry& entry : entries)
        bytes += Little(static_cast<std::uint64_t>(entry.tag), 2) + Little(static_cast<std::uint64_t>(entry.type), 2) +
                 Little(entry.count, 4) + Little(entry.value, 4);
    bytes += Little(next, 4);
    bytes.resize(kTiffData, '\0');
    return bytes + data;
}

std::vector<TiffEntry> GrayTags(std::uint32_t width, std::uint32_t height, const std::vector<TiffEntry>& others) {
    std::map<int, TiffEntry> tags;
    const std::uint64_t bytes = std::uint64_t{width} * height;
    for (const TiffEntry& entry : std::vector<TiffEntry>{{256, 4, 1, width},
                                                         {257, 4, 1, height},
                                                         {258, 3, 1, 8},
                                                         {259, 3, 1, 1},
                                                         {262, 3, 1, 1},
                                                         {273, 4, 1, kTiffData},
                                                         {277, 3, 1, 1},
                                                         {278, 4, 1, height},
                                                         {279, 4, 1, bytes}})
        tags[entry.tag] = entry;
    for (const TiffEntry& entry : others) tags[entry.tag] = entry;
    std::vector<TiffEntry> list;
    for (const auto& [tag, entry] : tags)
        if (entry.type != 0) list.push_back(entry);
    return list;
}

std::string WebpChunk(const std::string& name, const std::string& data) {
    return name + Little(data.size(), 4) + data + std::string(data.size() % 2, '\0');
}

std::string WebpOf(const std::string& chunks) {
    return "RIFF" + Little(chunks.size() + 4, 4) + "WEBP" + chunks;
}
