#pragma once
// Picture files made and read back by the tests themselves, whole files at a time and with the codec libraries alone.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Pixels of 8 bits a channel, rows one behind the other.
struct Pixels {
    int width = 0;
    int height = 0;
    int channels = 0;
    std::vector<std::uint8_t> bytes;

    [[nodiscard]] std::uint8_t At(int x, int y, int c) const {
        return bytes[static_cast<std::size_t>((y * width + x) * channels + c)];
    }
    friend bool operator==(const Pixels&, const Pixels&) = default;
};

// One channel of the pixels, as a picture of its own.
Pixels Channel(const Pixels& pixels, int channel);

// Noise with flat areas and a ramp; the same for the same arguments.
Pixels MakePixels(int width, int height, int channels, unsigned seed);

// A profile as small as libpng accepts, for such a data colour space: "RGB ", "GRAY" or "CMYK".
std::vector<std::uint8_t> MakeProfile(const std::string& space, const std::string& name = "Test profile");

struct PngFile {
    int width = 0;
    int height = 0;
    int colourType = 0;  // a PNG_COLOR_TYPE
    int bitDepth = 8;
    bool interlaced = false;
    std::vector<std::uint16_t> samples;  // row by row, whatever the bit depth
    std::vector<std::array<std::uint8_t, 3>> palette;
    std::vector<std::uint8_t> paletteAlpha;                   // tRNS of a palette
    std::optional<std::array<std::uint16_t, 3>> clearColour;  // tRNS of the others; gray in the first
    std::vector<std::uint8_t> profile;
    std::optional<int> srgbIntent;
    std::optional<std::int32_t> gamma;
    std::optional<std::array<std::uint32_t, 3>> density;  // x, y, unit (1: per metre)
};

void SavePng(const std::string& path, const PngFile& file);
PngFile LoadPng(const std::string& path);  // raw samples, nothing expanded; throws for a file that is none

// The plain 8-bit file of such pixels, and what a file of 8-bit gray, RGB or either with alpha holds.
PngFile PlainPng(const Pixels& pixels);
Pixels PixelsOf(const PngFile& file);

// What the samples mean, in 8 bits a channel, by the definition of the format.
Pixels Expand(const PngFile& file);

struct JpegFile {
    Pixels pixels;        // gray, RGB or CMYK as libjpeg gives it, which for Adobe's files is inverted
    int colourSpace = 0;  // J_COLOR_SPACE in the file; 0: libjpeg's choice
    int quality = 95;
    bool progressive = false;
    bool arithmetic = false;  // written only, instead of Huffman's codes
    bool adobe = true;  // writes the marker where libjpeg would
    std::vector<std::uint8_t> profile;
    std::array<int, 3> density{0, 1, 1};  // unit (0: shape, 1: inch, 2: centimetre), x, y
    std::vector<std::uint8_t> exif;
    bool jfif = true;
    bool sawAdobe = false;  // read back only, like the next
    std::array<int, 2> sampling{1, 1};
};

void SaveJpeg(const std::string& path, const JpegFile& file);
JpegFile LoadJpeg(const std::string& path);  // throws for a file that is none or is damaged
