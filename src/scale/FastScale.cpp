#include "scale/FastScale.h"

#include <algorithm>
#include <cstring>

#include "core/Storage.h"
#include "core/Walk.h"
#include "kernels/KernelTable.h"
#include "scale/ChannelLists.h"
#include "scale/ShufflePlan.h"

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

// What rows are made with, but for the rows themselves.
struct RowWork {
    NearestFn nearest;  // from the source's pixels
    NearestFn pick;     // the source's samples as they are
    ConvertFn convert;  // from those
    double xRatio;      // source columns per target column
    int width;
    Record *src, *dst;
    PixelLayout read, written;
};

constexpr ChannelSet Packed(int count) {
    return {count, {0, 1, 2, 3, 4}};
}

std::int32_t SourceColumn(const RowWork& work, int column) {
    return static_cast<std::int32_t>(column * work.xRatio);
}

std::ptrdiff_t SourceByte(const RowWork& work, int column) {
    return static_cast<std::ptrdiff_t>(SourceColumn(work, column)) * work.read.step;
}

bool CoversSource(const RowSpan& src, const RowWork& work, int first, int last) {
    return src.Covers(SourceByte(work, first) + work.read.channels.lowest(),
                      SourceByte(work, last - 1) + work.read.channels.highest() + 1);
}

constexpr int kColumnsAtOnce = 512;

// The samples of the target's columns first to last - 1, side by side.
void PickSamples(const RowSpan& src, const RowWork& work, int first, int last, std::uint8_t* samples) {
    const int count = work.read.channels.count;
    if (CoversSource(src, work, first, last)) {
        std::int32_t columns[kColumnsAtOnce];
        for (int x = first; x < last; ++x) columns[x - first] = SourceColumn(work, x);
        work.pick({samples, count, Packed(count)}, {src.data, work.read.step, work.read.channels}, columns,
                  last - first);
        return;
    }
    for (int x = first; x < last; ++x) {
        for (int c = 0; c < count; ++c) *samples++ = src.Load(SourceByte(work, x) + work.read.channels.offset[c]);
    }
}

// Samples go through a buffer, some columns at a time. Reading ahead does not show in a row that is scaled into itself:
// a column takes its sample from itself or from the right of it. Rows are fetched again each time, since the one window
// of an image in a file may not reach from one to the other.
void ScaleThroughBuffer(const RowWork& work, int y, int srcRow, int atOnce) {
    std::uint8_t samples[kColumnsAtOnce * ChannelSet::kMax];
    const int count = work.read.channels.count;
    for (int first = 0, columns; first < work.width; first += columns) {
        columns = std::min({atOnce, kColumnsAtOnce, work.width - first});
        const RowSpan src = GetRowSpan(work.src, srcRow);
        if (!src) return;
        PickSamples(src, work, first, first + columns, samples);
        const Layer layers[] = {LayerOfRows(first, work.written.channels, work.written.step),
                                LayerOfRows(0, Packed(count), count)};
        const RowSpan rows[] = {GetRowSpan(work.dst, y), {samples, 0, sizeof samples}};
        WorkRow({layers, 2, columns, 1, nullptr, false, false}, rows, 0,
                [&](const RunSet& runs) { work.convert(runs.run[0], runs.run[1], runs.count, 0); });
    }
}

// A run of bytes.
struct Reach {
    const std::uint8_t* begin;
    std::ptrdiff_t size;
};

StorageRange RangeOf(const Reach& reach) {
    const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(reach.begin);
    return {first, first + static_cast<std::uintptr_t>(reach.size)};
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
            {OffsetsOf(src, recolouring.read), src->PixelSize},
            {OffsetsOf(dst, recolouring.written), dst->PixelSize}};
}

// Makes the target's rows from the top. Walks by itself: columns of the source lie at distances that need not be whole.
class RowScaler {
public:
    RowScaler(const Recolouring& recolouring, Record* dst, Record* src, double xRatio, int width)
        : recolouring_(recolouring), work_(WorkOf(recolouring, dst, src, xRatio, width)), columns_(width) {
        if (columns_) {
            for (int x = 0; x < width; ++x) columns_.get()[x] = SourceColumn(work_, x);
        }
        LookUp();
        PlanShuffle();
    }

