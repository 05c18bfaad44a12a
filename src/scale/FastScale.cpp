#include "scale/FastScale.h"

#include <algorithm>

#include "core/Storage.h"
#include "core/Walk.h"
#include "kernels/KernelTable.h"
#include "scale/ChannelLists.h"

namespace zor {

namespace {

using namespace channel_lists;

using Record = ImageClassData;

// What is done to a pixel. Where alpha goes along it is the last channel on both sides.
struct Recolouring {
    ChannelList read;
    ChannelList written;
    PixelRule rule;

    bool withAlpha() const { return written.id[written.count - 1] == ChannelId::alpha; }
};

constexpr Recolouring CMYK_to_CMYK_Scale = {kCMYK, kCMYK, PixelRule::copy};
constexpr Recolouring CMYK_to_G_Scale = {kK, kG, PixelRule::copy};
constexpr Recolouring CMYKA_to_CMYKA_Scale = {kCMYKA, kCMYKA, PixelRule::copy};
constexpr Recolouring CMYKA_to_GA_Scale = {kKA, kGA, PixelRule::copy};
constexpr Recolouring RGB_to_RGB_Scale = {kRGB, kRGB, PixelRule::copy};
constexpr Recolouring RGB_to_G_Scale = {kRGB, kG, PixelRule::luma};
constexpr Recolouring RGBA_to_RGBA_Scale = {kRGBA, kRGBA, PixelRule::copy};
constexpr Recolouring RGBA_to_GA_Scale = {kRGBA, kGA, PixelRule::luma};
constexpr Recolouring G_to_RGB_Scale = {kG, kRGB, PixelRule::replicate};
constexpr Recolouring G_to_G_Scale = {kG, kG, PixelRule::copy};
constexpr Recolouring G_to_CMYK_Scale = {kG, kCMYK, PixelRule::blackOnly};
constexpr Recolouring GA_to_GA_Scale = {kGA, kGA, PixelRule::copy};

struct Rule {
    unsigned srcTested, src;  // flags that matter, and what they are
    unsigned dstTested, dst;
    const Recolouring* recolouring;
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

const Recolouring* RecolouringOf(const Record* src, const Record* dst) {
    const unsigned srcFlags = FamilyFlagsOf(src), dstFlags = FamilyFlagsOf(dst);
    for (const Rule& rule : kRules) {
        if ((srcFlags & rule.srcTested) == rule.src && (dstFlags & rule.dstTested) == rule.dst) {
            return rule.recolouring;
        }
    }
    return nullptr;
}

bool CheckAndYield(Record* record) {
    if (!IsUsable(record)) return false;
    YieldIfAsked(record);
    return true;
}

// --- a row ----------------------------------------------------------------------------------------------------------

// The columns of a row, with everything that is looked up once per row.
struct RowWork {
    NearestFn nearest;  // from the source's pixels
    NearestFn pick;     // the source's samples as they are
    ConvertFn convert;  // from those
    double xRatio;      // source columns per target column
    int width;
    Record *src, *dst;
    ChannelSet read, written;
};

constexpr ChannelSet Packed(int count) {
    return {count, {0, 1, 2, 3, 4}};
}

std::ptrdiff_t SourceByte(const RowWork& work, int column) {
    return static_cast<std::ptrdiff_t>(column * work.xRatio) * work.src->PixelSize;
}

bool CoversSource(const RowSpan& src, const RowWork& work, int first, int last) {
    return src.Covers(SourceByte(work, first) + work.read.lowest(),
                      SourceByte(work, last - 1) + work.read.highest() + 1);
}

// The samples of the target's columns first to last - 1, side by side.
void PickSamples(const RowSpan& src, const RowWork& work, int first, int last, std::uint8_t* samples) {
    const int count = work.read.count;
    if (CoversSource(src, work, first, last)) {
        const PixelRun packed = {samples, count, Packed(count)}, run = {src.data, work.src->PixelSize, work.read};
        work.pick(packed, run, work.xRatio, first, last - first);
        return;
    }
    for (int x = first; x < last; ++x) {
        for (int c = 0; c < count; ++c) *samples++ = src.Load(SourceByte(work, x) + work.read.offset[c]);
    }
}

// Samples go through a buffer, some columns at a time. Reading ahead does not show in a row that is scaled into itself:
// a column takes its sample from itself or from the right of it. Rows are fetched again each time, since the one window
// of an image in a file may not reach from one to the other.
void ScaleThroughBuffer(const RowWork& work, int y, int srcRow, int atOnce) {
    constexpr int kMaxColumns = 512;
    std::uint8_t samples[kMaxColumns * ChannelSet::kMax];
    for (int first = 0, columns; first < work.width; first += columns) {
        columns = std::min({atOnce, kMaxColumns, work.width - first});
        const RowSpan src = GetRowSpan(work.src, srcRow);
        if (!src) return;
        PickSamples(src, work, first, first + columns, samples);
        const Layer layers[] = {LayerOfRows(first, work.written, work.dst->PixelSize),
                                LayerOfRows(0, Packed(work.read.count), work.read.count)};
        const RowSpan rows[] = {GetRowSpan(work.dst, y), {samples, 0, sizeof samples}};
        WorkRow({layers, 2, columns, 1, nullptr, false, false}, rows, 0,
                [&](const RunSet& runs) { work.convert(runs.run[0], runs.run[1], runs.count, 0); });
    }
}

bool Meet(const std::uint8_t* a, std::ptrdiff_t sizeOfA, const std::uint8_t* b, std::ptrdiff_t sizeOfB) {
    const std::uintptr_t firstA = reinterpret_cast<std::uintptr_t>(a), firstB = reinterpret_cast<std::uintptr_t>(b);
    return firstA < firstB + static_cast<std::uintptr_t>(sizeOfB) &&
           firstB < firstA + static_cast<std::uintptr_t>(sizeOfA);
}

// Straight from the source's pixels into the target's. False, with nothing done, where bytes lie outside the storage or
// both rows share some. Not for two windows on one file.
bool ScaleDirectly(const RowWork& work, int y, int srcRow) {
    const RowSpan dst = GetRowSpan(work.dst, y);
    const RowSpan src = GetRowSpan(work.src, srcRow);
    if (!dst || !src) return true;
    const PixelRun to = {dst.data, work.dst->PixelSize, work.written},
                   from = {src.data, work.src->PixelSize, work.read};
    const std::ptrdiff_t written = work.written.lowest(), read = work.read.lowest();
    const std::ptrdiff_t writtenEnd =
        static_cast<std::ptrdiff_t>(work.width - 1) * to.step + work.written.highest() + 1;
    const std::ptrdiff_t readEnd = SourceByte(work, work.width - 1) + work.read.highest() + 1;
    if (!src.Covers(read, readEnd) || !dst.Covers(written, writtenEnd) ||
        Meet(dst.data + written, writtenEnd - written, src.data + read, readEnd - read)) {
        return false;
    }
    work.nearest(to, from, work.xRatio, 0, work.width);
    return true;
}

RowWork WorkOf(const Recolouring& recolouring, Record* dst, Record* src, double xRatio, int width) {
    const bool alpha = recolouring.withAlpha();
    const int colours = recolouring.read.count - alpha;
    const Conversion conversion = ConversionOf(recolouring.rule, colours, recolouring.written.count - alpha);
    const KernelTable& kernels = Kernels();
    return {kernels.nearest.apart[conversion][alpha],
            kernels.nearest.apart[ConversionOf(PixelRule::copy, colours, colours)][alpha],
            kernels.convert.apart[conversion][alpha],
            xRatio,
            width,
            src,
            dst,
            OffsetsOf(src, recolouring.read),
            OffsetsOf(dst, recolouring.written)};
}

// Walks by itself: columns of the source lie at distances that need not be whole.
void ScaleRow(const Recolouring& recolouring, Record* dst, Record* src, int y, int srcRow, double xRatio, int width) {
    const RowWork work = WorkOf(recolouring, dst, src, xRatio, width);
    const bool overlap = ImagesOverlap(dst, src), inFiles = dst->IsMapping && src->IsMapping;
    if (!(overlap && inFiles) && ScaleDirectly(work, y, srcRow)) return;
    // Where rows share bytes a pixel may be read after it was written: one at a time. That does not show in one row, or
    // in an image in a file, whose rows share none.
    const bool readsAhead = !overlap || (dst == src && (inFiles || srcRow == y));
    ScaleThroughBuffer(work, y, srcRow, readsAhead ? width : 1);
}

}  // namespace

REALboolean ScalePictureFast(REALobject dstObject, REALobject srcObject, int width, int height) {
    if (!dstObject || !srcObject) return 0;
    Record* const dst = ImageDataOf(dstObject);
    Record* const src = ImageDataOf(srcObject);
    if (!dst->Valid || !src->Valid) return 0;
    const int w = std::min(dst->Width, width), h = std::min(dst->Height, height);
    if (w <= 0 || h <= 0) return 0;
    const Recolouring* const recolouring = RecolouringOf(src, dst);
    if (!recolouring) return 0;
    if (!CheckAndYield(src)) return 0;
    const double xRatio = static_cast<double>(src->Width) / w;
    const double yRatio = static_cast<double>(src->Height) / h;
    if (!CheckAndYield(dst)) return 0;
    for (int y = 0; y < h; ++y) {
        ScaleRow(*recolouring, dst, src, y, static_cast<int>(y * yRatio), xRatio, w);
        YieldIfAsked(dst);
    }
    return 1;
}

}  // namespace zor
