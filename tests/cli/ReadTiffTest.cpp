// TIFF files of every pixel format and way of storage, against what the samples mean by the definition of the format,
// and files that are made to do harm.

#include <tiff.h>

#include <random>

#include "TestPictures.h"
#include "TestTiffs.h"
#include "ZorTest.h"

namespace {

struct TiffCase {
    const char* name;
    int photometric;
    int samples;
    std::vector<int> bits;
    std::vector<std::uint16_t> extras;
    bool tellsExtras = true;
};

void PrintTo(const TiffCase& c, std::ostream* out) {
    *out << c.name;
}

std::vector<TiffCase> AllCases() {
    return {{"gray", PHOTOMETRIC_MINISBLACK, 1, {1, 2, 4, 8, 10, 12, 16}, {}},
            {"white_is_zero", PHOTOMETRIC_MINISWHITE, 1, {1, 2, 4, 8, 16}, {}},
            {"gray_alpha", PHOTOMETRIC_MINISBLACK, 2, {4, 8, 16}, {EXTRASAMPLE_UNASSALPHA}},
            {"gray_associated", PHOTOMETRIC_MINISBLACK, 2, {8, 16}, {EXTRASAMPLE_ASSOCALPHA}},
            {"white_is_zero_alpha", PHOTOMETRIC_MINISWHITE, 2, {8, 16}, {EXTRASAMPLE_UNASSALPHA}},
            {"rgb", PHOTOMETRIC_RGB, 3, {4, 8, 12, 16}, {}},
            {"rgb_alpha", PHOTOMETRIC_RGB, 4, {8, 16}, {EXTRASAMPLE_UNASSALPHA}},
            {"rgb_associated", PHOTOMETRIC_RGB, 4, {8, 12, 16}, {EXTRASAMPLE_ASSOCALPHA}},
            {"rgb_unmarked_alpha", PHOTOMETRIC_RGB, 4, {8, 16}, {0}, false},
            {"rgb_unknown", PHOTOMETRIC_RGB, 4, {8, 16}, {EXTRASAMPLE_UNSPECIFIED}},
            {"rgb_unknown_alpha", PHOTOMETRIC_RGB, 5, {8, 16}, {EXTRASAMPLE_UNSPECIFIED, EXTRASAMPLE_UNASSALPHA}},
            {"palette", PHOTOMETRIC_PALETTE, 1, {1, 2, 4, 8}, {}},
            {"palette_alpha", PHOTOMETRIC_PALETTE, 2, {8}, {EXTRASAMPLE_UNASSALPHA}},
            {"palette_associated", PHOTOMETRIC_PALETTE, 2, {8}, {EXTRASAMPLE_ASSOCALPHA}},
            {"cmyk", PHOTOMETRIC_SEPARATED, 4, {8, 16}, {}},
            {"cmyk_alpha", PHOTOMETRIC_SEPARATED, 5, {8}, {EXTRASAMPLE_UNASSALPHA}}};
}

TiffFile MakeFile(const TiffCase& c, int bits, int width, int height, unsigned seed) {
    std::mt19937 random(seed);
    TiffFile file;
    file.width = width;
    file.height = height;
    file.photometric = c.photometric;
    file.samples = c.samples;
    file.bits = bits;
    file.extras = c.extras;
    file.tellsExtras = c.tellsExtras;
    const unsigned most = (1U << bits) - 1;
    for (int i = 0; i < width * height * c.samples; ++i) {
        // Runs, so that compression has something to find; and both ends of the range.
        const unsigned draw = static_cast<unsigned>(random());
        const bool repeats = draw % 3 == 0 && i >= c.samples;
        const unsigned fresh = draw % 7 == 1 ? 0 : draw % 7 == 2 ? most : draw >> 8 & most;
        file.values.push_back(repeats ? file.values[static_cast<std::size_t>(i - c.samples)]
                                      : static_cast<std::uint16_t>(fresh));
    }
    if (c.photometric == PHOTOMETRIC_PALETTE)
        for (unsigned i = 0; i <= most; ++i)
            file.palette.push_back({static_cast<std::uint16_t>(random()), static_cast<std::uint16_t>(random()),
                                    static_cast<std::uint16_t>(random())});
    return file;
}

class TiffTest : public ZorTest {
protected:
    // What the program makes of in.tif, which is `file`; CMYK by way of TIFF, since PNG holds none.
    void ExpectMeaning(const TiffFile& file, const Pixels& expected) {
        const bool inks = file.photometric == PHOTOMETRIC_SEPARATED;
        const char* out = inks ? "out.tif" : "out.png";
        const Outcome outcome = RunWell({"--quiet", "in.tif", out});
        EXPECT_EQ(outcome.err, "");
        ASSERT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(inks ? PixelsOf(LoadTiff(At(out))) : PixelsOf(LoadPng(At(out))), expected);
    }

