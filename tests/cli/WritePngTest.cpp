// PNG files that the program writes: their pixels by libpng, their bytes by zlib, and how many these are.

#include <sched.h>
#include <zlib.h>

#include <algorithm>
#include <csignal>
#include <fstream>

#include "TestPictures.h"
#include "ZorTest.h"
#include "support/Sanitizers.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

void Fill(Pixels* pixels, int left, int top, int width, int height, unsigned colour) {
    for (int y = top; y < std::min(top + height, pixels->height); ++y)
        for (int x = left; x < std::min(left + width, pixels->width); ++x)
            for (int c = 0; c < pixels->channels; ++c)
                pixels->bytes[static_cast<std::size_t>((y * pixels->width + x) * pixels->channels + c)] =
                    static_cast<std::uint8_t>(colour >> (8 * c));
}

// White paper with coloured boxes and lines of letters, out of an alphabet of 40.
Pixels MakeDrawing(int width, int height, int channels) {
    Pixels pixels{width, height, channels, {}};
    pixels.bytes.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height * channels), 255);
    unsigned state = 7;
    const auto next = [&state](unsigned below) { return (state = state * 1103515245 + 12345) / 65536 % below; };
    for (int i = 0; i < 30; ++i) {
        const int x = static_cast<int>(next(static_cast<unsigned>(width))),
                  y = static_cast<int>(next(static_cast<unsigned>(height)));
        Fill(&pixels, x, y, 10 + static_cast<int>(next(200)), 10 + static_cast<int>(next(200)), next(1 << 24));
    }
    std::vector<std::array<unsigned, 12>> letters(40);
    for (auto& letter : letters)
        for (unsigned& row : letter) row = next(256) & next(256);
    for (int top = 20; top + 12 < height; top += 18)
        for (int left = 20; left + 8 < width; left += 10) {
            const auto& letter = letters[next(40)];
            for (int y = 0; y < 12; ++y)
                for (int x = 0; x < 8; ++x)
                    if ((letter[static_cast<std::size_t>(y)] >> x & 1) != 0)
                        Fill(&pixels, left + x, top + y, 1, 1, 0x202020);
        }
    return pixels;
}

Pixels MakeGradient(int width, int height, int channels) {
    Pixels pixels{width, height, channels, {}};
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < channels; ++c)
                pixels.bytes.push_back(static_cast<std::uint8_t>((c == 0 ? x * 255 / width : y * 255 / height) + c));
    return pixels;
}

// One above the other.
Pixels Stack(Pixels above, const Pixels& below) {
    above.height += below.height;
    above.bytes.insert(above.bytes.end(), below.bytes.begin(), below.bytes.end());
    return above;
}

// The rows without a filter, and what zlib makes of them.
std::size_t ZlibSize(const Pixels& pixels) {
    Bytes rows;
    const auto rowBytes = static_cast<std::ptrdiff_t>(pixels.width) * pixels.channels;
    for (std::ptrdiff_t y = 0; y < pixels.height; ++y) {
        rows.push_back(0);
        rows.insert(rows.end(), pixels.bytes.begin() + y * rowBytes, pixels.bytes.begin() + (y + 1) * rowBytes);
    }
    uLongf size = compressBound(rows.size());
    Bytes packed(size);
    EXPECT_EQ(compress2(packed.data(), &size, rows.data(), rows.size(), 6), Z_OK);
    return size;
}

std::size_t Number(const std::string& bytes, std::size_t at) {
    std::size_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) number = number << 8 | static_cast<std::uint8_t>(bytes.at(at + i));
    return number;
}

