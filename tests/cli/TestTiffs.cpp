#include "TestTiffs.h"

#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace {

struct Close {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Handle = std::unique_ptr<TIFF, Close>;

void Must(bool good) {
    if (!good) throw std::runtime_error("libtiff fails");
}

int Colours(int photometric) {
    return photometric == PHOTOMETRIC_SEPARATED                                 ? 4
           : photometric == PHOTOMETRIC_RGB || photometric == PHOTOMETRIC_YCBCR ? 3
                                                                                : 1;
}

// A part of the picture as the format packs it: rows padded to bytes, samples from the highest bit on. What lies
// outside the picture, as in tiles at its edges, is 0.
std::vector<std::uint8_t> Pack(const TiffFile& file, int x0, int y0, int width, int height, int plane) {
    std::vector<std::uint8_t> bytes;
    for (int y = y0; y < y0 + height; ++y) {
        std::vector<std::uint16_t> row;
        for (int x = x0; x < x0 + width; ++x)
            for (int s = 0; s < file.samples; ++s) {
                if (file.planes && s != plane) continue;
                const bool inside = x < file.width && y < file.height;
                row.push_back(inside ? file.values[static_cast<std::size_t>((y * file.width + x) * file.samples + s)]
                                     : std::uint16_t{0});
            }
        const std::size_t start = bytes.size();
        const std::size_t rowBytes = (row.size() * static_cast<std::size_t>(file.bits) + 7) / 8;
        bytes.resize(start + rowBytes, 0);
        std::uint8_t* const packed = bytes.data() + start;
        if (file.bits == 16) {
            std::memcpy(packed, row.data(), rowBytes);  // libtiff turns them into the order of the file
        } else {
            for (std::size_t i = 0; i < row.size() * static_cast<std::size_t>(file.bits); ++i) {
                const std::size_t sample = i / static_cast<std::size_t>(file.bits);
                const int bit = file.bits - 1 - static_cast<int>(i % static_cast<std::size_t>(file.bits));
                if ((row[sample] >> bit & 1) != 0)
                    packed[i / 8] = static_cast<std::uint8_t>(packed[i / 8] | 0x80 >> i % 8);
            }
        }
    }
    return bytes;
}

void SetTags(TIFF* tiff, const TiffFile& file) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, file.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, file.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, file.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, file.samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, file.photometric);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, file.compression);
    if (file.predictor != 1) TIFFSetField(tiff, TIFFTAG_PREDICTOR, file.predictor);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, file.planes ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    if (file.compression == COMPRESSION_JPEG && file.photometric == PHOTOMETRIC_YCBCR)
        TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    if (file.tileWidth > 0) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, file.tileWidth);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, file.tileHeight);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, file.rowsPerStrip);
    }
    if (!file.extras.empty() && file.tellsExtras)
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, static_cast<int>(file.extras.size()), file.extras.data());
    if (!file.palette.empty()) {
        std::array<std::vector<std::uint16_t>, 3> parts;
        for (const auto& colour : file.palette)
            for (std::size_t c = 0; c < 3; ++c) parts[c].push_back(colour[c]);
        TIFFSetField(tiff, TIFFTAG_COLORMAP, parts[0].data(), parts[1].data(), parts[2].data());
    }
    if (!file.profile.empty())
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(file.profile.size()), file.profile.data());
    if (file.orientation != 0) TIFFSetField(tiff, TIFFTAG_ORIENTATION, file.orientation);
    if (file.unit != 0) {
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, file.unit);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, file.x);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, file.y);
    }
}

void WritePixels(TIFF* tiff, const TiffFile& file) {
    for (int plane = 0; plane < (file.planes ? file.samples : 1); ++plane) {
        const auto sample = static_cast<std::uint16_t>(plane);
        if (file.tileWidth > 0) {
            for (int y = 0; y < file.height; y += file.tileHeight)
                for (int x = 0; x < file.width; x += file.tileWidth) {
                    auto bytes = Pack(file, x, y, file.tileWidth, file.tileHeight, plane);
                    const auto number =
                        TIFFComputeTile(tiff, static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), 0, sample);
                    Must(TIFFWriteEncodedTile(tiff, number, bytes.data(), static_cast<tmsize_t>(bytes.size())) > 0);
                }
            continue;
        }
        for (int y = 0; y < file.height; y += file.rowsPerStrip) {
            auto bytes = Pack(file, 0, y, file.width, std::min(file.rowsPerStrip, file.height - y), plane);
            const auto number = TIFFComputeStrip(tiff, static_cast<std::uint32_t>(y), sample);
            Must(TIFFWriteEncodedStrip(tiff, number, bytes.data(), static_cast<tmsize_t>(bytes.size())) > 0);
        }
    }
}

std::uint8_t Level(double part) {
    return static_cast<std::uint8_t>(std::floor(255 * part + 0.5));
}

}  // namespace

void SaveTiff(const std::string& path, const TiffFile& file) {
    const std::string mode = std::string("w") + (file.bigEndian ? "b" : "l") + (file.big ? "8" : "4");
    const Handle tiff(TIFFOpen(path.c_str(), mode.c_str()));
    Must(tiff != nullptr);
    for (int page = 0; page < file.pages; ++page) {
        SetTags(tiff.get(), file);
        WritePixels(tiff.get(), file);
        Must(TIFFWriteDirectory(tiff.get()) == 1);
    }
}