    // A small file with one strip, and its bytes with the value of a tag of one number changed.
    std::string Plain(int channels = 3) {
        TiffFile file = PlainTiff(MakePixels(20, 10, channels, 3));
        file.rowsPerStrip = 10;
        SaveTiff(At("plain.tif"), file);
        std::string bytes = ReadFile(At("plain.tif"));
        std::filesystem::remove(At("plain.tif"));
        return bytes;
    }
    static std::uint32_t Number(const std::string& bytes, std::size_t at, int count) {
        std::uint32_t value = 0;
        for (int i = count - 1; i >= 0; --i)
            value = value << 8 | static_cast<unsigned char>(bytes.at(at + static_cast<std::size_t>(i)));
        return value;
    }
    static void Put(std::string* bytes, std::size_t at, std::uint32_t value, int count) {
        for (int i = 0; i < count; ++i)
            bytes->at(at + static_cast<std::size_t>(i)) = static_cast<char>(value >> (8 * i) & 255U);
    }
    static std::size_t EntryOf(const std::string& bytes, int tag) {
        const std::size_t directory = Number(bytes, 4, 4);
        for (std::uint32_t i = 0; i < Number(bytes, directory, 2); ++i)
            if (Number(bytes, directory + 2 + i * 12, 2) == static_cast<std::uint32_t>(tag))
                return directory + 2 + i * 12;
        throw std::runtime_error("no tag " + std::to_string(tag));
    }
    static std::string With(std::string bytes, int tag, std::uint32_t value) {
        const std::size_t entry = EntryOf(bytes, tag);
        Put(&bytes, entry + 2, 4, 2);  // as a number of 32 bits
        Put(&bytes, entry + 4, 1, 4);
        Put(&bytes, entry + 8, value, 4);
        return bytes;
    }
};

class ReadTiff : public TiffTest, public testing::WithParamInterface<TiffCase> {};

TEST_P(ReadTiff, GivesTheMeaningOfEverySample) {
    unsigned seed = 1;
    for (const int bits : GetParam().bits)
        for (const auto& [width, height] : {std::pair{1, 1}, {37, 23}})
            for (const int layout : {0, 1, 2, 3})
                for (const bool planes : {false, true}) {
                    if (planes && GetParam().samples == 1) continue;
                    TiffFile file = MakeFile(GetParam(), bits, width, height, seed++);
                    file.planes = planes;
                    file.rowsPerStrip = layout == 0 ? 1 : layout == 1 ? 5 : 1000;
                    if (layout == 3) file.tileWidth = 32;
                    if (layout == 3) file.tileHeight = 16;
                    file.bigEndian = seed % 2 == 0;
                    file.big = seed % 3 == 0;
                    static constexpr int kCompressions[] = {COMPRESSION_NONE, COMPRESSION_LZW,
                                                            COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS,
                                                            COMPRESSION_ZSTD};
                    file.compression = kCompressions[seed % 5];
                    const bool predicts = file.compression == COMPRESSION_LZW ||
                                          file.compression == COMPRESSION_ADOBE_DEFLATE ||
                                          file.compression == COMPRESSION_ZSTD;
                    if (predicts && (bits == 8 || bits == 16)) file.predictor = PREDICTOR_HORIZONTAL;
                    SCOPED_TRACE(testing::Message() << bits << " bits, " << width << " x " << height << ", layout "
                                                    << layout << (planes ? ", planes" : "") << ", compression "
                                                    << file.compression << ", seed " << seed);
                    SaveTiff(At("in.tif"), file);
                    Pixels expected = Expand(file);
                    ExpectMeaning(file, expected);
                    if (HasFailure()) return;
                }
}

INSTANTIATE_TEST_SUITE_P(Formats, ReadTiff, testing::ValuesIn(AllCases()),
                         [](const auto& format) { return std::string(format.param.name); });

using TiffFiles = TiffTest;

TEST_F(TiffFiles, GiveJpegAsTheLibraryDoes) {
    for (const bool tiles : {false, true})
        for (const int photometric : {PHOTOMETRIC_YCBCR, PHOTOMETRIC_RGB, PHOTOMETRIC_MINISBLACK}) {
            SCOPED_TRACE(testing::Message() << photometric << (tiles ? ", tiles" : ""));
            TiffFile file = PlainTiff(MakePixels(70, 45, photometric == PHOTOMETRIC_MINISBLACK ? 1 : 3, 4));
            file.photometric = photometric;
            file.compression = COMPRESSION_JPEG;
            file.rowsPerStrip = 16;
            SaveTiff(At("strips.tif"), file);
            const Pixels expected = PixelsOf(LoadTiff(At("strips.tif")));
            if (tiles) file.tileWidth = file.tileHeight = 16;
            SaveTiff(At("in.tif"), file);
            RunWell({"in.tif", "out.png"});
            // Tiles have other edges, over which the colours of YCbCr spread.
            if (!tiles) {
                EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), expected);
            } else if (photometric != PHOTOMETRIC_YCBCR) {
                const Pixels seen = PixelsOf(LoadPng(At("out.png")));
                ASSERT_EQ(seen.bytes.size(), expected.bytes.size());
                for (int y = 0; y < 32; ++y)
                    for (int x = 0; x < 64; ++x) ASSERT_EQ(seen.At(x, y, 0), expected.At(x, y, 0)) << x << ", " << y;
            }
        }
}

