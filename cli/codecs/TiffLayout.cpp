#include "codecs/TiffLayout.h"

#include <algorithm>

#include "codecs/Samples.h"

namespace {

struct NameRow {
    int number;
    const char* name;
};

constexpr NameRow kCompressions[] = {{COMPRESSION_NONE, "not compressed"},
                                     {COMPRESSION_CCITTRLE, "CCITT run lengths"},
                                     {COMPRESSION_CCITTFAX3, "CCITT fax 3"},
                                     {COMPRESSION_CCITTFAX4, "CCITT fax 4"},
                                     {COMPRESSION_LZW, "LZW"},
                                     {COMPRESSION_OJPEG, "old-style JPEG"},
                                     {COMPRESSION_JPEG, "JPEG"},
                                     {COMPRESSION_ADOBE_DEFLATE, "deflate"},
                                     {COMPRESSION_DEFLATE, "deflate"},
                                     {COMPRESSION_PACKBITS, "PackBits"},
                                     {COMPRESSION_JP2000, "JPEG 2000"},
                                     {COMPRESSION_LERC, "LERC"},
                                     {COMPRESSION_LZMA, "LZMA"},
                                     {COMPRESSION_ZSTD, "Zstandard"},
                                     {COMPRESSION_WEBP, "WebP"},
                                     {COMPRESSION_JBIG, "JBIG"}};

constexpr NameRow kMeanings[] = {{PHOTOMETRIC_MASK, "a transparency mask"}, {PHOTOMETRIC_CIELAB, "CIE Lab"},
                                 {PHOTOMETRIC_ICCLAB, "ICC Lab"},           {PHOTOMETRIC_ITULAB, "ITU Lab"},
                                 {PHOTOMETRIC_CFA, "raw sensor data"},      {PHOTOMETRIC_LOGL, "logarithmic luminance"},
                                 {PHOTOMETRIC_LOGLUV, "logarithmic Luv"}};

template <std::size_t kCount>
std::string NameOf(const NameRow (&rows)[kCount], int number, const char* what) {
    for (const NameRow& row : rows)
        if (row.number == number) return row.name;
    return what + std::string(" ") + std::to_string(number);
}

std::uint16_t Number(TIFF* tiff, std::uint32_t tag, std::uint16_t fallback) {
    std::uint16_t value = 0;
    return TIFFGetFieldDefaulted(tiff, tag, &value) == 1 ? value : fallback;
}

void Add(std::string* list, const std::string& text) {
    *list += (list->empty() ? "" : ", ") + text;
}

std::string CheckSampleFormat(TIFF* tiff, int bits) {
    switch (Number(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT)) {
        case SAMPLEFORMAT_UINT:
        case SAMPLEFORMAT_VOID:
            break;
        case SAMPLEFORMAT_INT:
            return "samples with a sign";
        case SAMPLEFORMAT_IEEEFP:
            return "floating-point samples";
        default:
            return "complex samples";
    }
    return bits < 1 || bits > 16 ? std::to_string(bits) + " bits a channel" : "";
}

// The first channel that the file marks as alpha; where it marks none at all, the one behind the colours.
void FindAlpha(TIFF* tiff, TiffLayout* layout) {
    TiffSamples& samples = layout->samples;
    const int extra = samples.samples - samples.colours;
    if (extra == 0) return;
    std::uint16_t count = 0;
    std::uint16_t* types = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &count, &types) != 1) {
        samples.alphaAt = samples.colours;
    } else {
        for (int i = 0; i < std::min<int>(count, extra) && samples.alphaAt < 0; ++i) {
            if (types[i] != EXTRASAMPLE_ASSOCALPHA && types[i] != EXTRASAMPLE_UNASSALPHA) continue;
            samples.alphaAt = samples.colours + i;
            samples.associated = types[i] == EXTRASAMPLE_ASSOCALPHA;
        }
    }
    // The program has no CMYK with alpha.
    if (samples.kind == PixelKind::CMYK) samples.alphaAt = -1;
    if (samples.alphaAt < 0) samples.associated = false;
    if (samples.associated) Add(&layout->storage, "associated alpha");
    const int unused = extra - (samples.alphaAt >= 0 ? 1 : 0);
    if (unused > 0)
        Add(&layout->remark,
            std::to_string(unused) + (unused == 1 ? " further channel is left out" : " further channels are left out"));
    if (samples.alphaAt < 0) return;
    samples.kind = samples.kind == PixelKind::Gray ? PixelKind::GrayAlpha : PixelKind::RGBA;
}