TiffFile LoadTiff(const std::string& path) {
    const Handle handle(TIFFOpen(path.c_str(), "r"));
    if (!handle) throw std::runtime_error(path + " does not open");
    TIFF* tiff = handle.get();
    TiffFile file;
    const auto number = [tiff](std::uint32_t tag, int fallback) {
        std::uint16_t value = 0;
        return TIFFGetField(tiff, tag, &value) == 1 ? value : fallback;
    };
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t rows = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetField(tiff, TIFFTAG_ROWSPERSTRIP, &rows);
    file.width = static_cast<int>(width);
    file.height = static_cast<int>(height);
    file.rowsPerStrip = static_cast<int>(rows);
    file.samples = number(TIFFTAG_SAMPLESPERPIXEL, 1);
    file.bits = number(TIFFTAG_BITSPERSAMPLE, 1);
    file.photometric = number(TIFFTAG_PHOTOMETRIC, -1);
    file.compression = number(TIFFTAG_COMPRESSION, 1);
    file.predictor = number(TIFFTAG_PREDICTOR, 1);
    file.planes = number(TIFFTAG_PLANARCONFIG, 1) == PLANARCONFIG_SEPARATE;
    file.orientation = number(TIFFTAG_ORIENTATION, 0);
    file.bigEndian = TIFFIsBigEndian(tiff) != 0;
    file.big = TIFFIsBigTIFF(tiff) != 0;
    file.pages = TIFFNumberOfDirectories(tiff);
    Must(TIFFSetDirectory(tiff, 0) == 1);
    std::uint16_t extras = 0;
    std::uint16_t* types = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &extras, &types) == 1) file.extras.assign(types, types + extras);
    std::uint32_t size = 0;
    std::uint8_t* profile = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &size, &profile) == 1) file.profile.assign(profile, profile + size);
    float x = 0;
    float y = 0;
    if (TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &x) == 1 && TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &y) == 1) {
        file.unit = number(TIFFTAG_RESOLUTIONUNIT, 2);
        file.x = x;
        file.y = y;
    }
    Must(file.bits == 8 && !file.planes && TIFFIsTiled(tiff) == 0);
    if (file.photometric == PHOTOMETRIC_YCBCR) TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    std::vector<std::uint8_t> row(static_cast<std::size_t>(TIFFScanlineSize(tiff)));
    for (std::uint32_t i = 0; i < height; ++i) {
        Must(TIFFReadScanline(tiff, row.data(), i) == 1);
        file.values.insert(file.values.end(), row.begin(), row.end());
    }
    return file;
}

TiffFile PlainTiff(const Pixels& pixels, bool inks) {
    TiffFile file;
    file.width = pixels.width;
    file.height = pixels.height;
    file.samples = pixels.channels;
    file.photometric = inks ? PHOTOMETRIC_SEPARATED : pixels.channels >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    if (pixels.channels > Colours(file.photometric)) file.extras = {EXTRASAMPLE_UNASSALPHA};
    file.values.assign(pixels.bytes.begin(), pixels.bytes.end());
    return file;
}

Pixels PixelsOf(const TiffFile& file) {
    if (file.bits != 8) throw std::runtime_error("no 8-bit TIFF");
    Pixels pixels{file.width, file.height, file.samples, {}};
    for (const std::uint16_t value : file.values) pixels.bytes.push_back(static_cast<std::uint8_t>(value));
    return pixels;
}

Pixels Expand(const TiffFile& file) {
    const int colours = Colours(file.photometric);
    const double most = (1 << file.bits) - 1;
    int alphaAt = -1;
    bool associated = false;
    for (std::size_t i = 0; i < file.extras.size() && alphaAt < 0 && colours != 4; ++i)
        if (file.extras[i] != EXTRASAMPLE_UNSPECIFIED || !file.tellsExtras) {
            alphaAt = colours + static_cast<int>(i);
            associated = file.extras[i] == EXTRASAMPLE_ASSOCALPHA && file.tellsExtras;
        }
    Pixels pixels{file.width, file.height, (file.palette.empty() ? colours : 3) + (alphaAt >= 0 ? 1 : 0), {}};
    for (std::size_t i = 0; i < file.values.size(); i += static_cast<std::size_t>(file.samples)) {
        const auto value = [&](int sample) { return file.values[i + static_cast<std::size_t>(sample)]; };
        std::vector<double> parts;  // of full colour, 0 to 1
        if (!file.palette.empty())
            for (const std::uint16_t entry : file.palette[value(0)]) parts.push_back(entry / 65535.0);
        else
            for (int c = 0; c < colours; ++c)
                parts.push_back(file.photometric == PHOTOMETRIC_MINISWHITE ? (most - value(c)) / most
                                                                           : value(c) / most);
        const double alpha = alphaAt >= 0 ? value(alphaAt) / most : 1;
        // Samples that come plane by plane, and colours out of palettes, are divided after they got their 8 bits.
        const bool late = file.planes || !file.palette.empty();
        for (const double part : parts) {
            if (!associated) {
                pixels.bytes.push_back(Level(part));
            } else if (alpha == 0 || (late && Level(alpha) == 0)) {
                pixels.bytes.push_back(0);
            } else if (late) {
                pixels.bytes.push_back(Level(std::min(1.0, static_cast<double>(Level(part)) / Level(alpha))));
            } else {
                pixels.bytes.push_back(Level(std::min(1.0, std::round(part * most) / std::round(alpha * most))));
            }
        }
        if (alphaAt >= 0) pixels.bytes.push_back(Level(alpha));
    }
    return pixels;
}