TEST_F(TiffFiles, GiveFaxes) {
    for (const int compression : {COMPRESSION_CCITTRLE, COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4}) {
        TiffFile file = MakeFile({"", PHOTOMETRIC_MINISWHITE, 1, {}, {}}, 1, 99, 31, 8);
        file.compression = compression;
        SaveTiff(At("in.tif"), file);
        SCOPED_TRACE(compression);
        ExpectMeaning(file, Expand(file));
    }
}

TEST_F(TiffFiles, TellWhatIsReducedAndLeftOut) {
    SaveTiff(At("in.tif"), MakeFile({"", PHOTOMETRIC_RGB, 3, {}, {}}, 16, 5, 4, 1));
    EXPECT_EQ(RunWell({"in.tif", "out.png"}).err, "zor: in.tif: 16 bits a channel are reduced to 8\n");
    SaveTiff(At("in.tif"), MakeFile({"", PHOTOMETRIC_RGB, 5, {}, {0, 0}}, 8, 5, 4, 1));
    EXPECT_EQ(RunWell({"in.tif", "out.png"}).err, "zor: in.tif: 2 further channels are left out\n");
    TiffFile pages = PlainTiff(MakePixels(5, 4, 3, 1));
    pages.pages = 3;
    SaveTiff(At("in.tif"), pages);
    EXPECT_EQ(RunWell({"in.tif", "out.png"}).err,
              "zor: in.tif: the file holds more than one picture; the first is read\n");
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), PixelsOf(pages));
}

TEST_F(TiffFiles, TakePalettesOfEightBits) {
    TiffFile file = MakeFile({"", PHOTOMETRIC_PALETTE, 1, {}, {}}, 4, 9, 7, 2);
    for (auto& colour : file.palette)
        for (std::uint16_t& part : colour) part = static_cast<std::uint16_t>(part & 255U);
    SaveTiff(At("in.tif"), file);
    for (auto& colour : file.palette)
        for (std::uint16_t& part : colour) part = static_cast<std::uint16_t>(part * 257U);
    ExpectMeaning(file, Expand(file));
}

