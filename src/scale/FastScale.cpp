#include "scale/FastScale.h"

#include <algorithm>

#include "core/ImageClassData.h"
#include "core/RowSpan.h"
#include "scale/ChannelLists.h"

namespace {

using namespace channel_lists;

using Record = ImageClassData;

// What is done to a pixel. Every channel of the target takes the sample of the same place in `read`; a luma conversion
// has one luma of reads 0 to 2 in front; with `blackOnly` cyan, magenta and yellow become 0.
struct Conversion {
    ChannelList read;
    ChannelList written;
    void (*row)(const RowSpan& dst, const RowSpan& src, const struct RowWork& work, int first, int last);
};

// The columns of a row, with everything that is looked up once per row.
struct RowWork {
    double xRatio;              // source columns per target column
    int readSize, writtenSize;  // pixel sizes
    ChannelSet read, written;
};

enum class Arithmetic { kSame, kLuma, kReplicate, kBlackOnly };

template <Arithmetic kArithmetic, int kReads, int kWrites>
void ConvertPixel(const std::uint8_t* in, std::uint8_t* out) {
    if constexpr (kArithmetic == Arithmetic::kSame) {
        static_assert(kReads == kWrites);
        for (int c = 0; c < kWrites; ++c) out[c] = in[c];
    } else if constexpr (kArithmetic == Arithmetic::kLuma) {
        out[0] = static_cast<std::uint8_t>((in[1] * 151 + in[0] * 77 + in[2] * 28) >> 8);
        for (int c = 1; c < kWrites; ++c) out[c] = in[c + 2];
    } else if constexpr (kArithmetic == Arithmetic::kReplicate) {
        for (int c = 0; c < kWrites; ++c) out[c] = in[0];
    } else {
        for (int c = 0; c < kWrites - 1; ++c) out[c] = 0;
        out[kWrites - 1] = in[0];
    }
}

// Target columns first to last - 1. All samples of a pixel are read before the first is written.
template <Arithmetic kArithmetic, int kReads, int kWrites>
void ConvertRow(const RowSpan& dst, const RowSpan& src, const RowWork& work, int first, int last) {
    std::ptrdiff_t read[kReads], written[kWrites];
    for (int c = 0; c < kReads; ++c) read[c] = work.read.offset[c];
    for (int c = 0; c < kWrites; ++c) written[c] = work.written.offset[c];
    const auto sourceByte = [&work](int x) { return static_cast<std::ptrdiff_t>(x * work.xRatio) * work.readSize; };
    const auto targetByte = [&work](int x) { return static_cast<std::ptrdiff_t>(x) * work.writtenSize; };
    std::uint8_t in[kReads], out[kWrites];
    if (src.Covers(sourceByte(first) + work.read.lowest(), sourceByte(last - 1) + work.read.highest() + 1) &&
        dst.Covers(targetByte(first) + work.written.lowest(), targetByte(last - 1) + work.written.highest() + 1)) {
        for (int x = first; x < last; ++x) {
            const std::uint8_t* const s = src.data + sourceByte(x);
            std::uint8_t* const d = dst.data + targetByte(x);
            for (int c = 0; c < kReads; ++c) in[c] = s[read[c]];
            ConvertPixel<kArithmetic, kReads, kWrites>(in, out);
            for (int c = 0; c < kWrites; ++c) d[written[c]] = out[c];
        }
        return;
    }
    for (int x = first; x < last; ++x) {
        for (int c = 0; c < kReads; ++c) in[c] = src.Load(sourceByte(x) + read[c]);
        ConvertPixel<kArithmetic, kReads, kWrites>(in, out);
        for (int c = 0; c < kWrites; ++c) dst.Store(targetByte(x) + written[c], out[c]);
    }
}

constexpr Conversion CMYK_to_CMYK_Scale = {kCMYK, kCMYK, ConvertRow<Arithmetic::kSame, 4, 4>};
constexpr Conversion CMYK_to_G_Scale = {kK, kG, ConvertRow<Arithmetic::kSame, 1, 1>};
constexpr Conversion CMYKA_to_CMYKA_Scale = {kCMYKA, kCMYKA, ConvertRow<Arithmetic::kSame, 5, 5>};
constexpr Conversion CMYKA_to_GA_Scale = {kKA, kGA, ConvertRow<Arithmetic::kSame, 2, 2>};
constexpr Conversion RGB_to_RGB_Scale = {kRGB, kRGB, ConvertRow<Arithmetic::kSame, 3, 3>};
constexpr Conversion RGB_to_G_Scale = {kRGB, kG, ConvertRow<Arithmetic::kLuma, 3, 1>};
constexpr Conversion RGBA_to_RGBA_Scale = {kRGBA, kRGBA, ConvertRow<Arithmetic::kSame, 4, 4>};
constexpr Conversion RGBA_to_GA_Scale = {kRGBA, kGA, ConvertRow<Arithmetic::kLuma, 4, 2>};
constexpr Conversion G_to_RGB_Scale = {kG, kRGB, ConvertRow<Arithmetic::kReplicate, 1, 3>};
constexpr Conversion G_to_G_Scale = {kG, kG, ConvertRow<Arithmetic::kSame, 1, 1>};
constexpr Conversion G_to_CMYK_Scale = {kG, kCMYK, ConvertRow<Arithmetic::kBlackOnly, 1, 4>};
constexpr Conversion GA_to_GA_Scale = {kGA, kGA, ConvertRow<Arithmetic::kSame, 2, 2>};

struct Rule {
    unsigned sourceTested, source;  // flags that matter, and what they are
    unsigned targetTested, target;
    const Conversion* conversion;
};

// The first rule that fits decides. A gray picture becomes CMYK only where both have alpha or neither has, and its
// alpha reaches a gray target only.
constexpr Rule kRules[] = {
    {kIsCMYK | kWithAlpha, kIsCMYK, kIsCMYK, kIsCMYK, &CMYK_to_CMYK_Scale},
    {kIsCMYK | kWithAlpha, kIsCMYK, kIsGray | kIsRGB, kIsGray, &CMYK_to_G_Scale},
    {kIsCMYK | kWithAlpha, kIsCMYK | kWithAlpha, kIsCMYK | kWithAlpha, kIsCMYK, &CMYK_to_CMYK_Scale},
    {kIsCMYK | kWithAlpha, kIsCMYK | kWithAlpha, kIsGray | kIsRGB | kWithAlpha, kIsGray, &CMYK_to_G_Scale},
    {kIsCMYK | kWithAlpha, kIsCMYK | kWithAlpha, kIsCMYK | kWithAlpha, kIsCMYK | kWithAlpha, &CMYKA_to_CMYKA_Scale},
    {kIsCMYK | kWithAlpha, kIsCMYK | kWithAlpha, kIsGray | kIsRGB | kWithAlpha, kIsGray | kWithAlpha,
     &CMYKA_to_GA_Scale},
    {kIsRGB | kWithAlpha, kIsRGB, kIsCMYK | kIsRGB, kIsRGB, &RGB_to_RGB_Scale},
    {kIsRGB | kWithAlpha, kIsRGB, kIsCMYK | kIsGray, kIsGray, &RGB_to_G_Scale},
    {kIsRGB | kWithAlpha, kIsRGB | kWithAlpha, kIsCMYK | kIsRGB | kWithAlpha, kIsRGB, &RGB_to_RGB_Scale},
    {kIsRGB | kWithAlpha, kIsRGB | kWithAlpha, kIsCMYK | kIsGray | kWithAlpha, kIsGray, &RGB_to_G_Scale},
    {kIsRGB | kWithAlpha, kIsRGB | kWithAlpha, kIsCMYK | kIsRGB | kWithAlpha, kIsRGB | kWithAlpha, &RGBA_to_RGBA_Scale},
    {kIsRGB | kWithAlpha, kIsRGB | kWithAlpha, kIsCMYK | kIsGray | kWithAlpha, kIsGray | kWithAlpha, &RGBA_to_GA_Scale},
    {kIsGray | kWithAlpha, kIsGray, kIsCMYK | kIsRGB | kWithAlpha, kIsRGB | kWithAlpha, &G_to_RGB_Scale},
    {kIsGray | kWithAlpha, kIsGray, kIsCMYK | kIsGray | kWithAlpha, kIsGray | kWithAlpha, &G_to_G_Scale},
    {kIsGray | kWithAlpha, kIsGray, kIsCMYK | kWithAlpha, kIsCMYK, &G_to_CMYK_Scale},
    {kIsGray | kWithAlpha, kIsGray, kIsRGB | kWithAlpha, kIsRGB, &G_to_RGB_Scale},
    {kIsGray | kWithAlpha, kIsGray, kIsGray | kWithAlpha, kIsGray, &G_to_G_Scale},
    {kIsGray | kWithAlpha, kIsGray | kWithAlpha, kIsCMYK | kIsRGB | kWithAlpha, kIsRGB, &G_to_RGB_Scale},
    {kIsGray | kWithAlpha, kIsGray | kWithAlpha, kIsCMYK | kIsGray | kWithAlpha, kIsGray, &G_to_G_Scale},
    {kIsGray | kWithAlpha, kIsGray | kWithAlpha, kIsCMYK | kWithAlpha, kIsCMYK | kWithAlpha, &G_to_CMYK_Scale},
    {kIsGray | kWithAlpha, kIsGray | kWithAlpha, kIsRGB | kWithAlpha, kIsRGB | kWithAlpha, &G_to_RGB_Scale},
    {kIsGray | kWithAlpha, kIsGray | kWithAlpha, kIsGray | kWithAlpha, kIsGray | kWithAlpha, &GA_to_GA_Scale},
};

const Conversion* ConversionOf(const Record* source, const Record* target) {
    const unsigned sourceFlags = FamilyFlagsOf(source), targetFlags = FamilyFlagsOf(target);
    for (const Rule& rule : kRules) {
        if ((sourceFlags & rule.sourceTested) == rule.source && (targetFlags & rule.targetTested) == rule.target) {
            return rule.conversion;
        }
    }
    return nullptr;
}

bool CheckAndYield(Record* record) {
    if (!IsUsable(record)) return false;
    YieldIfAsked(record);
    return true;
}

// An image in a file, scaled into itself: its one window may not reach from one row to the other, so that the samples
// go through a buffer, some columns at a time. A column takes its sample from itself or from the right of it, which is
// why reading ahead does not show.
void ScaleRowThroughWindow(const Conversion& conversion, Record* image, int y, int sourceRow, const RowWork& work,
                           int width) {
    constexpr int kColumns = 256;
    std::uint8_t samples[kColumns * ChannelSet::kMax];
    RowWork packed = work;
    packed.xRatio = 1.0;
    packed.readSize = work.read.count;
    for (int c = 0; c < work.read.count; ++c) packed.read.offset[c] = c;
    for (int first = 0; first < width; first += kColumns) {
        const int columns = std::min(kColumns, width - first);
        const RowSpan src = GetRowSpan(image, sourceRow);
        if (!src) return;
        for (int i = 0; i < columns; ++i) {
            const auto column = static_cast<std::ptrdiff_t>((first + i) * work.xRatio);
            for (int c = 0; c < work.read.count; ++c) {
                samples[i * work.read.count + c] = src.Load(column * work.readSize + work.read.offset[c]);
            }
        }
        const RowSpan dst = GetRowSpan(image, y);
        if (!dst) return;
        const std::ptrdiff_t shift = static_cast<std::ptrdiff_t>(first) * work.writtenSize;
        const RowSpan from = {samples, 0, static_cast<std::ptrdiff_t>(columns) * work.read.count};
        conversion.row({dst.data + shift, dst.begin - shift, dst.end - shift}, from, packed, 0, columns);
    }
}

void ScaleRow(const Conversion& conversion, Record* target, Record* source, int y, int sourceRow, double xRatio,
              int width) {
    RowWork work;
    work.xRatio = xRatio;
    work.readSize = source->PixelSize;
    work.writtenSize = target->PixelSize;
    work.read = OffsetsOf(source, conversion.read);
    work.written = OffsetsOf(target, conversion.written);
    if (target == source && target->IsMapping) {
        ScaleRowThroughWindow(conversion, target, y, sourceRow, work, width);
        return;
    }
    const RowSpan dst = GetRowSpan(target, y);
    const RowSpan src = GetRowSpan(source, sourceRow);
    if (dst && src) conversion.row(dst, src, work, 0, width);
}

}  // namespace

REALboolean ScalePictureFast(REALobject target, REALobject source, int width, int height) {
    if (!target || !source) return 0;
    Record* const to = ImageDataOf(target);
    Record* const from = ImageDataOf(source);
    if (!to->Valid || !from->Valid) return 0;
    const int w = std::min(to->Width, width), h = std::min(to->Height, height);
    if (w <= 0 || h <= 0) return 0;
    const Conversion* const conversion = ConversionOf(from, to);
    if (!conversion) return 0;
    if (!CheckAndYield(from)) return 0;
    const double xRatio = static_cast<double>(from->Width) / w;
    const double yRatio = static_cast<double>(from->Height) / h;
    if (!CheckAndYield(to)) return 0;
    for (int y = 0; y < h; ++y) {
        ScaleRow(*conversion, to, from, y, static_cast<int>(y * yRatio), xRatio, w);
        YieldIfAsked(to);
    }
    return 1;
}
