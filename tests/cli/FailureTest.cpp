// Bad inputs and outputs: one line that names the file, exit code 1, and nothing that existed before is touched.

#include <png.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstring>

#include "TestPictures.h"
#include "ZorTest.h"
#include "support/Sanitizers.h"

namespace {

namespace fs = std::filesystem;

class Failure : public ZorTest {
protected:
    Failure() { WriteFile(At("out.png"), "old"); }

    void ExpectUntouched(const std::vector<std::string>& files) {
        EXPECT_EQ(ReadFile(At("out.png")), "old");
        EXPECT_EQ(Files(), files);
    }
};

TEST_F(Failure, RefusesInputsThatAreNoPictures) {
    WriteFile(At("empty.png"), "");
    WriteFile(At("text.png"), "This is not a picture.\n");
    WriteFile(At("short.png"), "\x89PNG");
    WriteFile(At("other.png"), "GIF89a, or so it says");
    fs::create_directory(At("directory.png"));
    const std::vector<std::string> before = Files();
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"empty.png", "the file is empty"},
        {"text.png", "not a picture of a known format (PNG, JPEG, "},
        {"short.png", "not a picture of a known format"},
        {"other.png", "not a picture of a known format"},
        {"directory.png", "Is a directory"},
        {"missing.png", "No such file or directory"},
        {"text.png/in.png", "Not a directory"}};
    for (const auto& [name, told] : cases) {
        SCOPED_TRACE(name);
        ExpectFailure(Run({name, "out.png"}), 1, {name + ": ", told});
        ExpectFailure(Run({"info", name}), 1, {name + ": ", told});
    }
    ExpectUntouched(before);
}

TEST_F(Failure, RefusesOutputsThatCannotBeMade) {
    SavePng(At("in.png"), PlainPng(MakePixels(8, 8, 3, 1)));
    WriteFile(At("file"), "x");
    fs::create_directory(At("directory.png"));
    const std::vector<std::string> before = Files();
    const std::vector<std::pair<std::string, std::string>> cases = {{"nowhere/out.png", "No such file or directory"},
                                                                    {"file/out.png", "Not a directory"},
                                                                    {"directory.png", "Is a directory"},
                                                                    {"/proc/out.png", "No such file or directory"}};
    for (const auto& [name, told] : cases) {
        SCOPED_TRACE(name);
        ExpectFailure(Run({"in.png", name}), 1, {name + ": ", told});
    }
    ExpectUntouched(before);
}

TEST_F(Failure, RespectsMissingPermissions) {
    RunOptions options;
    options.obeysPermissions = true;
    SavePng(At("in.png"), PlainPng(MakePixels(8, 8, 3, 1)));
    fs::permissions(At("out.png"), fs::perms{0444});
    ExpectFailure(Run({"in.png", "out.png"}, options), 1, {"out.png: Permission denied"});
    fs::create_directory(At("locked"));
    fs::permissions(At("locked"), fs::perms{0555});
    ExpectFailure(Run({"in.png", "locked/out.png"}, options), 1, {"locked/out.png: Permission denied"});
    fs::permissions(At("locked"), fs::perms{0755});
    fs::permissions(At("in.png"), fs::perms{0});
    ExpectFailure(Run({"in.png", "new.png"}, options), 1, {"in.png: Permission denied"});
    ExpectUntouched({"in.png", "locked", "out.png"});
}