TEST_F(TiffFiles, KeepProfileAndResolution) {
    TiffFile file = PlainTiff(MakePixels(5, 4, 3, 1));
    file.profile = MakeProfile("RGB ");
    file.unit = 2;
    file.x = 300;
    file.y = 150;
    SaveTiff(At("in.tif"), file);
    RunWell({"in.tif", "out.jpg"});
    EXPECT_EQ(LoadJpeg(At("out.jpg")).profile, file.profile);
    EXPECT_EQ(LoadJpeg(At("out.jpg")).density, (std::array{1, 300, 150}));
    file.unit = 3;
    file.x = 118.11;
    file.y = 40;
    SaveTiff(At("in.tif"), file);
    RunWell({"in.tif", "out.png"});
    EXPECT_EQ(LoadPng(At("out.png")).density, (std::array<std::uint32_t, 3>{11811, 4000, 1}));
    file.profile = MakeProfile("CMYK");
    SaveTiff(At("in.tif"), file);
    EXPECT_EQ(RunWell({"in.tif", "out.png"}).err,
              "zor: in.tif: the colour profile does not fit the pixels and is left out\n");
}

TEST_F(TiffFiles, AreNamedForWhatCannotBeRead) {
    struct Row {
        int tag;
        std::uint32_t value;
        const char* told;
    };
    for (const Row& row : {Row{TIFFTAG_PHOTOMETRIC, 8, "unsupported TIFF: CIE Lab"},
                           {TIFFTAG_PHOTOMETRIC, 32803, "unsupported TIFF: raw sensor data"},
                           {TIFFTAG_PHOTOMETRIC, 777, "unsupported TIFF: the photometric interpretation 777"},
                           {TIFFTAG_PHOTOMETRIC, 6, "unsupported TIFF: YCbCr that is not compressed as JPEG"},
                           {TIFFTAG_PHOTOMETRIC, 5, "unsupported TIFF: 3 channels for CMYK"},
                           {TIFFTAG_BITSPERSAMPLE, 32, "unsupported TIFF: 32 bits a channel"},
                           {TIFFTAG_BITSPERSAMPLE, 64, "unsupported TIFF: 64 bits a channel"},
                           {TIFFTAG_BITSPERSAMPLE, 0, ""},
                           {TIFFTAG_COMPRESSION, 34712, "unsupported TIFF: JPEG 2000"},
                           {TIFFTAG_COMPRESSION, 6, ""},
                           {TIFFTAG_COMPRESSION, 4711, ""},
                           {TIFFTAG_IMAGEWIDTH, 0, ""},
                           {TIFFTAG_IMAGELENGTH, 0, ""},
                           {TIFFTAG_SAMPLESPERPIXEL, 0, ""},
                           {TIFFTAG_SAMPLESPERPIXEL, 1, ""},
                           {TIFFTAG_STRIPOFFSETS, 4000000000U, "damaged TIFF: "},
                           {TIFFTAG_IMAGELENGTH, 11, "damaged TIFF: "}}) {
        SCOPED_TRACE(testing::Message() << row.tag << " = " << row.value);
        WriteFile(At("in.tif"), With(Plain(), row.tag, row.value));
        ExpectFailure(Run({"--quiet", "in.tif", "out.png"}), 1, {"in.tif: ", row.told});
    }
    TiffFile file = PlainTiff(MakePixels(4, 4, 1, 1));
    for (const auto& [format, told] : {std::pair{2, "samples with a sign"}, {3, "floating-point samples"}}) {
        // The tag takes the place of one that the program can do without.
        file.orientation = 1;
        file.rowsPerStrip = 4;
        SaveTiff(At("in.tif"), file);
        std::string bytes = ReadFile(At("in.tif"));
        const std::size_t entry = EntryOf(bytes, TIFFTAG_ORIENTATION);
        Put(&bytes, entry, TIFFTAG_SAMPLEFORMAT, 2);
        Put(&bytes, entry + 8, static_cast<std::uint32_t>(format), 2);
        WriteFile(At("in.tif"), bytes);
        ExpectFailure(Run({"--quiet", "in.tif", "out.png"}), 1, {"in.tif: unsupported TIFF: ", told});
    }
}

