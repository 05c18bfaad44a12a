#include "goldens/Arguments.h"

#include <climits>
#include <limits>
#include <map>
#include <stdexcept>

#include "core/Formats.h"

using namespace zor;

namespace {

using Arguments = std::vector<GoldenArgument>;

Arguments Integers(const std::vector<int>& numbers) {
    Arguments arguments;
    for (const int number : numbers) {
        arguments.push_back(
            {std::to_string(number), [number](GoldenScene&) { return GoldenValue{.integer = number}; }});
    }
    return arguments;
}

struct NamedReal {
    const char* text;
    double value;
};

Arguments Reals(const std::vector<NamedReal>& numbers) {
    Arguments arguments;
    for (const NamedReal& number : numbers) {
        arguments.push_back({number.text, [value = number.value](GoldenScene&) { return GoldenValue{.real = value}; }});
    }
    return arguments;
}

template <class Make>
GoldenArgument Object(const char* text, Make make) {
    return {text, [make](GoldenScene& scene) { return GoldenValue{.object = make(scene)}; }};
}

const GoldenArgument kNil{"nil", [](GoldenScene&) { return GoldenValue{}; }};
const GoldenArgument kSelf = Object("itself", [](GoldenScene& scene) { return scene.Self(); });
const GoldenArgument kAnother = Object("another", [](GoldenScene& scene) { return scene.Another(); });
const GoldenArgument kPart = Object("part of it", [](GoldenScene& scene) { return scene.PartOfSelf(); });
const GoldenArgument kSmaller = Object("a smaller one", [](GoldenScene& scene) {
    return scene.OfSize((scene.width() + 1) / 2, (scene.height() + 1) / 2, scene.format());
});
const GoldenArgument kLarger = Object("a larger one", [](GoldenScene& scene) {
    return scene.OfSize(scene.width() + 9, scene.height() + 6, scene.format());
});
const GoldenArgument kTurned = Object("one of the sides exchanged", [](GoldenScene& scene) {
    return scene.OfSize(scene.height(), scene.width(), scene.format());
});
const GoldenArgument kGray =
    Object("a gray one", [](GoldenScene& scene) { return scene.OfSize(scene.width(), scene.height(), ImageFormatG); });

// With as many channels or more, mostly in another order: the next formats of the list.
Arguments OfOtherFormats() {
    Arguments arguments;
    for (const int step : {1, 2, 5, 11}) {
        arguments.push_back(
            Object(step == 1 ? "one of the next format" : "one of another format", [step](GoldenScene& scene) {
                const std::vector<int>& formats = AllFormats();
                std::size_t at = static_cast<std::size_t>(step);
                while (formats[at % formats.size()] != scene.format() && at < 100) ++at;
                return scene.OfSize(scene.width(), scene.height(),
                                    formats[(at + static_cast<std::size_t>(step)) % formats.size()]);
            }));
        arguments.back().text += " (" + std::to_string(step) + ")";
    }
    return arguments;
}

Arguments Joined(Arguments first, const Arguments& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Arguments Images(const GoldenOperation& operation, const std::string& name) {
    if (name == "mask") return {kNil, kGray, kAnother, kSmaller, kGray, kNil};
    if (name == "temp") {
        return {kNil, Object("a wide one",
                             [](GoldenScene& scene) { return scene.OfSize(80, scene.height(), ImageFormatCMYKA); })};
    }
    if (name == "dest" && operation.method.starts_with("Rotate")) {
        return Joined({kNil, kTurned, kAnother, kSelf, kLarger, kSmaller}, OfOtherFormats());
    }
    if (name == "dest") return Joined({kNil, kAnother, kSelf, kPart, kSmaller, kLarger}, OfOtherFormats());
    return Joined({kAnother, kAnother, kSelf, kPart, kSmaller, kLarger, kGray, kNil}, OfOtherFormats());
}

Arguments Pictures() {
    const auto picture = [](const char* text, FakePicture::Kind kind, int bits, bool withMask) {
        return Object(text, [=](GoldenScene& scene) { return scene.Picture(kind, bits, withMask); });
    };
    using enum FakePicture::Kind;
    return {picture("a console picture", console, 32, false),
            picture("a console picture with a mask", console, 32, true),
            picture("a picture of 32 bits with a mask", desktop, 32, true),
            picture("a picture of 24 bits with a mask", desktop, 24, true),
            picture("a picture of 32 bits", desktop, 32, false),
            picture("a picture of 16 bits with a mask", desktop, 16, true),
            picture("a picture without memory, with a mask", other, 32, true),
            kNil};
}

// Of 256 entries, each as the step says.
GoldenArgument Table(const char* text, int first, int step) {
    return {text, [=](GoldenScene& scene) {
                std::vector<int> values;
                for (int i = 0; i < 256; ++i) values.push_back(first + step * i);
                return GoldenValue{.array = scene.Array(values)};
            }};
}
GoldenArgument List(const char* text, const std::vector<int>& values) {
    return {text, [=](GoldenScene& scene) { return GoldenValue{.array = scene.Array(values)}; }};
}

Arguments Arrays(const std::string& name) {
    if (name == "matrix") {
        return {List("soft", {1, 2, 1, 2, 4, 2, 1, 2, 1}),
                List("edges", {-1, -1, -1, -1, 8, -1, -1, -1, -1}),
                List("sharp", {0, -1, 0, -1, 5, -1, 0, -1, 0}),
                List("empty", {}),
                List("large", {1000000, -70000, 30000, 1, 0, 0, 2147483647}),
                Table("of 256", -128, 1)};
    }
    return {Table("inverted", 255, -1), Table("darker", 0, 0), Table("beyond", -300, 3), List("short", {9, 200, 17})};
}

// The sides of an image that is made, which are no more than that: an image of any size could be asked for.
const std::vector<int> kMadeSizes = {20, 1, 33, 57, 0, 80, 16, -1};

bool MakesAnImage(const GoldenOperation& operation) {
    return operation.method.starts_with("Scale") || operation.method.starts_with("CreatePicture") ||
           operation.method == "Constructor";
}

const std::map<std::string, std::vector<int>> kIntegers = {
    {"x", {0, 3, -2, 1, 30, INT_MAX, INT_MIN}},
    {"y", {0, 2, -1, 4, 16, INT_MAX, INT_MIN}},
    {"destx", {0, 3, -2, 1, 30, INT_MAX, INT_MIN}},
    {"desty", {0, 2, -1, 4, INT_MAX, 3}},
    {"sourcex", {0, 2, -3, 5, INT_MAX, 0}},
    {"sourcey", {0, 1, -2, 3, INT_MIN}},
    {"width", {20, 5, 1000, 33, 0, -1, INT_MAX, 64}},
    {"w", {20, 5, 1000, 33, 0, -1, INT_MAX, 64}},
    {"height", {9, 3, 1000, 17, 0, -1, INT_MAX}},
    {"h", {9, 3, 1000, 17, 0, -1, INT_MAX}},
    {"destwidth", {20, 5, 1000, 33, 0, -1, INT_MAX, 64}},
    {"destheight", {9, 3, 1000, 17, 0, -1, INT_MAX}},
    {"imageformat", {1, 2, 4, 7, 10, 11, 12, 13, 16, 21, 22, 23, 25, 29, 33, 40, 0, 14, 41, -1}},
    {"theimageformat", {1, 4, 12, 13, 22, 24, 37, 0, 14}},
    {"mode", {1, 2, 3, 4, 5, 6, 7, 0, 8}},
    {"threads", {1, 2, 3, 0, -1, 40}},
    {"levels", {2, 3, 16, 255, 256, 257, 1, 20, 0}},
    {"range", {1, 2, 0, 5, -1, 3}},
    {"level", {1, 0, 3, -2, 20, 128, 300}},
    {"iterations", {1, 2, 3, 0, -1}},
    {"matrix", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0, 11}},
    {"matrixdimension", {3, 1, 5, 2, 7, 0, -3, 51}},
    {"delta", {0, 128, -50, INT_MAX}},
    {"threshold", {0, 3, 20, 255, -1}},
    {"red", {0, 255, 128, 300, -1, 17}},
    {"green", {255, 0, 99, 256, -200}},
    {"blue", {7, 255, 0, 1000}},
    {"alpha", {128, 255, 0, 1, 254, -1, 300}},
    {"gray", {30, 0, 255, 500}},
    {"cyan", {11, 255, 400}},
    {"magenta", {22, 0, -5}},
    {"yellow", {33, 255}},
    {"black", {44, 0, 200}},
    {"fillcolor", {0xFF8001, 0x123456, 0, 0xFFFFFF, -1}},
    {"white", {0xFFFFFF, 0x00FF80, 0x102030}},
    {"forecolour", {0xFF8001, 0, 0x123456, -1, 0xFFFFFF}},
    {"maskcolour", {0xFFFFFF, 0x204060, -1, 0}},
    {"value", {0, 255, 77, 0x12345678, -1}},
    {"index", {0, 1, 4, -1, 3, 99, 2, INT_MIN}},
    {"blocksize", {100000, 0, 1, -7}},
    {"rowsize", {200, 64, 13, 0}},
};

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

const std::map<std::string, std::vector<NamedReal>> kReals = {
    {"radius",
     {{"1", 1},
      {"0.5", 0.5},
      {"2.5", 2.5},
      {"0", 0},
      {"1.7", 1.7},
      {"5.25", 5.25},
      {"40", 40},
      {"-1", -1},
      {"nan", kNaN},
      {"inf", kInfinity},
      {"0.01", 0.01}}},
    {"gain",
     {{"0.2", 0.2},
      {"0.5", 0.5},
      {"0.83", 0.83},
      {"0", 0},
      {"1", 1},
      {"0.999", 0.999},
      {"-2", -2},
      {"nan", kNaN},
      {"0.35", 0.35}}},
    {"bias", {{"0.7", 0.7}, {"0.5", 0.5}, {"0.1", 0.1}, {"0", 0}, {"1", 1}, {"inf", kInfinity}, {"0.42", 0.42}}},
    {"threshold", {{"0.5", 0.5}, {"0", 0}, {"1", 1}, {"0.3", 0.3}, {"-1", -1}}},
    {"softness", {{"0", 0}, {"0.25", 0.25}, {"1", 1}, {"0.6", 0.6}, {"nan", kNaN}}},
    {"amount", {{"0.5", 0.5}, {"1", 1}, {"3.3", 3.3}, {"0", 0}, {"-1", -1}, {"1e300", 1e300}, {"nan", kNaN}}},
    {"scalefactor", {{"1", 1}, {"16", 16}, {"0.3", 0.3}, {"9", 9}, {"0", 0}, {"-2", -2}, {"nan", kNaN}}},
    {"angle",
     {{"30", 30},
      {"90", 90},
      {"180", 180},
      {"270", 270},
      {"45", 45},
      {"-17.5", -17.5},
      {"123.4", 123.4},
      {"359.9", 359.9},
      {"720.25", 720.25},
      {"0", 0},
      {"1e9", 1e9},
      {"nan", kNaN},
      {"225", 225},
      {"0.001", 0.001},
      {"300.3", 300.3},
      {"89.99", 89.99}}},
};
const std::vector<NamedReal> kGammas = {{"1", 1},     {"0.45", 0.45},   {"2.2", 2.2},       {"0", 0},
                                        {"-1", -1},   {"0.001", 0.001}, {"inf", kInfinity}, {"nan", kNaN},
                                        {"1.8", 1.8}, {"7.3", 7.3}};

}  // namespace

