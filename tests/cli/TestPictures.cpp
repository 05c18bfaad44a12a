#include "TestPictures.h"

#include <cstring>
#include <random>

Pixels Channel(const Pixels& pixels, int channel) {
    Pixels one{pixels.width, pixels.height, 1, {}};
    for (std::size_t i = static_cast<std::size_t>(channel); i < pixels.bytes.size();
         i += static_cast<std::size_t>(pixels.channels))
        one.bytes.push_back(pixels.bytes[i]);
    return one;
}

Pixels MakePixels(int width, int height, int channels, unsigned seed) {
    std::mt19937 random(seed);
    Pixels pixels{width, height, channels, {}};
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < channels; ++c) {
                const int part = (x / 8 + y / 8 + c) % 3;
                const unsigned value = part == 0   ? static_cast<unsigned>(random() & 255U)
                                       : part == 1 ? static_cast<unsigned>(c * 70 + 20)
                                                   : static_cast<unsigned>(x * 3 + y * 5 + c * 11);
                pixels.bytes.push_back(static_cast<std::uint8_t>(value & 255U));
            }
    return pixels;
}

std::vector<std::uint8_t> MakeProfile(const std::string& space, const std::string& name) {
    std::vector<std::uint8_t> bytes(128 + 4 + 12, 0);
    const auto number = [&bytes](std::size_t at, std::uint32_t value) {
        for (std::size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
    };
    const auto text = [&bytes](std::size_t at, const char* letters) { std::memcpy(bytes.data() + at, letters, 4); };
    number(8, 0x02400000);  // version 2.4
    text(12, space == "CMYK" ? "prtr" : "mntr");
    text(16, space.c_str());
    text(20, space == "CMYK" ? "Lab " : "XYZ ");
    text(36, "acsp");
    number(68, 0xF6D6);  // the white of the connection space
    number(72, 0x10000);
    number(76, 0xD32D);
    number(128, 1);
    text(132, "desc");
    number(136, 144);
    std::vector<std::uint8_t> tag(12, 0);
    std::memcpy(tag.data(), "desc", 4);
    tag[11] = static_cast<std::uint8_t>(name.size() + 1);
    tag.insert(tag.end(), name.begin(), name.end());
    tag.resize((tag.size() + 1 + 3) / 4 * 4, 0);
    number(140, static_cast<std::uint32_t>(tag.size()));
    bytes.insert(bytes.end(), tag.begin(), tag.end());
    // libpng takes a profile that compresses to less than 92 bytes for a damaged one.
    std::mt19937 random(1);
    for (int i = 0; i < 200; ++i) bytes.push_back(static_cast<std::uint8_t>(random()));
    number(0, static_cast<std::uint32_t>(bytes.size()));
    return bytes;
}