// A file without any compression, which is quickly made.
void SavePam(const std::string& path, const Pixels& pixels) {
    const char* names[] = {"GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
    WriteFile(path, "P7\nWIDTH " + std::to_string(pixels.width) + "\nHEIGHT " + std::to_string(pixels.height) +
                        "\nDEPTH " + std::to_string(pixels.channels) + "\nMAXVAL 255\nTUPLTYPE " +
                        names[pixels.channels - 1] + "\nENDHDR\n" +
                        std::string(pixels.bytes.begin(), pixels.bytes.end()));
}

class WritePng : public ZorTest {
protected:
    // Pixels through the program.
    std::size_t WrittenSize(const Pixels& pixels, const std::string& level = "6") {
        SavePam(At("in.pam"), pixels);
        RunWell({"in.pam", "out.png", "--compression", level});
        EXPECT_TRUE(PixelsOf(LoadPng(At("out.png"))) == pixels) << pixels.width << " x " << pixels.height;
        return ReadFile(At("out.png")).size();
    }

    // Of the file that was written: whole parts with true sums, and one whole stream of zlib with its own.
    void ExpectWholeStream(const Pixels& pixels) {
        const std::string bytes = ReadFile(At("out.png"));
        std::string stream;
        std::string last;
        for (std::size_t at = 8; at < bytes.size();) {
            const std::size_t size = Number(bytes, at);
            last = bytes.substr(at + 4, 4);
            const auto* part = reinterpret_cast<const Bytef*>(bytes.data()) + at + 4;
            EXPECT_EQ(crc32_z(crc32(0, nullptr, 0), part, size + 4), Number(bytes, at + 8 + size)) << last;
            if (last == "IDAT") stream += bytes.substr(at + 8, size);
            at += size + 12;
        }
        EXPECT_EQ(last, "IEND");
        const std::size_t expected = pixels.bytes.size() + static_cast<std::size_t>(pixels.height);
        Bytes rows(expected + 1);
        uLongf size = rows.size();
        uLong taken = stream.size();
        EXPECT_EQ(uncompress2(rows.data(), &size, reinterpret_cast<const Bytef*>(stream.data()), &taken), Z_OK);
        EXPECT_EQ(size, expected);
        EXPECT_EQ(taken, stream.size());
    }
};

TEST_F(WritePng, KeepsPixelsOfEveryShapeAtEveryLevel) {
    for (const char* level : {"0", "1", "6", "7", "9"})
        for (int channels = 1; channels <= 4; ++channels)
            for (const auto& [width, height] : {std::pair{1, 1}, {1, 50}, {50, 1}, {3, 2}, {131, 77}}) {
                SCOPED_TRACE(std::string(level) + " " + std::to_string(channels));
                const Pixels pixels = MakePixels(width, height, channels, 3);
                WrittenSize(pixels, level);
                ExpectWholeStream(pixels);
            }
}

// Noise, drawings and gradients are done in different ways, band by band.
TEST_F(WritePng, JoinsBandsOfAllKindsIntoOneStream) {
    for (const int channels : {1, 3, 4}) {
        const int width = 3000 / channels;
        Pixels all = MakeDrawing(width, 200, channels);
        all = Stack(all, MakePixels(width, 150, channels, 8));
        all = Stack(all, MakeGradient(width, 200, channels));
        all = Stack(all, MakeDrawing(width, 150, channels));
        for (const char* level : {"0", "1", "6", "9"}) {
            SCOPED_TRACE(std::string(level) + " " + std::to_string(channels));
            WrittenSize(all, level);
            ExpectWholeStream(all);
        }
    }
}

TEST_F(WritePng, KeepsRowsThatAreLargerThanABand) {
    for (const int height : {1, 3}) {
        const Pixels pixels = MakePixels(200000, height, 4, 5);
        WrittenSize(pixels);
        ExpectWholeStream(pixels);
    }
}

TEST_F(WritePng, GivesTheSameBytesOnOneProcessorAsOnAll) {
    cpu_set_t all, one;
    ASSERT_EQ(sched_getaffinity(0, sizeof all, &all), 0);
    if (CPU_COUNT(&all) < 2) GTEST_SKIP() << "there is only one";
    int first = 0;
    while (!CPU_ISSET(first, &all)) ++first;
    CPU_ZERO(&one);
    CPU_SET(first, &one);
    SavePam(At("in.pam"), Stack(MakeDrawing(1500, 200, 3), MakePixels(1500, 200, 3, 8)));
    for (const char* level : {"6", "9"}) {
        RunWell({"in.pam", "many.png", "--compression", level});
        ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
        RunWell({"in.pam", "one.png", "--compression", level});
        ASSERT_EQ(sched_setaffinity(0, sizeof all, &all), 0);
        EXPECT_TRUE(ReadFile(At("one.png")) == ReadFile(At("many.png"))) << level;
        RunWell({"--each", "each.png", "in.pam", "--compression", level});
        EXPECT_TRUE(ReadFile(At("each.png")) == ReadFile(At("many.png"))) << level;
    }
}

TEST_F(WritePng, IsNoLargerThanWhatZlibMakesOfPlainRows) {
    for (const int channels : {1, 3}) {
        const Pixels drawing = MakeDrawing(1000, 800, channels), gradient = MakeGradient(1000, 800, channels);
        EXPECT_LT(WrittenSize(drawing), ZlibSize(drawing) * 102 / 100) << channels;
        EXPECT_LT(WrittenSize(gradient), ZlibSize(gradient) * 3 / 4) << channels;
    }
    for (const char* name : {"coffee.png", "chelsea.png"}) {
        const Pixels photo = PixelsOf(LoadPng(Photo(name)));
        EXPECT_LT(WrittenSize(photo), ZlibSize(photo) * 3 / 4) << name;
    }
    for (const int channels : {1, 3}) {
        Pixels flat{2000, 1500, channels, {}};
        flat.bytes.assign(2000U * 1500 * static_cast<unsigned>(channels), 255);
        EXPECT_LT(WrittenSize(flat), ZlibSize(flat) * 102 / 100 + 200) << channels;
    }
    const Pixels noise = MakePixels(900, 700, 3, 4);
    EXPECT_LT(WrittenSize(noise), ZlibSize(noise) * 102 / 100);
}

TEST_F(WritePng, GetsSmallerWithMoreCompression) {
    const std::vector<Pixels> pictures = {MakeDrawing(1000, 800, 3), MakeGradient(1000, 800, 3),
                                          PixelsOf(LoadPng(Photo("coffee.png"))),
                                          PixelsOf(LoadPng(Photo("chelsea.png")))};
    for (const Pixels& pixels : pictures) {
        SCOPED_TRACE(&pixels - pictures.data());
        const std::size_t none = WrittenSize(pixels, "0"), fast = WrittenSize(pixels, "1"),
                          usual = WrittenSize(pixels, "6"), small = WrittenSize(pixels, "9");
        EXPECT_GT(none, pixels.bytes.size());
        EXPECT_LT(fast, none);
        EXPECT_LE(usual, fast);
        EXPECT_LE(small, usual);
    }
    EXPECT_LT(WrittenSize(pictures[0], "9"), WrittenSize(pictures[0], "1") * 3 / 4);
}

// The picture is written row by row: what the tests hold would count as the program's.
TEST_F(WritePng, HoldsNoMoreThanSomeBands) {
    const int width = 7000, height = kSlowBuild ? 200 : 3000;
    const Pixels noise = MakePixels(width + 1000, 1, 3, 5);
    std::ofstream file(At("in.ppm"), std::ios::binary);
    file << "P6\n" << width << " " << height << "\n255\n";
    for (int y = 0; y < height; ++y)
        file.write(reinterpret_cast<const char*>(noise.bytes.data()) + y * 37 % 1000 * 3, width * 3L);
    file.close();
    const Outcome outcome = RunWell({"in.ppm", "out.png"});
    if (!kSlowBuild) {
        EXPECT_LT(outcome.peakBytes, std::int64_t{40} << 20);  // of 63 of pixels
    }
    RunWell({"out.png", "back.ppm"});
    EXPECT_TRUE(ReadFile(At("back.ppm")) == ReadFile(At("in.ppm")));
}

TEST_F(WritePng, TellsWhenTheDiskIsFullBetweenBands) {
    SavePam(At("in.pam"), MakePixels(2000, 1500, 3, 2));
    WriteFile(At("out.png"), "old");
    for (const std::uint64_t limit : {10'000U, 1'000'000U, 5'000'000U}) {
        RunOptions options;
        options.fileSizeLimit = limit;
        ExpectFailure(Run({"in.pam", "out.png"}, options), 1, {"out.png", "File too large"});
        EXPECT_EQ(ReadFile(At("out.png")), "old");
        EXPECT_EQ(Files(), (std::vector<std::string>{"in.pam", "out.png"}));
    }
}

TEST_F(WritePng, TellsWhenMemoryIsShort) {
    if (kSlowBuild) GTEST_SKIP() << "sanitizers take addresses without end";
    SavePam(At("in.pam"), MakePixels(1000, 1000, 3, 2));
    RunWell({"in.pam", "reference.png"});
    int done = 0, failed = 0;
    for (std::uint64_t megabytes = 8; megabytes <= 160; megabytes += megabytes < 48 ? 2 : 32) {
        SCOPED_TRACE(megabytes);
        RunOptions options;
        options.addressLimit = megabytes << 20;
        const Outcome outcome = Run({"in.pam", "out.png"}, options);
        if (outcome.exitCode == 0) {
            ++done;
            EXPECT_TRUE(ReadFile(At("out.png")) == ReadFile(At("reference.png")));
            std::filesystem::remove(At("out.png"));
        } else {
            ++failed;
            EXPECT_EQ(outcome.signal, 0);
            EXPECT_NE(outcome.err, "");
            EXPECT_EQ(Files(), (std::vector<std::string>{"in.pam", "reference.png"}));
        }
    }
    EXPECT_GT(done, 0);
    EXPECT_GT(failed, 0);
}

TEST_F(WritePng, LeavesNothingBehindWhenItIsEndedAmongBands) {
    SavePam(At("in.pam"), MakePixels(3000, 3000, 3, 2));
    WriteFile(At("out.png"), "old");
    for (const int number : {SIGINT, SIGTERM}) {
        const pid_t process = Start({"in.pam", "out.png", "--compression", "9"});
        AwaitOutput(process);
        kill(process, number);
        const Outcome outcome = Wait(process);
        EXPECT_EQ(outcome.signal, number);
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(ReadFile(At("out.png")), "old");
        EXPECT_EQ(Files(), (std::vector<std::string>{"in.pam", "out.png"}));
    }
}

}  // namespace
