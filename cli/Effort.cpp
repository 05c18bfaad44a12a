#include "Effort.h"

#include <algorithm>
#include <string_view>

namespace {

struct EffortRow {
    std::string_view name;
    double nanoseconds;  // for a byte of the larger of the two images
};

// Effects that take far longer than a walk over the pixels; how much longer also hangs on arguments that are not told
// apart here.
constexpr EffortRow kEffects[] = {{"scale", 6},   {"oil", 60},     {"matrix", 4}, {"rotate", 4},
                                  {"diffuse", 6}, {"unsharp", 4},  {"stamp", 6},  {"blur", 3},
                                  {"combine", 4}, {"softblur", 3}, {"dither", 2}, {"random", 8}};
constexpr EffortRow kWriting[] = {{"PNG", 25}, {"WebP", 60}, {"JPEG", 4}, {"TIFF", 15}};
constexpr double kWalk = 1;
constexpr double kReading = 4;
constexpr double kPlainWriting = 1;

template <std::size_t kCount>
double Find(const EffortRow (&rows)[kCount], std::string_view name, double otherwise) {
    for (const EffortRow& row : rows)
        if (row.name == name) return row.nanoseconds;
    return otherwise;
}

double Bytes(const ImageShape& shape) {
    return static_cast<double>(shape.width) * shape.height * Describe(shape.kind).channels;
}

}  // namespace

double ReadingEffort(const ImageShape& shape) {
    return kReading * Bytes(shape);
}

double EffectEffort(const std::string& effect, const ImageShape& source, const ImageShape& result) {
    return Find(kEffects, effect, kWalk) * std::max(Bytes(source), Bytes(result));
}

double WritingEffort(const std::string& format, const ImageShape& shape) {
    return Find(kWriting, format, kPlainWriting) * Bytes(shape);
}
