#include <png.h>

#include <cstdio>
#include <memory>
#include <stdexcept>

#include "TestPictures.h"

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

[[noreturn]] void Throw(png_structp, png_const_charp text) {
    throw std::runtime_error(text);
}
void Ignore(png_structp, png_const_charp) {}

int Channels(int colourType) {
    switch (colourType) {
        case PNG_COLOR_TYPE_GRAY_ALPHA:
            return 2;
        case PNG_COLOR_TYPE_RGB:
            return 3;
        case PNG_COLOR_TYPE_RGB_ALPHA:
            return 4;
        default:
            return 1;
    }
}

// The samples of one row as the format packs them.
std::vector<std::uint8_t> PackRow(const PngFile& file, int y) {
    const int count = file.width * Channels(file.colourType);
    std::vector<std::uint8_t> row(static_cast<std::size_t>((count * file.bitDepth + 7) / 8), 0);
    for (int i = 0; i < count; ++i) {
        const unsigned sample = file.samples[static_cast<std::size_t>(y * count + i)];
        if (file.bitDepth == 16) {
            row[static_cast<std::size_t>(2 * i)] = static_cast<std::uint8_t>(sample >> 8);
            row[static_cast<std::size_t>(2 * i + 1)] = static_cast<std::uint8_t>(sample & 255U);
        } else {
            const int bit = i * file.bitDepth;
            auto& byte = row[static_cast<std::size_t>(bit / 8)];
            byte = static_cast<std::uint8_t>(byte | sample << (8 - file.bitDepth - bit % 8));
        }
    }
    return row;
}

void UnpackRow(PngFile& file, const std::uint8_t* row) {
    const int count = file.width * Channels(file.colourType);
    for (int i = 0; i < count; ++i) {
        unsigned sample = 0;
        if (file.bitDepth == 16) {
            sample = static_cast<unsigned>(row[2 * i] << 8 | row[2 * i + 1]);
        } else {
            const int bit = i * file.bitDepth;
            sample = static_cast<unsigned>(row[bit / 8] >> (8 - file.bitDepth - bit % 8)) & ((1U << file.bitDepth) - 1);
        }
        file.samples.push_back(static_cast<std::uint16_t>(sample));
    }
}

}  // namespace

void SavePng(const std::string& path, const PngFile& file) {
    const File stream(std::fopen(path.c_str(), "wb"), std::fclose);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, Throw, Ignore);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, stream.get());
    png_set_IHDR(png, info, static_cast<png_uint_32>(file.width), static_cast<png_uint_32>(file.height), file.bitDepth,
                 file.colourType, file.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    std::vector<png_color> palette;
    for (const auto& colour : file.palette) palette.push_back({colour[0], colour[1], colour[2]});
    if (!palette.empty()) png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
    if (!file.paletteAlpha.empty())
        png_set_tRNS(png, info, file.paletteAlpha.data(), static_cast<int>(file.paletteAlpha.size()), nullptr);
    if (file.clearColour) {
        png_color_16 colour{};
        colour.gray = colour.red = (*file.clearColour)[0];
        colour.green = (*file.clearColour)[1];
        colour.blue = (*file.clearColour)[2];
        png_set_tRNS(png, info, nullptr, 0, &colour);
    }
    if (!file.profile.empty())
        png_set_iCCP(png, info, "test", 0, file.profile.data(), static_cast<png_uint_32>(file.profile.size()));
    if (file.srgbIntent) png_set_sRGB(png, info, *file.srgbIntent);
    if (file.gamma) png_set_gAMA_fixed(png, info, *file.gamma);
    if (file.density)
        png_set_pHYs(png, info, (*file.density)[0], (*file.density)[1], static_cast<int>((*file.density)[2]));
    std::vector<std::vector<std::uint8_t>> rows;
    std::vector<png_bytep> pointers;
    for (int y = 0; y < file.height; ++y) rows.push_back(PackRow(file, y));
    for (auto& row : rows) pointers.push_back(row.data());
    png_set_rows(png, info, pointers.data());
    png_write_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    png_destroy_write_struct(&png, &info);
}