TEST_F(TiffFiles, WithAbsurdSizesTakeNoMemory) {
    TiffFile tiled = PlainTiff(MakePixels(20, 10, 3, 3));
    tiled.tileWidth = tiled.tileHeight = 32;
    SaveTiff(At("tiled.tif"), tiled);
    const std::string tiles = ReadFile(At("tiled.tif"));
    struct Row {
        std::string bytes;
        int tag;
        std::uint32_t value;
    };
    for (const Row& row : {Row{Plain(), TIFFTAG_IMAGEWIDTH, 4294967295U},
                           {Plain(), TIFFTAG_IMAGELENGTH, 4294967295U},
                           {Plain(), TIFFTAG_IMAGEWIDTH, 100000000},
                           {Plain(), TIFFTAG_IMAGELENGTH, 600000000},
                           {Plain(), TIFFTAG_SAMPLESPERPIXEL, 65535},
                           {Plain(), TIFFTAG_STRIPBYTECOUNTS, 4294967295U},
                           {tiles, TIFFTAG_TILEWIDTH, 0},
                           {tiles, TIFFTAG_TILEWIDTH, 4294967280U},
                           {tiles, TIFFTAG_TILEWIDTH, 2147483632},
                           {tiles, TIFFTAG_TILELENGTH, 4294967280U},
                           {tiles, TIFFTAG_TILELENGTH, 2147483632},
                           {tiles, TIFFTAG_TILELENGTH, 33554432},
                           {tiles, TIFFTAG_TILEWIDTH, 16}}) {
        SCOPED_TRACE(testing::Message() << row.tag << " = " << row.value);
        WriteFile(At("in.tif"), With(row.bytes, row.tag, row.value));
        const Outcome outcome = Run({"--quiet", "in.tif", "out.png"});
        // A byte count that is only too large is put right by libtiff.
        if (row.tag == TIFFTAG_STRIPBYTECOUNTS && outcome.exitCode == 0)
            EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), MakePixels(20, 10, 3, 3));
        else
            ExpectFailure(outcome, 1, {"in.tif: "});
    }
}

TEST_F(TiffFiles, DoWithoutTagsThatCanBeGuessed) {
    const std::string plain = Plain();
    const std::size_t directory = Number(plain, 4, 4);
    const std::uint32_t count = Number(plain, directory, 2);
    const Pixels pixels = MakePixels(20, 10, 3, 3);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t entry = directory + 2 + i * 12;
        const int tag = static_cast<int>(Number(plain, entry, 2));
        SCOPED_TRACE(tag);
        std::string bytes = plain;
        bytes.erase(entry, 12);
        bytes.insert(directory + 2 + (count - 1) * 12 + 4, 12, '\0');  // behind the directory: all else stays in place
        Put(&bytes, directory, count - 1, 2);
        WriteFile(At("in.tif"), bytes);
        const Outcome outcome = Run({"in.tif", "out.png"});
        const bool needed = tag == TIFFTAG_IMAGEWIDTH || tag == TIFFTAG_IMAGELENGTH || tag == TIFFTAG_STRIPOFFSETS ||
                            tag == TIFFTAG_SAMPLESPERPIXEL;
        if (needed) {
            EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
            continue;
        }
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        // Where the bits of a sample are not told there is one.
        if (tag == TIFFTAG_BITSPERSAMPLE)
            EXPECT_EQ(LoadPng(At("out.png")).samples[0] % 255, 0);
        else
            EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), pixels);
        if (tag == TIFFTAG_PHOTOMETRIC) {
            EXPECT_TRUE(outcome.err.starts_with(
                "zor: in.tif: the file does not say what its channels are; they are taken for RGB\n"))
                << outcome.err;
        }
    }
}

TEST_F(TiffFiles, WithDirectoriesInACircleAreReadOnce) {
    std::string bytes = Plain();
    const std::size_t directory = Number(bytes, 4, 4);
    const std::size_t next = directory + 2 + Number(bytes, directory, 2) * 12;
    Put(&bytes, next, static_cast<std::uint32_t>(directory), 4);
    WriteFile(At("in.tif"), bytes);
    RunWell({"in.tif", "out.png"});
    EXPECT_EQ(PixelsOf(LoadPng(At("out.png"))), MakePixels(20, 10, 3, 3));
    RunWell({"info", "in.tif"});
    // The first place in the file, to where there is nothing or no directory.
    for (const std::uint32_t place : {0U, 2U, 4U, 1000000U, 4294967295U}) {
        Put(&bytes, 4, place, 4);
        WriteFile(At("in.tif"), bytes);
        ExpectFailure(Run({"--quiet", "in.tif", "out2.png"}), 1, {"in.tif: "});
    }
}