    void Scale(int y, int srcRow) {
        const bool inFiles = work_.dst->IsMapping && work_.src->IsMapping;
        if (!(overlap_ && inFiles) && ScaleDirectly(y, srcRow)) return;
        // Where rows share bytes a pixel may be read after it was written: one at a time. That does not show in one
        // row, or in an image in a file, whose rows share none.
        const bool readsAhead = !overlap_ || (work_.dst == work_.src && (inFiles || srcRow == y));
        ScaleThroughBuffer(work_, y, srcRow, readsAhead ? work_.width : 1);
    }

    // The application had its turn: images may be others now.
    void LookAgain() {
        const RowWork before = work_;
        work_ = WorkOf(recolouring_, work_.dst, work_.src, work_.xRatio, work_.width);
        LookUp();
        if (!(before.read == work_.read && before.written == work_.written)) PlanShuffle();
    }

private:
    void LookUp() {
        overlap_ = ImagesOverlap(work_.dst, work_.src);
        // An enlarged row comes several times. Of an image in a file the one before may be out of reach.
        canRepeat_ = !overlap_ && !work_.dst->IsMapping && FillPixel(work_.written.channels, work_.written.step);
        last_ = {};
    }

    void PlanShuffle() {
        plan_ = columns_ ? ShufflePlan(recolouring_.rule, recolouring_.withAlpha(), work_.written, work_.read,
                                       columns_.get(), work_.width)
                         : ShufflePlan();
    }

    // Straight from the source's pixels into the target's. False, with nothing done, where bytes lie outside the
    // storage or both rows share some. Not for two windows on one file.
    bool ScaleDirectly(int y, int srcRow) {
        const RowSpan dst = GetRowSpan(work_.dst, y);
        const RowSpan src = GetRowSpan(work_.src, srcRow);
        if (!dst || !src) return true;
        const PixelLayout &to = work_.written, &from = work_.read;
        const std::ptrdiff_t written = to.channels.lowest(), read = from.channels.lowest();
        const std::ptrdiff_t writtenEnd =
            static_cast<std::ptrdiff_t>(work_.width - 1) * to.step + to.channels.highest() + 1;
        const std::ptrdiff_t readEnd = SourceByte(work_, work_.width - 1) + from.channels.highest() + 1;
        const Reach target{dst.data + written, writtenEnd - written}, source{src.data + read, readEnd - read};
        if (!columns_ || !src.Covers(read, readEnd) || !dst.Covers(written, writtenEnd) ||
            Meet(RangeOf(target), RangeOf(source))) {
            return false;
        }
        if (last_.target.size == target.size && last_.srcRow == srcRow &&
            !Meet(RangeOf(last_.target), RangeOf(target))) {
            std::memcpy(dst.data + written, last_.target.begin, static_cast<std::size_t>(target.size));
        } else if (plan_) {
            plan_.Run(src.data, dst.data);
        } else {
            work_.nearest({dst.data, to.step, to.channels}, {src.data, from.step, from.channels}, columns_.get(),
                          work_.width);
        }
        if (canRepeat_) last_ = {target, srcRow};
        return true;
    }

    // What was made last, for where it comes again.
    struct LastRow {
        Reach target;
        int srcRow;
    };

    const Recolouring& recolouring_;
    RowWork work_;
    HeapArray<std::int32_t> columns_;
    ShufflePlan plan_;
    bool overlap_ = true, canRepeat_ = false;
    LastRow last_{};
};

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
    RowScaler scaler(*recolouring, dst, src, xRatio, w);
    for (int y = 0; y < h; ++y) {
        scaler.Scale(y, static_cast<int>(y * yRatio));
        if (YieldIfAsked(dst)) scaler.LookAgain();
    }
    return 1;
}

}  // namespace zor