TEST_F(Failure, RefusesFilesCutAnywhere) {
    PngFile interlaced = PlainPng(MakePixels(90, 70, 4, 3));
    interlaced.interlaced = true;
    interlaced.profile = MakeProfile("RGB ");
    SavePng(At("a"), PlainPng(MakePixels(90, 70, 3, 3)));
    SavePng(At("b"), interlaced);
    JpegFile jpeg;
    jpeg.pixels = MakePixels(90, 70, 3, 3);
    jpeg.profile = MakeProfile("RGB ");
    SaveJpeg(At("c"), jpeg);
    jpeg.progressive = true;
    SaveJpeg(At("d"), jpeg);
    jpeg.pixels = MakePixels(90, 70, 4, 3);
    SaveJpeg(At("e"), jpeg);
    WriteFile(At("out.jpg"), "old too");
    WriteFile(At("cut"), "");
    const std::vector<std::string> before = Files();
    for (const char* name : {"a", "b", "c", "d", "e"}) {
        const std::string whole = ReadFile(At(name));
        // Every length in the head of the file, some all over the rest, and all but the last bytes.
        std::vector<std::size_t> lengths;
        for (std::size_t i = 0; i < 40; ++i) lengths.push_back(i);
        for (std::size_t i = 1; i < 60; ++i) lengths.push_back(40 + (whole.size() - 50) * i / 60);
        for (std::size_t i = 1; i <= 2; ++i) lengths.push_back(whole.size() - i);
        for (const std::size_t length : lengths) {
            SCOPED_TRACE(std::string(name) + " cut to " + std::to_string(length) + " of " +
                         std::to_string(whole.size()));
            WriteFile(At("cut"), whole.substr(0, length));
            const char* output = length % 2 == 0 || name[0] == 'e' ? "out.jpg" : "out.png";  // PNG holds no CMYK
            ExpectFailure(Run({"--quiet", "cut", output}), 1, {"cut: "});
        }
    }
    ExpectUntouched(before);
    EXPECT_EQ(ReadFile(At("out.jpg")), "old too");
}

TEST_F(Failure, TellsDamageFromAShortFile) {
    SavePng(At("in.png"), PlainPng(MakePixels(90, 70, 3, 3)));
    std::string bytes = ReadFile(At("in.png"));
    WriteFile(At("cut.png"), bytes.substr(0, bytes.size() / 2));
    ExpectFailure(Run({"cut.png", "out.png"}), 1, {"cut.png: damaged PNG: the file ends too early"});
    bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 0x10);
    WriteFile(At("bad.png"), bytes);
    ExpectFailure(Run({"bad.png", "out.png"}), 1, {"bad.png: damaged PNG: "});

    std::string photo = ReadFile(Photo("rocket.jpg"));
    WriteFile(At("cut.jpg"), photo.substr(0, photo.size() / 2));
    ExpectFailure(Run({"cut.jpg", "out.png"}), 1, {"cut.jpg: damaged JPEG: Premature end of input file"});
    // An end in the middle of the pixels.
    photo.replace(photo.size() / 2, 2, "\xFF\xD9");
    WriteFile(At("bad.jpg"), photo);
    ExpectFailure(Run({"bad.jpg", "out.png"}), 1, {"bad.jpg: damaged JPEG: "});
    ExpectUntouched({"bad.jpg", "bad.png", "cut.jpg", "cut.png", "in.png", "out.png"});
}

TEST_F(Failure, SurvivesAnyFlippedByte) {
    SavePng(At("a"), PlainPng(MakePixels(20, 15, 4, 3)));
    JpegFile jpeg;
    jpeg.pixels = MakePixels(20, 15, 3, 3);
    SaveJpeg(At("b"), jpeg);
    jpeg.progressive = true;
    SaveJpeg(At("c"), jpeg);
    for (const char* name : {"a", "b", "c"}) {
        const std::string whole = ReadFile(At(name));
        for (std::size_t at = 0; at < whole.size(); at += 1 + whole.size() / 150) {
            SCOPED_TRACE(std::string(name) + " at " + std::to_string(at));
            std::string bytes = whole;
            bytes[at] = static_cast<char>(bytes[at] ^ 0x5A);
            WriteFile(At("bad"), bytes);
            const Outcome outcome = Run({"--quiet", "bad", "new.jpg", "scale", "8x8"});
            if (outcome.exitCode != 0) {
                ExpectFailure(outcome, 1, {"bad: "});
                EXPECT_FALSE(fs::exists(At("new.jpg")));
            }
            fs::remove(At("new.jpg"));
        }
    }
    ExpectUntouched({"a", "b", "bad", "c", "out.png"});
}