TEST_F(TiffFiles, CutAnywhereAreRefused) {
    for (const int kind : {0, 1, 2, 3}) {
        TiffFile file = PlainTiff(MakePixels(50, 40, 3, 3));
        if (kind == 1) file.compression = COMPRESSION_ADOBE_DEFLATE;
        if (kind == 2) file.compression = COMPRESSION_JPEG;
        if (kind == 3) file.tileWidth = file.tileHeight = 16;
        if (kind == 3) file.compression = COMPRESSION_LZW;
        SaveTiff(At("whole"), file);
        const std::string whole = ReadFile(At("whole"));
        for (std::size_t i = 0; i < 50; ++i) {
            const std::size_t length = whole.size() * i / 50;
            SCOPED_TRACE(testing::Message() << kind << " cut to " << length << " of " << whole.size());
            WriteFile(At("cut"), whole.substr(0, length));
            ExpectFailure(Run({"--quiet", "cut", "out.png"}), 1, {"cut: "});
        }
        // Pixels behind the directory are missing; the file's own order is the other way.
        std::string moved = whole;
        const std::size_t directory = Number(whole, 4, 4);
        Put(&moved, 4, static_cast<std::uint32_t>(whole.size()), 4);
        moved += whole.substr(directory);
        moved.replace(whole.size() / 3, directory - whole.size() / 3, directory - whole.size() / 3, '\xFF');
        WriteFile(At("cut"), moved);
        const Outcome outcome = Run({"--quiet", "cut", "new.png"});
        if (kind != 0 && outcome.exitCode != 0) ExpectFailure(outcome, 1, {"cut: "});
    }
    EXPECT_FALSE(std::filesystem::exists(At("out.png")));
}

TEST_F(TiffFiles, SurviveAnyFlippedByte) {
    for (const int kind : {0, 1, 2}) {
        TiffFile file = PlainTiff(MakePixels(20, 15, kind == 2 ? 3 : 4, 3));
        file.planes = kind == 0;
        file.compression = kind == 0 ? COMPRESSION_LZW : kind == 1 ? COMPRESSION_ADOBE_DEFLATE : COMPRESSION_JPEG;
        if (kind == 1) file.tileWidth = file.tileHeight = 16;
        SaveTiff(At("a"), file);
        const std::string whole = ReadFile(At("a"));
        const std::size_t directory = Number(whole, 4, 4);
        for (std::size_t at = 0; at < whole.size(); at += at < 8 || at >= directory ? 1 : 1 + whole.size() / 40) {
            SCOPED_TRACE(testing::Message() << kind << " at " << at);
            std::string bytes = whole;
            bytes[at] = static_cast<char>(bytes[at] ^ 0x5A);
            WriteFile(At("bad"), bytes);
            const Outcome outcome = Run({"--quiet", "bad", "new.jpg", "scale", "8x8"});
            if (outcome.exitCode != 0) ExpectFailure(outcome, 1, {"bad: "});
        }
    }
}

TEST_F(TiffFiles, ReadStripsOfAnySizeTheSame) {
    // Of strips above 16 MB the program takes a row at a time.
    TiffFile file = PlainTiff(MakePixels(3000, 2000, 3, 3));
    file.compression = COMPRESSION_LZW;
    for (const int rows : {2000, 100}) {
        file.rowsPerStrip = rows;
        SaveTiff(At("in.tif"), file);
        RunWell({"--compression", "1", "in.tif", rows == 100 ? "small.png" : "large.png"});
    }
    EXPECT_EQ(ReadFile(At("small.png")), ReadFile(At("large.png")));
    EXPECT_EQ(PixelsOf(LoadPng(At("large.png"))), PixelsOf(file));
}

}  // namespace
