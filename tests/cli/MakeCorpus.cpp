// Makes tests/data/corpus anew: MakeCorpus FOLDER. For each reader small files of every kind that it reads, and what
// people and worse send instead of them. What fuzzing finds is put beside them by hand.

#include <filesystem>
#include <iostream>
#include <tuple>

#include "CorpusBytes.h"
#include "TestPictures.h"
#include "TestTiffs.h"
#include "TestWebps.h"
#include "ZorTest.h"

namespace {

namespace fs = std::filesystem;

fs::path folder;  // of the reader at work

std::string Path(const std::string& name) {
    return (folder / name).string();
}

void Save(const std::string& name, const std::string& bytes) {
    WriteFile(Path(name), bytes);
}

void EnterFolder(const fs::path& root, const char* reader) {
    folder = root / reader;
    fs::create_directories(folder);
}

// The file cut behind its first bytes, in the middle and before its end.
void SaveCuts(const std::string& name) {
    const std::string whole = ReadFile(Path(name));
    const fs::path path(name);
    for (const std::size_t size : {std::size_t{16}, whole.size() / 4, whole.size() / 2, whole.size() - 3})
        Save("cut-" + std::to_string(size) + "-" + path.filename().string(), whole.substr(0, size));
}

std::vector<std::uint16_t> Samples(std::size_t count, int bits) {
    std::vector<std::uint16_t> samples;
    for (std::size_t i = 0; i < count; ++i)
        samples.push_back(static_cast<std::uint16_t>((i * 40503U + i * i * 7U) >> 3 & ((1U << bits) - 1)));
    return samples;
}

std::string Text(const std::vector<std::uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

constexpr int kGray = 0, kRgb = 2, kPalette = 3, kGrayAlpha = 4, kRgba = 6;  // PNG's colour types

PngFile SmallPng(int colourType, int depth) {
    constexpr int kChannels[] = {1, 0, 3, 1, 2, 0, 4};
    PngFile file;
    file.width = 11;
    file.height = 7;
    file.colourType = colourType;
    file.bitDepth = depth;
    file.samples = Samples(static_cast<std::size_t>(77 * kChannels[colourType]), depth);
    for (int i = 0; colourType == kPalette && i < 1 << depth; ++i)
        file.palette.push_back({static_cast<std::uint8_t>(i * 3), static_cast<std::uint8_t>(255 - i), 7});
    return file;
}

void SaveGoodPngs() {
    for (const auto& [type, name, depths] :
         std::vector<std::tuple<int, std::string, std::vector<int>>>{{kGray, "gray", {1, 2, 4, 8, 16}},
                                                                     {kRgb, "rgb", {8, 16}},
                                                                     {kPalette, "palette", {1, 2, 4, 8}},
                                                                     {kGrayAlpha, "gray-alpha", {8, 16}},
                                                                     {kRgba, "rgba", {8, 16}}})
        for (const int depth : depths) {
            PngFile file = SmallPng(type, depth);
            if (depth == 4) file.interlaced = true;
            SavePng(Path(name + std::to_string(depth) + ".png"), file);
        }
    PngFile file = SmallPng(kRgb, 8);
    file.interlaced = true;
    file.clearColour = {{5, 5, 5}};
    SavePng(Path("interlaced-clear.png"), file);
    file.clearColour.reset();
    file.profile = MakeProfile("RGB ");
    file.density = {{2835, 2835, 1}};
    SavePng(Path("profile.png"), file);
    file.profile.clear();
    file.srgbIntent = 1;
    SavePng(Path("srgb.png"), file);
    file = SmallPng(kGray, 8);
    file.gamma = 45455;
    file.density = {{1, 2, 0}};
    SavePng(Path("gamma.png"), file);
    file = SmallPng(kPalette, 2);
    file.paletteAlpha = {0, 100};
    SavePng(Path("palette-alpha.png"), file);
}

void SaveHostilePngs() {
    const std::string end = PngChunk("IEND", "");
    const std::string pixels = PngChunk("IDAT", Packed(std::string(4 * 5, '\1')));  // 4 x 4 bytes, without filters
    const std::string gray = PngHead(4, 4, 8, kGray), palette = PngHead(4, 4, 8, kPalette);
    const auto save = [](const std::string& name, const std::string& chunks) { Save(name + ".png", PngOf(chunks)); };
    save("filter-unknown", gray + PngChunk("IDAT", Packed(std::string(4 * 5, '\x09'))) + end);
    save("no-end", gray + pixels);
    save("no-pixels", gray + end);
    save("no-head", pixels + end);
    save("two-heads", gray + gray + pixels + end);
    save("signature-only", "");
    save("bad-sum", Patched(gray + pixels + end, "IDAT", 6, "!!"));
    save("zero-width", PngHead(0, 4, 8, kGray) + pixels + end);
    save("zero-height", PngHead(4, 0, 8, kGray) + pixels + end);
    save("largest", PngHead(0x7FFFFFFF, 0x7FFFFFFF, 16, kRgba) + pixels + end);
    save("beyond-largest", PngHead(0x80000000, 0xFFFFFFFF, 8, kGray) + pixels + end);
    save("wide", PngHead(0x7FFFFFFF, 1, 1, kGray) + pixels + end);
    save("depth-3", PngHead(4, 4, 3, kGray) + pixels + end);
    save("depth-16-palette", PngHead(4, 4, 16, kPalette) + PngChunk("PLTE", "rgb") + pixels + end);
    save("type-5", PngHead(4, 4, 8, 5) + pixels + end);
    save("interlace-2", PngHead(4, 4, 8, kGray, 2) + pixels + end);
    save("chunk-of-2gib", gray + Big(0x7FFFFFFF, 4) + "IDATx");
    save("chunk-of-4gib", gray + Big(0xFFFFFFFF, 4) + "IDATx");
    save("text-of-2gib", gray + Big(0x7FFFFFF0, 4) + "tEXtx" + pixels + end);
    save("profile-of-2gib", gray + Big(0x7FFFFFF0, 4) + "iCCPx" + pixels + end);
    save("palette-exceeded",
         palette + PngChunk("PLTE", "rgb") + PngChunk("IDAT", Packed(std::string(4 * 5, '\3'))) + end);
    save("palette-missing", palette + pixels + end);
    save("palette-of-257", palette + PngChunk("PLTE", std::string(257 * 3, 'c')) + pixels + end);
    save("palette-odd", palette + PngChunk("PLTE", "rgbr") + pixels + end);
    save("palette-late", palette + pixels + PngChunk("PLTE", "rgb") + end);
    save("transparency-long",
         palette + PngChunk("PLTE", "rgbRGB") + PngChunk("tRNS", std::string(9, 'a')) + pixels + end);
    save("transparency-of-alpha", PngHead(2, 2, 8, kGrayAlpha) + PngChunk("tRNS", "ab") + pixels + end);
    save("unknown-critical", gray + PngChunk("ABCD", "?") + pixels + end);
    save("animation", gray + PngChunk("acTL", Big(2, 4) + Big(0, 4)) + pixels + PngChunk("fdAT", "none") + end);
    save("zero-gamma", gray + PngChunk("gAMA", Big(0, 4)) + PngChunk("pHYs", Big(0, 8) + "\x01") + pixels + end);
    save("wild-primaries", gray + PngChunk("cHRM", std::string(32, '\x7F')) + pixels + end);
    save("pixels-short", gray + PngChunk("IDAT", Packed(std::string(7, '\1'))) + end);
    save("pixels-long", gray + PngChunk("IDAT", Packed(std::string(999, '\1'))) + end);
    save("pixels-no-zlib", gray + PngChunk("IDAT", "these are no pixels") + end);
    save("pixels-empty", gray + PngChunk("IDAT", "") + PngChunk("IDAT", "") + end);
    save("pixels-in-parts", gray + PngChunk("IDAT", Packed(std::string(20, '\1')).substr(0, 3)) + PngChunk("tIME", "") +
                                PngChunk("IDAT", Packed(std::string(20, '\1')).substr(3)) + end);
    save("bomb", PngHead(3000, 3000, 1, kGray) + PngChunk("IDAT", PackedZeros(3000 * 376)) + end);
    const std::string profile = Text(MakeProfile("RGB "));
    save("profile-of-colour", gray + PngChunk("iCCP", "p" + std::string(2, '\0') + Packed(profile)) + pixels + end);
    save("bomb-profile", gray + PngChunk("iCCP", "p" + std::string(2, '\0') + PackedZeros(1500000)) + pixels + end);
    save("bomb-text", gray + PngChunk("zTXt", "t" + std::string(2, '\0') + PackedZeros(1500000)) + pixels + end);
    for (const char* name : {"rgb8.png", "palette4.png", "profile.png"}) SaveCuts(name);
}

JpegFile SmallJpeg(int channels, bool progressive = false) {
    JpegFile file;
    file.pixels = MakePixels(17, 13, channels, 3);
    file.quality = 40;
    file.progressive = progressive;
    return file;
}

void SaveGoodJpegs() {
    for (const int channels : {1, 3, 4})
        for (const bool progressive : {false, true}) {
            const std::string name = channels == 1 ? "gray" : channels == 3 ? "colour" : "cmyk";
            JpegFile file = SmallJpeg(channels, progressive);
            SaveJpeg(Path(name + (progressive ? "-progressive.jpg" : ".jpg")), file);
            file.progressive = false;
            file.arithmetic = true;
            if (!progressive) SaveJpeg(Path(name + "-arithmetic.jpg"), file);
        }
    JpegFile file = SmallJpeg(3);
    file.exif = MakeExifBlock(6, 300, 300, 2);
    file.exif.insert(file.exif.begin(), {'E', 'x', 'i', 'f', 0, 0});
    SaveJpeg(Path("camera.jpg"), file);
    file.exif.resize(30);
    SaveJpeg(Path("camera-cut.jpg"), file);
    file = SmallJpeg(3);
    file.profile = MakeProfile("RGB ");
    file.density = {2, 118, 118};
    SaveJpeg(Path("profile.jpg"), file);
    file = SmallJpeg(4);
    file.adobe = false;
    SaveJpeg(Path("cmyk-plain.jpg"), file);
    file.colourSpace = 5;  // YCCK
    file.adobe = true;
    SaveJpeg(Path("ycck.jpg"), file);
    file = SmallJpeg(3);
    file.colourSpace = 2;  // RGB
    SaveJpeg(Path("rgb.jpg"), file);
}

void SaveHostileJpegs() {
    const std::string colour = ReadFile(Path("colour.jpg")), progressive = ReadFile(Path("colour-progressive.jpg"));
    const std::string profile = ReadFile(Path("profile.jpg"));
    const std::string frame = "\xFF\xC0", tables = "\xFF\xDB", codes = "\xFF\xC4", scan = "\xFF\xDA";
    const auto save = [](const std::string& name, const std::string& bytes) { Save(name + ".jpg", bytes); };
    save("start-only", "\xFF\xD8\xFF");
    save("start-and-end", "\xFF\xD8\xFF\xD9");
    save("filled", "\xFF\xD8" + std::string(500, '\xFF') + colour.substr(2));
    save("two-starts", "\xFF\xD8" + colour);
    save("largest", Patched(colour, frame, 5, "\xFF\xDC\xFF\xDC"));
    save("beyond-largest", Patched(colour, frame, 5, "\xFF\xFF\xFF\xFF"));
    save("largest-progressive", Patched(progressive, "\xFF\xC2", 5, "\xFF\xDC\xFF\xDC"));
    save("zero-height", Patched(colour, frame, 5, std::string(2, '\0')));
    save("zero-width", Patched(colour, frame, 7, std::string(2, '\0')));
    save("taller", Patched(colour, frame, 5, "\x02\x01"));
    save("depth-12", Patched(colour, frame, 4, "\x0C"));
    save("no-components", Patched(colour, frame, 9, std::string(1, '\0')));
    save("many-components", Patched(colour, frame, 9, "\xFF"));
    save("zero-sampling", Patched(colour, frame, 11, std::string(1, '\0')));
    save("odd-sampling", Patched(colour, frame, 11, "\x43"));
    save("no-such-table", Patched(colour, frame, 12, "\x03"));
    save("table-behind-the-last", Patched(colour, frame, 12, "\x29"));
    save("lossless-frame", Patched(colour, frame, 1, "\xC3"));
    save("arithmetic-in-name", Patched(colour, frame, 1, "\xC9"));
    save("progressive-in-name", Patched(colour, frame, 1, "\xC2"));
    save("hierarchical", Patched(colour, frame, 1, "\xC5"));
    save("two-frames", Patched(colour, scan, 0, frame + colour.substr(colour.find(frame) + 2, 17)));
    save("zero-table", Patched(colour, tables, 5, std::string(20, '\0')));
    save("table-length-0", Patched(colour, tables, 2, std::string(2, '\0')));
    save("table-length-65535", Patched(colour, tables, 2, "\xFF\xFF"));
    save("too-many-codes", Patched(colour, codes, 5, std::string(16, '\xFF')));
    save("scan-of-nothing", Patched(colour, scan, 4, std::string(1, '\0')));
    save("scan-of-strangers", Patched(colour, scan, 5, "\x77"));
    save("early-end", Patched(colour, scan, 20, "\xFF\xD9"));
    save("restarts", Patched(colour, scan, 20, "\xFF\xD3\xFF\xD0"));
    save("profile-part-0", Patched(profile, "ICC_PROFILE", 12, std::string(1, '\0')));
    save("profile-part-2-of-1", Patched(profile, "ICC_PROFILE", 12, "\x02"));
    save("profile-part-1-of-255", Patched(profile, "ICC_PROFILE", 13, "\xFF"));
    const std::size_t first = progressive.find(scan), second = progressive.find(scan, first + 2);
    std::string endless = progressive.substr(0, first);
    for (int i = 0; i < 8; ++i) endless += progressive.substr(first, second - first);
    save("repeated-scans", endless + progressive.substr(first));
    for (const char* name : {"colour.jpg", "gray-progressive.jpg", "colour-arithmetic.jpg"}) SaveCuts(name);
}

WebpFile SmallWebp(int channels, bool lossless) {
    WebpFile file;
    file.pixels = MakePixels(17, 13, channels, 5);
    file.lossless = lossless;
    file.quality = 30;
    return file;
}

void SaveWebps() {
    for (const int channels : {3, 4})
        for (const bool lossless : {false, true}) {
            WebpFile file = SmallWebp(channels, lossless);
            const std::string name = std::string(channels == 4 ? "alpha" : "colour") + (lossless ? "-lossless" : "");
            SaveWebp(Path(name + ".webp"), file);
            file.profile = MakeProfile("RGB ");
            file.exif = MakeExifBlock(8, 72, 72, 2);
            if (channels == 3) SaveWebp(Path(name + "-tags.webp"), file);
        }
    SaveWebpAnimation(Path("animation.webp"), 20, 16, {{MakePixels(9, 7, 4, 1), 2, 4}, {MakePixels(8, 6, 3, 2), 0, 0}});
    const std::string lossy = ReadFile(Path("colour.webp")), lossless = ReadFile(Path("colour-lossless.webp"));
    const std::string tagged = ReadFile(Path("colour-tags.webp")), animation = ReadFile(Path("animation.webp"));
    const std::string lossyChunk = lossy.substr(12), losslessChunk = lossless.substr(12);
    const auto save = [](const std::string& name, const std::string& bytes) { Save(name + ".webp", bytes); };
    const auto canvas = [](int flags, std::uint32_t width, std::uint32_t height) {
        return WebpChunk("VP8X", Little(static_cast<std::uint64_t>(flags), 4) + Little(width, 3) + Little(height, 3));
    };
    save("nothing", WebpOf(""));
    save("riff-size-0", Patched(lossy, "RIFF", 4, Little(0, 4)));
    save("riff-size-odd", Patched(lossy, "RIFF", 4, Little(13, 4)));
    save("riff-size-4gib", Patched(lossy, "RIFF", 4, Little(0xFFFFFFFF, 4)));
    save("chunk-size-4gib", Patched(lossy, "VP8 ", 4, Little(0xFFFFFFFF, 4)));
    save("chunk-size-0", Patched(lossy, "VP8 ", 4, Little(0, 4)));
    save("largest", Patched(lossy, "\x9D\x01\x2A", 3, "\xFF\x3F\xFF\x3F"));
    save("zero-size", Patched(lossy, "\x9D\x01\x2A", 3, Little(0, 4)));
    save("scaled", Patched(lossy, "\x9D\x01\x2A", 4, "\xC0"));
    save("no-key-frame", Patched(lossy, "VP8 ", 8, "\x01"));
    save("largest-lossless", Patched(lossless, "\x2F", 1, "\xFF\xFF\xFF\x0F"));
    save("version-lossless", Patched(lossless, "\x2F", 4, "\xF0"));
    save("canvas-of-16m", WebpOf(canvas(0, 0xFFFFFF, 0xFFFFFF) + lossyChunk));
    save("canvas-other", WebpOf(canvas(0, 3, 3) + lossyChunk));
    save("canvas-only", WebpOf(canvas(2, 16, 12)));
    save("alpha-garbage", WebpOf(canvas(16, 16, 12) + WebpChunk("ALPH", "\x01garbage") + lossyChunk));
    save("alpha-missing", WebpOf(canvas(16, 16, 12) + lossyChunk));
    save("two-pictures", WebpOf(lossyChunk + losslessChunk));
    save("unknown-chunk", WebpOf(WebpChunk("WHAT", "is this") + lossyChunk));
    save("profile-empty", WebpOf(canvas(32, 16, 12) + WebpChunk("ICCP", "") + lossyChunk));
    save("exif-garbage", WebpOf(canvas(8, 16, 12) + lossyChunk + WebpChunk("EXIF", "MM garbage")));
    save("frame-of-nothing", WebpOf(canvas(2, 16, 12) + WebpChunk("ANIM", std::string(6, '\0')) +
                                    WebpChunk("ANMF", std::string(16, '\0'))));
    save("frame-outside", Patched(animation, "ANMF", 8, "\xFF\xFF\xFF"));
    save("tags-cut", tagged.substr(0, tagged.size() - 40));
    save("lossless-broken", Patched(lossless, "\x2F", 8, std::string(20, '\xAA')));
    save("lossy-broken", Patched(lossy, "\x9D\x01\x2A", 8, std::string(20, '\xAA')));
    for (const char* name : {"colour.webp", "alpha-lossless.webp", "animation.webp"}) SaveCuts(name);
}

}  // namespace

void SaveTiffCorpus(const std::string& root);
void SavePlainCorpus(const std::string& root);

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: MakeCorpus FOLDER\n";
        return 2;
    }
    EnterFolder(argv[1], "png");
    SaveGoodPngs();
    SaveHostilePngs();
    EnterFolder(argv[1], "jpeg");
    SaveGoodJpegs();
    SaveHostileJpegs();
    EnterFolder(argv[1], "webp");
    SaveWebps();
    SaveTiffCorpus(argv[1]);
    SavePlainCorpus(argv[1]);
    return 0;
}