std::string ReadPalette(TIFF* tiff, TiffLayout* layout) {
    TiffSamples& samples = layout->samples;
    std::uint16_t* parts[3] = {};
    if (samples.bits > 8) return "a palette of " + std::to_string(samples.bits) + " bits";
    if (TIFFGetField(tiff, TIFFTAG_COLORMAP, &parts[0], &parts[1], &parts[2]) != 1) return "a palette without colours";
    const std::size_t count = std::size_t{1} << samples.bits;
    // Entries have 16 bits, of which some programs fill the lower 8 only.
    bool wide = false;
    for (const std::uint16_t* part : parts)
        wide = wide || std::any_of(part, part + count, [](std::uint16_t entry) { return entry > 255; });
    samples.palette.resize(count);
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t c = 0; c < 3; ++c) samples.palette[i][c] = SampleIn8Bits(parts[c][i], wide ? 65535 : 255);
    samples.kind = PixelKind::RGB;
    Add(&layout->storage, "palette of " + std::to_string(count));
    return {};
}

// What files without the tag most likely mean.
int GuessMeaning(TIFF* tiff, int samples, int compression, TiffLayout* layout) {
    std::uint16_t meaning = PHOTOMETRIC_MINISBLACK;
    if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &meaning) == 1) return meaning;
    const bool fax = compression == COMPRESSION_CCITTRLE || compression == COMPRESSION_CCITTFAX3 ||
                     compression == COMPRESSION_CCITTFAX4;
    Add(&layout->remark, "the file does not say what its channels are; they are taken for " +
                             std::string(samples >= 3 ? "RGB" : "gray"));
    return samples >= 3 ? PHOTOMETRIC_RGB : fax ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_MINISBLACK;
}

std::string ReadMeaning(TIFF* tiff, int compression, TiffLayout* layout) {
    TiffSamples& samples = layout->samples;
    const int meaning = GuessMeaning(tiff, samples.samples, compression, layout);
    switch (meaning) {
        case PHOTOMETRIC_MINISWHITE:
            samples.whiteIsZero = true;
            Add(&layout->storage, "0 is white");
            break;
        case PHOTOMETRIC_MINISBLACK:
            break;
        case PHOTOMETRIC_PALETTE:
            return ReadPalette(tiff, layout);
        case PHOTOMETRIC_YCBCR:
            if (compression != COMPRESSION_JPEG) return "YCbCr that is not compressed as JPEG";
            if (samples.planes) return "YCbCr in planes";
            TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
            Add(&layout->storage, "YCbCr");
            [[fallthrough]];
        case PHOTOMETRIC_RGB:
            samples.kind = PixelKind::RGB;
            samples.colours = 3;
            break;
        case PHOTOMETRIC_SEPARATED:
            if (Number(tiff, TIFFTAG_INKSET, INKSET_CMYK) != INKSET_CMYK)
                return std::to_string(samples.samples) + " inks that are not CMYK";
            samples.kind = PixelKind::CMYK;
            samples.colours = 4;
            break;
        default:
            return NameOf(kMeanings, meaning, "the photometric interpretation");
    }
    if (samples.samples < samples.colours)
        return std::to_string(samples.samples) + " channels for " + Describe(samples.kind).name;
    return {};
}

}  // namespace

std::string ReadTiffLayout(TIFF* tiff, TiffLayout* layout) {
    TiffSamples& samples = layout->samples;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    if (width == 0 || height == 0) return "a picture without pixels";
    layout->width = width;
    layout->height = height;
    samples.bits = Number(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    samples.samples = Number(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    // Those of instruments have some hundreds. With more, a file of a few bytes could keep a machine busy for hours.
    constexpr int kMaxSamples = 512;
    if (samples.samples > kMaxSamples) return std::to_string(samples.samples) + " samples a pixel";
    samples.planes = Number(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
    // One plane is all of the pixel.
    if (samples.samples == 1) samples.planes = false;

    const int compression = Number(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    const std::string compressed = NameOf(kCompressions, compression, "compression");
    if (TIFFIsCODECConfigured(static_cast<std::uint16_t>(compression)) == 0 || compression == COMPRESSION_OJPEG)
        return compressed;
    if (std::string problem = CheckSampleFormat(tiff, samples.bits); !problem.empty()) return problem;
    if (std::string problem = ReadMeaning(tiff, compression, layout); !problem.empty()) return problem;
    FindAlpha(tiff, layout);

    Add(&layout->storage, compressed);
    if (samples.planes) Add(&layout->storage, "planes");
    if (TIFFIsTiled(tiff) != 0) {
        std::uint32_t tileWidth = 0;
        std::uint32_t tileHeight = 0;
        TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tileWidth);
        TIFFGetField(tiff, TIFFTAG_TILELENGTH, &tileHeight);
        if (tileWidth == 0 || tileHeight == 0) return "tiles without a size";
        layout->tileWidth = tileWidth;
        layout->tileHeight = tileHeight;
        Add(&layout->storage, "tiles of " + std::to_string(tileWidth) + " x " + std::to_string(tileHeight));
    }
    if (TIFFIsBigTIFF(tiff) != 0) Add(&layout->storage, "BigTIFF");
    return {};
}
