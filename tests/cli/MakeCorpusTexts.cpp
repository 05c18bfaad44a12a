// Those files of the corpus that are text, or little more: Netpbm, EXIF blocks, colour profiles, curves, command lines.

#include <array>
#include <filesystem>

#include "CorpusBytes.h"
#include "TestPictures.h"
#include "TestWebps.h"
#include "ZorTest.h"

namespace {

std::string root;  // with a slash at its end

using NamedFiles = std::vector<std::pair<std::string, std::string>>;

void SaveAll(const std::string& folder, const NamedFiles& files) {
    std::filesystem::create_directories(root + folder);
    for (const auto& [name, bytes] : files) WriteFile(root + folder + "/" + name, bytes);
}

std::string Text(const std::vector<std::uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

std::string Noise(std::size_t count) {
    std::string bytes;
    for (std::size_t i = 0; i < count; ++i) bytes += static_cast<char>(i * 37 + i * i);
    return bytes;
}

std::string Pam(int width, int height, int depth, int most, const std::string& type, const std::string& pixels) {
    return "P7\nWIDTH " + std::to_string(width) + "\nHEIGHT " + std::to_string(height) + "\nDEPTH " +
           std::to_string(depth) + "\nMAXVAL " + std::to_string(most) + "\n" +
           (type.empty() ? "" : "TUPLTYPE " + type + "\n") + "ENDHDR\n" + pixels;
}

void SavePnms() {
    SaveAll("pnm", {{"plain.pbm", "P1\n# bits\n5 2\n1 0 1 0 1\n01010\n"},
                    {"plain.pgm", "P2 3 2 15\n0 1 2\n13 14 15\n"},
                    {"plain.ppm", "P3\n2 1\n255\n1 2 3 # one pixel\n4 5 6\n"},
                    {"bytes.pbm", "P4\n13 3\n" + Noise(6)},
                    {"bytes.pgm", "P5\n7 5\n255\n" + Noise(35)},
                    {"bytes.ppm", "P6 7 5 255\n" + Noise(105)},
                    {"words.pgm", "P5\n7 5\n65535\n" + Noise(70)},
                    {"words.ppm", "P6\n3 5\n256\n" + std::string(90, '\0')},
                    {"odd-most.pgm", "P5\n7 5\n100\n" + std::string(35, '\x40')},
                    {"most-1.pgm", "P5\n4 1\n1\n" + std::string("\0\1\1\0", 4)},
                    {"above-most.pgm", "P5\n4 1\n9\n\x0A\xFF\x01\x02"},
                    {"above-most-plain.pgm", "P2\n4 1\n9\n10 255 1 2\n"},
                    {"most-0.pgm", "P5\n4 1\n0\n1234"},
                    {"most-65536.pgm", "P5\n4 1\n65536\n12345678"},
                    {"most-huge.ppm", "P6\n4 1\n99999999999999999999\n12345678"},
                    {"zero-width.pgm", "P5\n0 4\n255\n"},
                    {"zero-height.ppm", "P6\n4 0\n255\n"},
                    {"negative.pgm", "P5\n-4 4\n255\n1234567890123456"},
                    {"plus.pgm", "P5\n+4 4\n255\n1234567890123456"},
                    {"hexadecimal.pgm", "P5\n0x4 4\n255\n1234567890123456"},
                    {"fraction.pgm", "P5\n4.0 4\n255\n1234567890123456"},
                    {"largest.pgm", "P5\n2147483647 2147483647\n255\n1"},
                    {"largest.pbm", "P4\n2147483647 2147483647\n1"},
                    {"wide-plain.pbm", "P1\n2147483647 1\n1"},
                    {"of-2-to-32.ppm", "P6\n4294967296 1\n255\n1"},
                    {"of-2-to-64.ppm", "P6\n18446744073709551617 1\n255\n123"},
                    {"product-wraps.ppm", "P6\n65536 65537\n65535\n123"},
                    {"large-but-empty.pgm", "P5\n20000 20000\n255\n"},
                    {"digits.pgm", "P5\n" + std::string(1500, '9') + " 1\n255\n1"},
                    {"zeros.pgm", "P5\n" + std::string(1500, '0') + "1 1\n255\n1"},
                    {"comment.pgm", "P5#" + std::string(1500, 'c') + "\n1#\n1 #\n255\n1"},
                    {"comment-endless.pgm", "P5\n#" + std::string(1500, '#')},
                    {"spaces.pgm", "P5" + std::string(1500, ' ') + "1 1 255 1"},
                    {"carriage-returns.ppm", "P6\r\n1 1\r\n255\r\nabc"},
                    {"no-pixels.pgm", "P5\n4 4\n255"},
                    {"head-only.pgm", "P5\n"},
                    {"cut-in-size.pgm", "P5\n12"},
                    {"cut.pgm", "P5\n7 5\n255\n" + Noise(34)},
                    {"cut-plain.ppm", "P3\n2 1\n255\n1 2 3 4 5"},
                    {"letters.ppm", "P3\n2 1\n255\n1 2 3 x 5 6"},
                    {"bits-other.pbm", "P1\n3 1\n1 2 0"},
                    {"two.pgm", "P5\n2 1\n255\nabP5\n2 1\n255\ncd"},
                    {"more-behind.ppm", "P6\n1 1\n255\nabc" + Noise(200)},
                    {"gray.pam", Pam(3, 2, 1, 255, "GRAYSCALE", Noise(6))},
                    {"gray-alpha.pam", Pam(3, 2, 2, 255, "GRAYSCALE_ALPHA", Noise(12))},
                    {"rgb.pam", Pam(3, 2, 3, 255, "RGB", Noise(18))},
                    {"rgb-alpha.pam", Pam(3, 2, 4, 255, "RGB_ALPHA", Noise(24))},
                    {"rgb-alpha-words.pam", Pam(3, 2, 4, 65535, "RGB_ALPHA", Noise(48))},
                    {"cmyk.pam", Pam(3, 2, 4, 255, "CMYK", Noise(24))},
                    {"bits.pam", Pam(3, 2, 1, 1, "BLACKANDWHITE", std::string("\0\1\1\0\0\1", 6))},
                    {"bits-alpha.pam", Pam(3, 1, 2, 1, "BLACKANDWHITE_ALPHA", std::string("\0\1\1\0\0\1", 6))},
                    {"no-type-1.pam", Pam(3, 2, 1, 255, "", Noise(6))},
                    {"no-type-4.pam", Pam(3, 2, 4, 255, "", Noise(24))},
                    {"type-other.pam", Pam(3, 2, 3, 255, "SOMETHING ELSE", Noise(18))},
                    {"type-of-other-depth.pam", Pam(3, 2, 4, 255, "GRAYSCALE", Noise(24))},
                    {"type-long.pam", Pam(1, 1, 3, 255, std::string(1500, 'T'), "abc")},
                    {"depth-0.pam", Pam(3, 2, 0, 255, "RGB", Noise(18))},
                    {"depth-5.pam", Pam(3, 2, 5, 255, "", Noise(30))},
                    {"depth-huge.pam", Pam(3, 2, 2147483647, 255, "", Noise(30))},
                    {"width-negative.pam", Pam(-3, 2, 1, 255, "", Noise(6))},
                    {"largest.pam", Pam(2147483647, 2147483647, 4, 65535, "RGB_ALPHA", Noise(30))},
                    {"most-0.pam", Pam(3, 2, 1, 0, "", Noise(6))},
                    {"no-end.pam", "P7\nWIDTH 3\nHEIGHT 2\nDEPTH 1\nMAXVAL 255\n"},
                    {"no-width.pam", "P7\nHEIGHT 2\nDEPTH 1\nMAXVAL 255\nENDHDR\nabcdef"},
                    {"twice.pam", "P7\nWIDTH 9\nWIDTH 3\nDEPTH 1\nDEPTH 1\nHEIGHT 2\nMAXVAL 255\nENDHDR\nabcdef"},
                    {"unknown-word.pam", "P7\nWIDTH 3\nHEIGHT 2\nCOLOUR red\nDEPTH 1\nMAXVAL 255\nENDHDR\nabcdef"},
                    {"comments.pam", "P7\n# one\n\nWIDTH 3 \nHEIGHT\t2\n#\nDEPTH 1\nMAXVAL 255\nENDHDR\nabcdef"},
                    {"types-joined.pam",
                     "P7\nWIDTH 1\nHEIGHT 2\nDEPTH 3\nTUPLTYPE R\nTUPLTYPE GB\nMAXVAL 255\nENDHDR\nabcdef"}});
}

// An EXIF block in Intel's order: entries of tag, type, count and value.
std::string Exif(const std::vector<std::array<std::uint32_t, 4>>& entries, const std::string& behind = "") {
    std::string bytes = "II*" + std::string(1, '\0') + Little(8, 4) + Little(entries.size(), 2);
    for (const auto& entry : entries)
        bytes += Little(entry[0], 2) + Little(entry[1], 2) + Little(entry[2], 4) + Little(entry[3], 4);
    return bytes + Little(0, 4) + behind;
}

void SaveExifs() {
    const std::string camera = Text(MakeExifBlock(6, 300, 300, 2));
    const std::string prefix = "Exif" + std::string(2, '\0');
    const auto resolution = [](std::uint32_t unit, const std::string& fractions) {
        return Exif({{282, 5, 1, 50}, {283, 5, 1, 58}, {296, 3, 1, unit}}, fractions);
    };
    SaveAll("exif",
            {{"camera", camera},
             {"camera-with-prefix", prefix + camera},
             {"centimetres", prefix + Text(MakeExifBlock(1, 118, 118, 3))},
             {"shape", Text(MakeExifBlock(8, 2, 1, 1))},
             {"prefix-only", prefix},
             {"head-only", "MM" + std::string(1, '\0') + "*" + Big(8, 4)},
             {"no-order", "XX" + camera.substr(2)},
             {"cut-in-directory", camera.substr(0, 40)},
             {"cut-in-fractions", camera.substr(0, camera.size() - 3)},
             {"orientation-0", Exif({{274, 3, 1, 0}})},
             {"orientation-9", Exif({{274, 3, 1, 9}})},
             {"orientation-long", Exif({{274, 4, 1, 0xFFFF0006}})},
             {"orientation-twice", Exif({{274, 3, 1, 3}, {274, 3, 1, 5}})},
             {"directory-outside", "II*" + std::string(1, '\0') + Little(0xFFFFFFFF, 4)},
             {"directory-at-end", "II*" + std::string(1, '\0') + Little(7, 4)},
             {"directory-huge", "II*" + std::string(1, '\0') + Little(8, 4) + Little(65535, 2)},
             {"fractions-outside", Exif({{282, 5, 1, 0xFFFFFFFF}, {283, 5, 1, 0xFFFFFFFC}})},
             {"fraction-by-0", resolution(2, Little(300, 4) + Little(0, 4) + Little(300, 4) + Little(0, 4))},
             {"fraction-0", resolution(2, std::string(16, '\0'))},
             {"fraction-huge", resolution(3, Little(0xFFFFFFFF, 4) + Little(1, 4) + Little(1, 4) + Little(1, 4))},
             {"fraction-odd", resolution(3, Little(1000000, 4) + Little(3, 4) + Little(999999, 4) + Little(1, 4))},
             {"shape-of-squares", resolution(1, Little(72, 4) + Little(1, 4) + Little(72, 4) + Little(1, 4))},
             {"unit-9", resolution(9, Little(72, 4) + Little(1, 4) + Little(72, 4) + Little(1, 4))}});
}

void SaveProfiles() {
    const std::string rgb = Text(MakeProfile("RGB ")).substr(0, 300);
    // The size of the profile, which the text before it was cut to.
    const auto sized = [](std::string bytes) { return bytes.replace(0, 4, Big(bytes.size(), 4)); };
    const auto number = [](std::string bytes, std::size_t at, std::uint32_t value) {
        return bytes.replace(at, 4, Big(value, 4));
    };
    const std::string words = "mluc" + Big(0, 4) + Big(1, 4) + Big(12, 4) + "enUS" + Big(8, 4) + Big(28, 4) +
                              std::string("\0P\x04\x1F\0!\0\n", 8);
    const std::string head = rgb.substr(0, 132);
    const std::string newer = sized(head + "desc" + Big(144, 4) + Big(words.size(), 4) + words);
    SaveAll("icc", {{"rgb", sized(rgb)},
                    {"gray", sized(Text(MakeProfile("GRAY")).substr(0, 300))},
                    {"cmyk", sized(Text(MakeProfile("CMYK")).substr(0, 300))},
                    {"newer", newer},
                    {"newer-long-name", number(newer, 144 + 20, 0xFFFFFFFF)},
                    {"newer-name-outside", number(newer, 144 + 24, 0xFFFFFFF0)},
                    {"newer-odd-name", number(newer, 144 + 20, 7)},
                    {"lab", sized(rgb).replace(16, 4, "Lab ")},
                    {"space-of-zeros", sized(rgb).replace(16, 4, std::string(4, '\0'))},
                    {"no-mark", sized(rgb).replace(36, 4, "none")},
                    {"size-too-large", number(rgb, 0, 0x7FFFFFFF)},
                    {"size-0", number(rgb, 0, 0)},
                    {"head-only", sized(head.substr(0, 128))},
                    {"no-tags", number(sized(head), 128, 0)},
                    {"tags-4g", number(sized(rgb), 128, 0xFFFFFFFF)},
                    {"tags-cut", number(sized(head), 128, 9)},
                    {"tag-outside", number(sized(rgb), 136, 0xFFFFFFF0)},
                    {"tag-huge", number(sized(rgb), 140, 0xFFFFFFF0)},
                    {"tag-short", number(sized(rgb), 140, 5)},
                    {"tag-of-itself", number(sized(rgb), 136, 0)},
                    {"name-huge", number(sized(rgb), 152, 0xFFFFFFFF)},
                    {"name-empty", number(sized(rgb), 152, 0)},
                    {"name-unprintable", sized(rgb).replace(156, 5, "\x01\n\xFF\x7F\x1B")},
                    {"cut", sized(rgb).substr(0, 140)}});
}

void SaveCurves() {
    std::string values, falling;
    for (int i = 0; i < 256; ++i) {
        values += std::to_string(i) + (i % 16 == 15 ? "\n" : " ");
        falling += std::to_string(255 - i) + ",";
    }
    SaveAll("curve", {{"values", values},
                      {"values-with-commas", falling},
                      {"values-carriage-returns", Patched(values, " ", 0, "\r")},
                      {"values-255", values.substr(2)},
                      {"values-257", values + "7"},
                      {"values-many", values + values},
                      {"value-256", Patched(values, " 255", 0, " 256")},
                      {"value-negative", Patched(values, " 255", 0, " -55")},
                      {"value-hexadecimal", Patched(values, " 255", 0, " 0xF")},
                      {"points", "0:0,128:200,255:255"},
                      {"points-in-lines", "0:255\n255:0\n"},
                      {"point", "7:9"},
                      {"points-level", "10:10 20:10\t30:10"},
                      {"points-falling-x", "10:10,5:5"},
                      {"points-twice", "10:10,10:20"},
                      {"point-256", "256:0"},
                      {"point-huge", "99999999999999999999:1"},
                      {"point-open", "5:"},
                      {"point-colons", "5::5"},
                      {"separators", " ,\n,\t\r"},
                      {"zero-bytes", std::string(64, '\0')},
                      {"text", "no curve at all"},
                      {"bytes", Noise(300)},
                      {"mixed", "0:0 17 255:255"}});
}

void SaveWords() {
    SaveAll("words",
            {{"scale", "a.png\nb.jpg\nscale\n50%"},
             {"scale-size", "a.png\nb.jpg\nscale\n640x480\nfilter=lanczos3\nthreads=4"},
             {"scale-one-side", "a\nb.webp\nscalefast\nx90"},
             {"scale-0", "a\nb.webp\nscale\n0x0"},
             {"scale-huge", "a\nb.webp\nscale\n99999999999999999999x1"},
             {"scale-percent", "a\nb.webp\nscale\n1e308%"},
             {"crop", "a\nb.tif\ncrop\n-5,7,20x30"},
             {"crop-huge", "a\nb.tif\ncrop\n2147483647,-2147483648,2147483647x2147483647"},
             {"rotate", "a\nb.png\nrotate\n-22.5\nbackground=#FF000080"},
             {"matrix", "a\nb.png\nmatrix\n0,-1,0,-1,5,-1,0,-1,0\ndivisor=1"},
             {"matrix-uneven", "a\nb.png\nmatrix\n1,2,3,4"},
             {"curve", "a\nb.png\ncurve\n0:0,100:200,255:255"},
             {"blur", "a\nb.png\nblur\n2.5\nblur\nradius=nan"},
             {"colour", "a\nb.png\nconvert\nRGB\ntint\ncolour=12345"},
             {"combine", "a\nb.png\ncombine\nc.png\nmode=multiply\nopacity=50"},
             {"paste", "a\nb.png\npaste\nc.png\nat=-1,-1"},
             {"misspelt", "a\nb.png\nscael\n50%"},
             {"each", "--each\nout/{stem}-{n}.png\na\nb\n--\ngray\ninvert"},
             {"each-jobs", "--jobs\n4\n--each={stem}.jpg\n-q\na.png"},
             {"options", "--quality=90\n--compression\n9\n--lossless\n--memory=1.5G\n--scratch\n/tmp\na\nb.webp"},
             {"option-numbers", "--quality\n99999999999999999999\na\nb.jpg"},
             {"option-memory", "--memory\n1e400T\na\nb.jpg"},
             {"format", "--format\npam\na\n-\ninvert"},
             {"info", "info\n--json\na\nb\nc"},
             {"compare", "compare\na\nb\nc"},
             {"help", "help\nscale"},
             {"flags", "-qh\n--version\n--man"},
             {"dashes", "--\n-a\n--b.png\n--\ninvert"},
             {"equals", "a\nb.png\n=\n==\nscale=\n=50%"},
             {"empty-words", "\n\n\n"},
             {"bytes", Noise(200)}});
}

}  // namespace

void SavePlainCorpus(const std::string& corpus) {
    root = corpus + "/";
    SavePnms();
    SaveExifs();
    SaveProfiles();
    SaveCurves();
    SaveWords();
}