std::string Chunk(const std::string& type, const std::string& data) {
    const auto number = [](std::uint32_t value) {
        std::string bytes;
        for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift & 255U);
        return bytes;
    };
    std::uint32_t crc = 0xFFFFFFFF;
    for (const char c : type + data) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 1U) != 0 ? 0xEDB88320 ^ crc >> 1 : crc >> 1;
    }
    return number(static_cast<std::uint32_t>(data.size())) + type + data + number(~crc);
}

std::string PngHead(std::uint32_t width, std::uint32_t height, char colourType) {
    std::string head;
    for (const std::uint32_t side : {width, height})
        for (int shift = 24; shift >= 0; shift -= 8) head += static_cast<char>(side >> shift & 255U);
    head += '\x08';
    head += colourType;
    return std::string("\x89PNG\r\n\x1A\n") + Chunk("IHDR", head + std::string(3, '\0')) + Chunk("IDAT", "x");
}

TEST_F(Failure, RefusesHugePicturesBeforeItReadsThem) {
    const auto start = std::chrono::steady_clock::now();
    WriteFile(At("wide.png"), PngHead(2147483647, 1, 6));
    WriteFile(At("large.png"), PngHead(2147483647, 2147483647, 2));
    WriteFile(At("limit.png"), PngHead(100000000, 1000000000, 0));  // more than any disk holds
    WriteFile(At("zero.png"), PngHead(0, 5, 2));
    WriteFile(At("over.png"), PngHead(4294967295U, 5, 2));
    std::string jpeg = ReadFile(Photo("rocket.jpg"));
    const std::size_t frame = jpeg.find("\xFF\xC0");
    ASSERT_NE(frame, std::string::npos);
    jpeg.replace(frame + 5, 4, "\xFF\x00\xFF\x00", 4);
    WriteFile(At("large.jpg"), jpeg);
    const std::vector<std::string> before = Files();
    ExpectFailure(Run({"wide.png", "out.png"}), 1, {"wide.png: too large: 2147483647 x 1 pixels", "2 GiB"});
    ExpectFailure(Run({"large.png", "out.png"}), 1, {"large.png: too large: 2147483647 x 2147483647 pixels", "2 GiB"});
    ExpectFailure(Run({"limit.png", "out.png", "flip", "v"}), 1,  // which takes all of it
                  {"limit.png: too large: 100000000 x 1000000000 pixels", "scratch directory"});
    ExpectFailure(Run({"zero.png", "out.png"}), 1, {"zero.png: "});
    ExpectFailure(Run({"over.png", "out.png"}), 1, {"over.png: "});
    ExpectFailure(Run({"large.jpg", "out.png"}), 1, {"large.jpg: "});
    ExpectUntouched(before);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

TEST_F(Failure, RefusesSizesBeforeTheWorkStarts) {
    // Reading this file fails, so a complaint about the size shows that nothing was read before.
    SavePng(At("in.png"), PlainPng(MakePixels(300, 200, 3, 3)));
    WriteFile(At("in.png"), ReadFile(At("in.png")).substr(0, 200));
    const std::vector<std::pair<std::vector<std::string>, std::vector<std::string>>> cases = {
        {{"out.jpg", "scale", "65501x1"}, {"out.jpg: JPEG holds at most 65500 pixels a side", "65501 x 1"}},
        {{"out.jpg", "scalefast", "1x70000"}, {"out.jpg: JPEG holds at most 65500 pixels a side", "1 x 70000"}},
        // The plug-in's way holds the result, and an image between.
        {{"out.png", "scale", "5000000x5000000", "--plugin-bytes"}, {"scale: ", "too large", "scratch directory"}},
        {{"out.png", "scalefast", "5000000x5000000"},
         {"scalefast: too large: 5000000 x 5000000 pixels", "scratch directory"}},
        {{"out.png", "scalefast", "10000000%"},
         {"scalefast: too large: 30000000 x 20000000 pixels", "scratch directory"}},
        {{"out.png", "scale", "2147483647x1"}, {"scale: ", "too large", "2 GiB"}},
        {{"out.png", "scale", "200000000x1", "--plugin-bytes"},
         {"scale: the image between the two passes: too large", "2 GiB"}},
        {{"out.png", "scale", "10x10", "scalefast", "x9999999"}, {"scalefast: too large: 9999999 x 9999999 pixels"}}};
    for (const auto& [effect, told] : cases) {
        // The plug-in's way, which holds whole pictures.
        std::vector<std::string> words = {"--plugin-bytes", "in.png"};
        words.insert(words.end(), effect.begin(), effect.end());
        SCOPED_TRACE(effect[0] + " " + effect[1] + " " + effect[2]);
        ExpectFailure(Run(words), 1, told);
    }
    ExpectUntouched({"in.png", "out.png"});
}

TEST_F(Failure, RefusesRowsThatNoMemoryHoldsBeforeTheWorkStarts) {
    SavePng(At("in.png"), PlainPng(MakePixels(300, 200, 3, 3)));
    WriteFile(At("in.png"), ReadFile(At("in.png")).substr(0, 200));
    ExpectFailure(Run({"in.png", "out.png", "scale", "2147483647x1"}), 1, {"scale: too large: 2147483647 x 1 pixels"});
    ExpectFailure(Run({"in.png", "out.png", "scale", "5000000x5000000"}), 1,
                  {"scale: too large: 5000000 x 5000000 pixels"});
    ExpectFailure(Run({"--memory", "100M", "in.png", "out.png", "scale", "3000000x10"}), 1,
                  {"scale: too large: 3000000 x 10 pixels of 3 bytes", "--memory"});
    ExpectUntouched({"in.png", "out.png"});
}

TEST_F(Failure, TellsOfAFullDisk) {
    RunOptions options;
    options.fileSizeLimit = 4096;
    ExpectFailure(Run({Photo("coffee.png"), "out.png"}, options), 1, {"out.png: File too large"});
    ExpectFailure(Run({Photo("coffee.png"), "new.png"}, options), 1, {"new.png: File too large"});
    ExpectFailure(Run({Photo("coffee.png"), "new.jpg"}, options), 1, {"new.jpg: File too large"});
    ExpectUntouched({"out.png"});
    for (const char* name : {"full.png", "full.jpg"}) {
        fs::create_symlink("/dev/full", At(name));
        ExpectFailure(Run({Photo("coffee.png"), name}), 1, {std::string(name) + ": No space left on device"});
        // A picture small enough to reach the device only when the file is closed.
        ExpectFailure(Run({Photo("coffee.png"), name, "scale", "1x1"}), 1,
                      {std::string(name) + ": No space left on device"});
    }
}

TEST_F(Failure, DoesNotCallAFileDamagedThatIsTooLarge) {
    if (kSanitized) GTEST_SKIP() << "sanitizers take addresses without end";
    JpegFile jpeg;
    jpeg.pixels = MakePixels(4000, 3000, 3, 1);
    jpeg.progressive = true;
    SaveJpeg(At("in.jpg"), jpeg);
    RunOptions options;
    options.addressLimit = std::uint64_t{48} << 20;
    ExpectFailure(Run({"in.jpg", "out.ppm"}, options), 1,
                  {"in.jpg: not enough memory for a progressive JPEG of this size"});
    EXPECT_FALSE(std::filesystem::exists(At("out.ppm")));
}

TEST_F(Failure, CallsOffAProgressiveFileWithEndlessScans) {
    JpegFile jpeg;
    jpeg.pixels = MakePixels(16, 16, 1, 3);
    jpeg.progressive = true;
    SaveJpeg(At("in.jpg"), jpeg);
    const std::string whole = ReadFile(At("in.jpg"));
    // The last scan refines what is there; it may not be repeated, so each copy is one that starts afresh.
    const std::size_t scan = whole.find("\xFF\xDA");
    const std::size_t next = whole.find("\xFF\xC4", scan);
    ASSERT_NE(next, std::string::npos);
    std::string bytes = whole.substr(0, scan);
    for (int i = 0; i < 600; ++i) bytes += whole.substr(scan, next - scan);
    WriteFile(At("in.jpg"), bytes + whole.substr(scan));
    ExpectFailure(Run({"in.jpg", "out.png"}), 1, {"in.jpg: damaged JPEG: "});
    ExpectUntouched({"in.jpg", "out.png"});
}

}  // namespace
