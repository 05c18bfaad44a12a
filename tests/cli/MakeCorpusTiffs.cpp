// The TIFF files of the corpus.

#include <tiffio.h>

#include <filesystem>

#include "CorpusBytes.h"
#include "TestTiffs.h"
#include "ZorTest.h"

namespace {

std::string root;  // with a slash at its end

void Save(const std::string& name, const std::string& bytes) {
    WriteFile(root + name + ".tif", bytes);
}

std::uint16_t Value(int x, int y, int sample, int bits) {
    return static_cast<std::uint16_t>((x * 4051 + y * 977 + sample * 331 + x * y * 77) >> (bits == 16 ? 0 : 3) &
                                      ((1 << bits) - 1));
}

TiffFile Small(int photometric, int samples, int bits) {
    TiffFile file;
    file.width = 13;
    file.height = 9;
    file.photometric = photometric;
    file.samples = samples;
    file.bits = bits;
    for (int y = 0; y < file.height; ++y)
        for (int x = 0; x < file.width; ++x)
            for (int s = 0; s < samples; ++s) file.values.push_back(Value(x, y, s, bits));
    for (int i = 0; photometric == PHOTOMETRIC_PALETTE && i < 1 << bits; ++i)
        file.palette.push_back({static_cast<std::uint16_t>(i * 200), 0xFFFF, static_cast<std::uint16_t>(9 * i)});
    return file;
}

void SaveFormats() {
    for (const int bits : {1, 2, 4, 8, 16}) {
        SaveTiff(root + "gray" + std::to_string(bits) + ".tif", Small(PHOTOMETRIC_MINISBLACK, 1, bits));
        SaveTiff(root + "ink" + std::to_string(bits) + ".tif", Small(PHOTOMETRIC_MINISWHITE, 1, bits));
    }
    for (const int bits : {8, 16}) {
        SaveTiff(root + "rgb" + std::to_string(bits) + ".tif", Small(PHOTOMETRIC_RGB, 3, bits));
        TiffFile file = Small(PHOTOMETRIC_RGB, 4, bits);
        file.extras = {EXTRASAMPLE_ASSOCALPHA};
        SaveTiff(root + "rgba-associated" + std::to_string(bits) + ".tif", file);
        file.extras = {EXTRASAMPLE_UNASSALPHA};
        file.planes = true;
        file.bigEndian = true;
        SaveTiff(root + "rgba-planes" + std::to_string(bits) + ".tif", file);
        SaveTiff(root + "cmyk" + std::to_string(bits) + ".tif", Small(PHOTOMETRIC_SEPARATED, 4, bits));
    }
    for (const int bits : {1, 4}) {
        TiffFile file = Small(PHOTOMETRIC_PALETTE, 1, bits);
        SaveTiff(root + "palette" + std::to_string(bits) + ".tif", file);
    }
    TiffFile file = Small(PHOTOMETRIC_MINISBLACK, 2, 8);
    file.tellsExtras = false;
    file.extras = {EXTRASAMPLE_UNSPECIFIED};
    SaveTiff(root + "two-samples.tif", file);
    file = Small(PHOTOMETRIC_MINISBLACK, 1, 8);
    file.width = 9;
    file.height = 13;
    file.tileWidth = 16;
    file.tileHeight = 16;
    SaveTiff(root + "tiles.tif", file);
    file.big = true;
    SaveTiff(root + "big-tiles.tif", file);
}

void SaveCompressions() {
    for (const auto& [compression, name] :
         std::vector<std::pair<int, std::string>>{{COMPRESSION_LZW, "lzw"},
                                                  {COMPRESSION_ADOBE_DEFLATE, "deflate"},
                                                  {COMPRESSION_PACKBITS, "packbits"},
                                                  {COMPRESSION_JPEG, "jpeg"},
                                                  {COMPRESSION_LZMA, "lzma"},
                                                  {COMPRESSION_ZSTD, "zstd"}}) {
        if (TIFFIsCODECConfigured(static_cast<std::uint16_t>(compression)) == 0) continue;
        TiffFile file = Small(PHOTOMETRIC_RGB, 3, 8);
        file.compression = compression;
        file.rowsPerStrip = 16;
        SaveTiff(root + name + ".tif", file);
        if (compression == COMPRESSION_JPEG) {
            file.photometric = PHOTOMETRIC_YCBCR;
            SaveTiff(root + "jpeg-ycbcr.tif", file);
        } else if (compression != COMPRESSION_PACKBITS) {
            file.predictor = 2;
            SaveTiff(root + name + "-predictor.tif", file);
        }
    }
    for (const auto& [compression, name] : std::vector<std::pair<int, std::string>>{
             {COMPRESSION_CCITTRLE, "fax-rle"}, {COMPRESSION_CCITTFAX3, "fax3"}, {COMPRESSION_CCITTFAX4, "fax4"}}) {
        TiffFile file = Small(PHOTOMETRIC_MINISWHITE, 1, 1);
        file.compression = compression;
        SaveTiff(root + name + ".tif", file);
    }
}

void SaveTags() {
    TiffFile file = Small(PHOTOMETRIC_RGB, 3, 8);
    file.profile = MakeProfile("RGB ");
    file.orientation = 7;
    file.unit = 3;
    file.x = 118.1;
    file.y = 59;
    SaveTiff(root + "tags.tif", file);
    file.profile.clear();
    file.pages = 3;
    file.big = true;
    file.bigEndian = true;
    SaveTiff(root + "pages.tif", file);
}

void SaveHostileDirectories() {
    const std::string pixels(16, 'p');
    const auto head = [](std::uint32_t at) { return "II*" + std::string(1, '\0') + Little(at, 4); };
    Save("directory-in-head", head(0) + pixels);
    Save("directory-outside", head(0xFFFFFFF0) + pixels);
    Save("directory-empty", head(8) + Little(0, 2) + Little(0, 4));
    Save("directory-huge", head(8) + Little(65535, 2) + pixels);
    Save("directory-of-itself", TiffOf(GrayTags(4, 4, {}), pixels, 8));
    // Two directories, each behind the other.
    const std::string one = TiffOf(GrayTags(4, 4, {}), pixels, kTiffData + 16);
    Save("directory-loop", one + TiffOf(GrayTags(4, 4, {}), pixels, 8).substr(8, kTiffData - 8));
    Save("directory-unsorted", TiffOf({{277, 3, 1, 1},
                                       {257, 4, 1, 4},
                                       {256, 4, 1, 4},
                                       {279, 4, 1, 16},
                                       {273, 4, 1, kTiffData},
                                       {262, 3, 1, 1},
                                       {258, 3, 1, 8}},
                                      pixels));
    Save("big-outside", "II+" + std::string(1, '\0') + Little(8, 4) + Little(0x8000000000000000, 8) + pixels);
    Save("big-places-of-4", "II+" + std::string(1, '\0') + Little(4, 4) + Little(16, 8) + pixels);
    Save("big-directory-huge",
         "II+" + std::string(1, '\0') + Little(8, 4) + Little(16, 8) + Little(0xFFFFFFFFFFFFFFFF, 8) + pixels);
}

void SaveHostileTags() {
    const std::string pixels(16, 'p');
    const auto with = [&pixels](const std::string& name, const std::vector<TiffEntry>& entries) {
        Save(name, TiffOf(GrayTags(4, 4, entries), pixels));
    };
    with("plain", {});
    for (const auto& [name, tag] : std::vector<std::pair<std::string, int>>{{"width", 256},
                                                                            {"height", 257},
                                                                            {"bits", 258},
                                                                            {"samples", 277},
                                                                            {"strip-rows", 278},
                                                                            {"strip-size", 279}}) {
        with(name + "-0", {{tag, 4, 1, 0}});
        with(name + "-65535", {{tag, 4, 1, 65535}});
        with(name + "-4gib", {{tag, 4, 1, 0xFFFFFFFF}});
        with(name + "-missing", {{tag, 0, 0, 0}});
    }
    with("largest", {{256, 4, 1, 0x7FFFFFFF}, {257, 4, 1, 0x7FFFFFFF}, {278, 4, 1, 0x7FFFFFFF}});
    with("bits-32-float", {{258, 3, 1, 32}, {339, 3, 1, 3}});
    with("bits-7", {{258, 3, 1, 7}});
    with("signed", {{339, 3, 1, 2}});
    with("compression-unknown", {{259, 3, 1, 65535}});
    with("photometric-unknown", {{262, 3, 1, 999}});
    with("photometric-missing", {{262, 0, 0, 0}});
    with("lab", {{262, 3, 1, 8}, {277, 3, 1, 3}});
    with("strips-outside", {{273, 4, 1, 0xFFFFFF00}});
    with("strips-missing", {{273, 0, 0, 0}, {279, 0, 0, 0}});
    with("strips-many", {{273, 4, 0x3FFFFFFF, kTiffData}, {278, 4, 1, 1}});
    with("strip-order-reversed", {{266, 3, 1, 2}});
    with("samples-11265-of-fax", {{256, 4, 1, 65524}, {258, 3, 1, 1}, {259, 3, 1, 4}, {277, 3, 1, 11265}});
    with("samples-512-of-fax", {{256, 4, 1, 8000}, {258, 3, 1, 1}, {259, 3, 1, 4}, {277, 3, 1, 512}});
    with("samples-of-a-long-row", {{256, 4, 1, 3000000}, {258, 3, 1, 16}, {259, 3, 1, 8}, {277, 3, 1, 512}});
    with("samples-of-a-long-tile",
         {{277, 3, 1, 512}, {322, 4, 1, 40000}, {323, 4, 1, 160}, {324, 4, 1, kTiffData}, {325, 4, 1, 16}});
    with("strip-size-short", {{279, 4, 1, 3}});
    with("tile-0", {{322, 4, 1, 0}, {323, 4, 1, 0}, {324, 4, 1, kTiffData}, {325, 4, 1, 16}});
    with("tile-4gib", {{322, 4, 1, 0xFFFFFFF0}, {323, 4, 1, 0xFFFFFFF0}, {324, 4, 1, kTiffData}, {325, 4, 1, 16}});
    with("tile-60000", {{322, 4, 1, 60000}, {323, 4, 1, 60000}, {324, 4, 1, kTiffData}, {325, 4, 1, 16}});
    with("tile-of-packed-60000",
         {{259, 3, 1, 8}, {322, 4, 1, 60000}, {323, 4, 1, 60000}, {324, 4, 1, kTiffData}, {325, 4, 1, 16}});
    with("palette-missing", {{262, 3, 1, 3}});
    with("palette-short", {{262, 3, 1, 3}, {320, 3, 6, kTiffData}});
    with("palette-outside", {{262, 3, 1, 3}, {320, 3, 768, 0xFFFFFF00}});
    with("palette-huge", {{262, 3, 1, 3}, {320, 3, 0xFFFFFFFF, kTiffData}});
    with("profile-huge", {{34675, 7, 0xFFFFFFF0, kTiffData}});
    with("profile-outside", {{34675, 7, 200, 0xFFFFFF00}});
    with("profile-garbage", {{34675, 7, 16, kTiffData}});
    with("orientation-0", {{274, 3, 1, 0}});
    with("orientation-9", {{274, 3, 1, 9}});
    with("resolution-of-zeros", {{282, 5, 1, 400}, {283, 5, 1, 400}, {296, 3, 1, 2}});
    with("resolution-outside", {{282, 5, 1, 0xFFFFFF00}, {283, 5, 1, 0xFFFFFF00}});
    with("extras-65535", {{338, 3, 65535, kTiffData}});
    with("extras-beyond", {{338, 3, 2, 0x00020002}});
    with("planes-of-9", {{277, 3, 1, 9}, {284, 3, 1, 2}});
    with("planes-unknown", {{284, 3, 1, 7}});
    with("predictor-unknown", {{259, 3, 1, 8}, {317, 3, 1, 99}});
    with("predictor-float", {{259, 3, 1, 8}, {317, 3, 1, 3}});
    with("ycbcr-plain", {{262, 3, 1, 6}, {277, 3, 1, 3}});
    with("ycbcr-sampling-0", {{262, 3, 1, 6}, {277, 3, 1, 3}, {530, 3, 2, 0}});
    with("jpeg-old", {{259, 3, 1, 6}, {513, 4, 1, kTiffData}, {514, 4, 1, 16}});
    with("jpeg-tables-garbage", {{259, 3, 1, 7}, {347, 7, 16, kTiffData}});
    for (const int compression : {2, 3, 4, 5, 7, 8, 32773, 32809, 34712, 50000, 50001})
        with("garbage-" + std::to_string(compression), {{259, 3, 1, static_cast<std::uint64_t>(compression)}});
    with("bilevel-of-garbage", {{258, 3, 1, 1}, {259, 3, 1, 4}});
    const std::string zeros = PackedZeros(1000000);
    Save("bomb", TiffOf(GrayTags(1000, 1000, {{259, 3, 1, 8}, {279, 4, 1, zeros.size()}}), zeros));
    Save("bomb-of-one-row", TiffOf(GrayTags(5, 1, {{259, 3, 1, 8}, {279, 4, 1, zeros.size()}}), zeros));
    Save("bomb-of-60000", TiffOf(GrayTags(60000, 60000, {{259, 3, 1, 8}, {279, 4, 1, zeros.size()}}), zeros));
}

void SaveCuts() {
    for (const std::string name : {"lzw", "rgb8", "big-tiles"}) {
        const std::string whole = ReadFile(root + name + ".tif");
        for (const std::size_t part : {1U, 2U, 3U})
            Save("cut-" + std::to_string(part) + "-of-4-" + name, whole.substr(0, whole.size() * part / 4));
        Save("cut-behind-head-" + name, whole.substr(0, 9));
    }
}

}  // namespace

void SaveTiffCorpus(const std::string& corpus) {
    root = corpus + "/tiff/";
    std::filesystem::create_directories(root);
    SaveFormats();
    SaveCompressions();
    SaveTags();
    SaveHostileDirectories();
    SaveHostileTags();
    SaveCuts();
}