PngFile LoadPng(const std::string& path) {
    const File stream(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!stream) throw std::runtime_error(path + " does not open");
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, Throw, Ignore);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, stream.get());
    png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);

    PngFile file;
    file.width = static_cast<int>(png_get_image_width(png, info));
    file.height = static_cast<int>(png_get_image_height(png, info));
    file.colourType = png_get_color_type(png, info);
    file.bitDepth = png_get_bit_depth(png, info);
    file.interlaced = png_get_interlace_type(png, info) != PNG_INTERLACE_NONE;
    png_bytepp rows = png_get_rows(png, info);
    for (int y = 0; y < file.height; ++y) UnpackRow(file, rows[y]);

    png_charp name = nullptr;
    png_bytep profile = nullptr;
    png_uint_32 size = 0;
    png_uint_32 densityX = 0;
    png_uint_32 densityY = 0;
    png_fixed_point gamma = 0;
    int number = 0;
    if (png_get_iCCP(png, info, &name, &number, &profile, &size) != 0) file.profile.assign(profile, profile + size);
    if (png_get_sRGB(png, info, &number) != 0) file.srgbIntent = number;
    if (png_get_gAMA_fixed(png, info, &gamma) != 0) file.gamma = gamma;
    if (png_get_pHYs(png, info, &densityX, &densityY, &number) != 0)
        file.density = {densityX, densityY, static_cast<std::uint32_t>(number)};
    png_destroy_read_struct(&png, &info, nullptr);
    return file;
}

PngFile PlainPng(const Pixels& pixels) {
    static constexpr int kTypes[] = {0, PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                                     PNG_COLOR_TYPE_RGB_ALPHA};
    PngFile file;
    file.width = pixels.width;
    file.height = pixels.height;
    file.colourType = kTypes[pixels.channels];
    file.samples.assign(pixels.bytes.begin(), pixels.bytes.end());
    return file;
}

Pixels PixelsOf(const PngFile& file) {
    if (file.bitDepth != 8 || file.colourType == PNG_COLOR_TYPE_PALETTE) throw std::runtime_error("no plain PNG");
    Pixels pixels{file.width, file.height, Channels(file.colourType), {}};
    for (const std::uint16_t sample : file.samples) pixels.bytes.push_back(static_cast<std::uint8_t>(sample));
    return pixels;
}

Pixels Expand(const PngFile& file) {
    const unsigned most = (1U << file.bitDepth) - 1;
    const int channels = Channels(file.colourType);
    const bool palette = file.colourType == PNG_COLOR_TYPE_PALETTE;
    const bool addsAlpha = palette ? !file.paletteAlpha.empty() : file.clearColour.has_value();
    Pixels pixels{file.width, file.height, (palette ? 3 : channels) + (addsAlpha ? 1 : 0), {}};
    for (std::size_t i = 0; i < file.samples.size(); i += static_cast<std::size_t>(channels)) {
        if (palette) {
            const std::uint16_t index = file.samples[i];
            for (const std::uint8_t byte : file.palette[index]) pixels.bytes.push_back(byte);
            if (addsAlpha) pixels.bytes.push_back(index < file.paletteAlpha.size() ? file.paletteAlpha[index] : 255);
            continue;
        }
        bool clear = true;
        for (std::size_t c = 0; c < static_cast<std::size_t>(channels); ++c) {
            const unsigned sample = file.samples[i + c];
            // The nearest of 256 steps; halves do not occur.
            pixels.bytes.push_back(static_cast<std::uint8_t>((sample * 255U * 2 + most) / (most * 2)));
            clear = clear && file.clearColour && sample == (*file.clearColour)[c];
        }
        if (addsAlpha) pixels.bytes.push_back(clear ? 0 : 255);
    }
    return pixels;
}