std::vector<GoldenArgument> ArgumentsFor(const GoldenOperation& operation, const GoldenParameter& parameter) {
    const std::string& name = parameter.name;
    const std::string& type = parameter.type;
    if (type == "boolean")
        return {{"false", [](GoldenScene&) { return GoldenValue{.integer = 0}; }},
                {"true", [](GoldenScene&) { return GoldenValue{.integer = 1}; }}};
    if (type == "array") return Arrays(name);
    if (type == "picturezor") return Images(operation, name);
    if (type == "picture") return Pictures();
    if (type == "memoryblock") {
        // They do not tell their size, so they are as large as the largest that is asked for.
        return {Object("a block", [](GoldenScene& scene) { return scene.Block(80 * 200); })};
    }
    if (type == "folderitem") return {Object("a file", [](GoldenScene& scene) { return scene.File(); })};
    if (type == "string") {
        Arguments strings = {kNil};
        for (const int size : {12000, 300, 7, 0}) {
            strings.push_back({std::to_string(size) + " bytes",
                               [size](GoldenScene& scene) { return GoldenValue{.string = scene.String(size)}; }});
        }
        return strings;
    }
    if (type == "double") return Reals(name.ends_with("gamma") ? kGammas : kReals.at(name));
    if (type == "integer" || type == "color") {
        if (MakesAnImage(operation) && (name == "width" || name == "height")) return Integers(kMadeSizes);
        return Integers(kIntegers.at(name));
    }
    throw std::logic_error("nothing is known of " + type + " " + name + " of " + operation.declaration);
}
