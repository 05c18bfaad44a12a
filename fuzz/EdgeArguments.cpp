#include "EdgeArguments.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cmath>
#include <limits>

namespace {

int Near(int number, int distance) {
    return static_cast<int>(std::clamp<std::int64_t>(std::int64_t{number} + distance, INT_MIN, INT_MAX));
}

int AnyNumber(Input& input, const zor::ImageClassData* image) {
    static constexpr int kEdges[] = {INT_MIN, INT_MIN + 1, -65536, -32769, -256,    -2,          -1,          0,
                                     1,       2,           127,    128,    254,     255,         256,         257,
                                     32767,   32768,       65535,  65536,  1 << 24, 0xFFFFFF,    0x808080,    1 << 30,
                                     -1000,   1000,        100000, 46341,  -46341,  INT_MAX / 2, INT_MAX - 1, INT_MAX};
    switch (input.Byte() % 8) {
        case 0:
            return input.OneOf(kEdges);
        case 1:
            return static_cast<int>(input.Word());
        case 2:
            return image ? Near(image->Width, input.Byte() % 5 - 2) : 3;
        case 3:
            return image ? Near(image->Height, input.Byte() % 5 - 2) : 3;
        case 4:
            return 255 - input.Byte();
        default:
            return input.Byte() % 48 - 4;
    }
}

int Side(Input& input) {
    switch (input.Byte() % 16) {
        case 0:
            return AnyNumber(input, nullptr);
        case 1:
            return input.Between(1, 3000);
        case 2:
            return input.Between(60, 300);
        default:
            return 1 + input.Byte() % 40;
    }
}

}  // namespace

int EdgeNumber(Input& input, const std::string& name, const zor::ImageClassData* image) {
    std::string small = name;
    for (char& c : small) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (small.ends_with("imageformat")) return input.Byte() % 48 - 2;
    // These say how long to work.
    if (small == "threads") return input.Byte() % 8 - 1;
    if (small == "iterations") return input.Byte() % 5 - 1;
    if (small == "range") return input.Byte() % 10 - 1;
    if (small == "matrixdimension") {
        static constexpr int kEdges[] = {-1, 0, 20, 49, 50, 51, INT_MIN, INT_MAX};
        return input.Chance(8) ? input.OneOf(kEdges) : input.Byte() % 12;
    }
    if (small == "mode" || small == "matrix") return input.Byte() % 14 - 1;
    if (small == "width" || small == "height") {
        return input.Chance(2) ? Side(input) : AnyNumber(input, image);
    }
    if (small == "index")
        return input.Byte() % 16 < 13 && image ? input.Byte() % std::max(1, image->Height) : AnyNumber(input, image);
    return AnyNumber(input, image);
}

double EdgeReal(Input& input) {
    using Limits = std::numeric_limits<double>;
    static const double kEdges[] = {0,
                                    -0.0,
                                    0.5,
                                    1,
                                    0.999999,
                                    1.000001,
                                    -1,
                                    -0.5,
                                    90,
                                    180,
                                    270,
                                    360,
                                    45,
                                    -45,
                                    1e9,
                                    -1e9,
                                    2147483647.0,
                                    2147483648.0,
                                    -2147483649.0,
                                    1e300,
                                    -1e300,
                                    Limits::max(),
                                    Limits::lowest(),
                                    Limits::min(),
                                    Limits::denorm_min(),
                                    Limits::infinity(),
                                    -Limits::infinity(),
                                    Limits::quiet_NaN(),
                                    1e-300,
                                    255.5,
                                    65536};
    switch (input.Byte() % 4) {
        case 0:
            return input.OneOf(kEdges);
        case 1:
            return input.Between(-4000, 4000) / 10.0;
        default:
            return input.Byte() / 16.0;
    }
}

std::vector<int> EdgeArray(Input& input) {
    static constexpr int kSizes[] = {0, 1, 2, 4, 9, 16, 25, 255, 256, 257, 300, 2500, 2501};
    std::vector<int> values(static_cast<std::size_t>(input.OneOf(kSizes)));
    const int kind = input.Byte();
    std::uint32_t noise = input.Word();
    for (int& value : values) {
        noise = noise * 1664525 + 1013904223;
        value = kind % 4 == 0   ? static_cast<int>(noise)
                : kind % 4 == 1 ? static_cast<int>(noise >> 24)
                                : static_cast<int>(noise >> 28) - 8;
    }
    return values;
}

std::string EdgeText(Input& input) {
    std::string text(static_cast<std::size_t>(input.Chance(4) ? input.Between(0, 20000) : input.Byte()), '\0');
    const int step = input.Byte();
    for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>(static_cast<int>(i) * step);
    return text;
}

// Small ones are made; those of four billion pixels and more need no byte, as they are refused.
void BoundImageSize(int* width, int* height) {
    if (*width <= 0 || *height <= 0) return;
    const std::int64_t pixels = std::int64_t{*width} * *height;
    if (pixels > 1 << 13 && pixels < std::int64_t{1} << 32) {
        *width = *width % 3000 + 1;
        *height = *height % std::max(1, (1 << 13) / *width) + 1;
    }
}

void BoundFileSize(int* width, int* height) {
    if (*width > 3000) *width = *width % 3000 + 1;
    if (*height > 60) *height = *height % 60 + 1;
}
