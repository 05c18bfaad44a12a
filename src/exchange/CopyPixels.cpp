#include "exchange/CopyPixels.h"

#include <algorithm>

#include "core/Formats.h"
#include "core/Storage.h"
#include "exchange/Clipping.h"
#include "exchange/PixelRules.h"

namespace {

// --- what is done to a row ------------------------------------------------------------------------------------------

// `count` pixels from column `from` of the source's row to column `to` of the destination's. Where whole runs of bytes
// are moved, every byte counts as a pixel.
struct RowCopy {
    PixelPlan plan;
    bool asRun;
    std::ptrdiff_t to;
    std::ptrdiff_t from;
    std::ptrdiff_t count;
};

constexpr ChannelSet kByte = {1, {0}};

// The run goes on for DestX pixels behind the rectangle; applications build on the bytes that this writes.
RowCopy RunCopy(const ImageClassData* destination, const ImageClassData* source, const TransferRect& rect) {
    const std::ptrdiff_t destSize = destination->PixelSize, sourceSize = source->PixelSize;
    PixelPlan plan = MakePlan(PixelRule::copy, source, kByte, destination, kByte, false, 0);
    plan.sourceSize = plan.destSize = 1;
    return {plan, true, static_cast<std::ptrdiff_t>(rect.destX) * destSize + GetMinOffset(destination),
            static_cast<std::ptrdiff_t>(rect.sourceX) * sourceSize + GetMinOffset(source),
            static_cast<std::ptrdiff_t>(rect.width + rect.destX) * destSize};
}

// By destination, then source. A family without channels has no row and no column.
constexpr PixelRule kRules[3][3] = {
    // from gray             from RGB            from CMYK
    {PixelRule::copy, PixelRule::luma, PixelRule::copy},          // to gray
    {PixelRule::replicate, PixelRule::copy, PixelRule::refused},  // to RGB
    {PixelRule::blackOnly, PixelRule::refused, PixelRule::copy},  // to CMYK
};

PixelPlan PlanOf(const ImageClassData* destination, const ImageClassData* source) {
    const PixelFamily to = FamilyOf(destination), from = FamilyOf(source);
    ChannelSet sourceChannels = ChannelsOf(source, false);
    PixelRule rule = PixelRule::refused;
    if (to != PixelFamily::none && from != PixelFamily::none)
        rule = kRules[static_cast<int>(to)][static_cast<int>(from)];
    bool withAlpha = destination->HasAlpha && source->HasAlpha;
    if (to == PixelFamily::gray && from == PixelFamily::rgb) {
        withAlpha = false;  // of all pairs with alpha on both sides the only one that drops it
    } else if (to == PixelFamily::gray && from == PixelFamily::cmyk && withAlpha) {
        // Reads the places of red, green and blue, which CMYK images do not have: mostly three times the first byte.
        rule = PixelRule::luma;
        sourceChannels = OffsetsOf(source, {ChannelId::red, ChannelId::green, ChannelId::blue});
    } else if (to == PixelFamily::gray && from == PixelFamily::cmyk) {
        sourceChannels = OffsetsOf(source, {ChannelId::black});
    }
    return MakePlan(rule, source, sourceChannels, destination, ChannelsOf(destination, false), withAlpha, 0);
}

RowCopy PrepareCopy(const ImageClassData* destination, const ImageClassData* source, const TransferRect& rect) {
    if (HasPixelsOnBlock(source) && HasPixelsOnBlock(destination) && PictureBlockCompatible(source, destination)) {
        return RunCopy(destination, source, rect);
    }
    return {PlanOf(destination, source), false, static_cast<std::ptrdiff_t>(rect.destX),
            static_cast<std::ptrdiff_t>(rect.sourceX), static_cast<std::ptrdiff_t>(rect.width)};
}

void CopyRow(const RowCopy& copy, const RowSpan& dst, const RowSpan& src) {
    if (copy.asRun) {
        CopyRun(dst, copy.to, src, copy.from, copy.count);
    } else {
        ConvertPixels(copy.plan, dst, copy.to, src, copy.from, copy.count);
    }
}

// --- two images in one file -----------------------------------------------------------------------------------------

// Bytes of the file between the first and the last that one side of a row copy works on.
struct FileStretch {
    std::int64_t begin;
    std::int64_t end;
};

FileStretch StretchOf(const ImageClassData* record, const RowSpan& row, const ChannelSet& channels, int pixelSize,
                      std::ptrdiff_t x, std::ptrdiff_t width) {
    const std::int64_t inWindow = static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(row.data) -
                                                            reinterpret_cast<std::uintptr_t>(record->Pixels));
    const std::int64_t start = static_cast<std::int64_t>(record->MappedFirstRow) * record->RowSize + inWindow;
    return {start + x * pixelSize + channels.lowest(), start + (x + width - 1) * pixelSize + channels.highest() + 1};
}

// A row of a copy within one file, `atOnce` pixels at a time by way of a buffer. Both rows are fetched again each
// time, since one fetch may take the other row out of memory.
void CopyThroughBuffer(const RowCopy& copy, ImageClassData* destination, int destY, ImageClassData* source, int sourceY,
                       std::ptrdiff_t atOnce, bool fromTheRight) {
    constexpr std::ptrdiff_t kMostPixels = 4096;
    std::uint8_t buffer[kMostPixels * ChannelSet::kMax];
    const RowSpan packed = {buffer, 0, sizeof buffer};
    const PixelPlan fromBuffer = ForPackedSource(copy.plan);
    atOnce = std::min(atOnce, kMostPixels);
    for (std::ptrdiff_t done = 0, count; done < copy.count; done += count) {
        count = std::min(atOnce, copy.count - done);
        const std::ptrdiff_t at = fromTheRight ? copy.count - done - count : done;
        const RowSpan src = GetRowSpan(source, sourceY);
        if (!src) return;
        std::ptrdiff_t skipped = 0, taken = count;
        if (copy.asRun) {  // cut to what the source has, as all runs are
            skipped = std::clamp<std::ptrdiff_t>(src.begin - (copy.from + at), 0, count);
            taken = std::clamp<std::ptrdiff_t>(src.end - (copy.from + at), skipped, count) - skipped;
        }
        GatherPixels(src, copy.plan.sourceSize, copy.plan.source, copy.from + at + skipped, taken, buffer);
        ConvertPixels(fromBuffer, GetRowSpan(destination, destY), copy.to + at + skipped, packed, 0, taken);
    }
}

// One image has one window, which the fetch of the second row may take away from the first. Where it cannot show both,
// the pixels go through the buffer. Images in memory come here too, as a yield may have made another image of this one.
void CopyRowWithin(const RowCopy& copy, ImageClassData* image, int destY, int sourceY) {
    GetRowSpan(image, destY);
    const RowSpan src = GetRowSpan(image, sourceY);
    const std::uint8_t* const window = image->Pixels;
    const int firstRow = image->MappedFirstRow;
    const RowSpan dst = GetRowSpan(image, destY);
    if (image->Pixels == window && image->MappedFirstRow == firstRow) {
        CopyRow(copy, dst, src);
    } else {
        CopyThroughBuffer(copy, image, destY, image, sourceY, copy.count, false);
    }
}

// Two images with a window each on the same file: a byte may have two addresses, so that neither memmove nor the
// compiler can tell where the rows share bytes. There the told order is kept pixel by pixel, and the one of memmove
// by going from the side from which nothing is overwritten before it is read.
void CopyRowBetweenWindows(const RowCopy& copy, ImageClassData* destination, int destY, ImageClassData* source,
                           int sourceY) {
    const RowSpan dst = GetRowSpan(destination, destY);
    const RowSpan src = GetRowSpan(source, sourceY);
    if (!dst || !src) return;
    const PixelPlan& plan = copy.plan;
    const FileStretch to = StretchOf(destination, dst, plan.dest, plan.destSize, copy.to, copy.count);
    const FileStretch from = StretchOf(source, src, plan.source, plan.sourceSize, copy.from, copy.count);
    if (to.end <= from.begin || from.end <= to.begin) {
        CopyRow(copy, dst, src);
    } else if (copy.asRun) {
        CopyThroughBuffer(copy, destination, destY, source, sourceY, copy.count, to.begin > from.begin);
    } else {
        CopyThroughBuffer(copy, destination, destY, source, sourceY, 1, false);
    }
}

}  // namespace

REALboolean rbCopyPixels8(REALobject object, REALobject sourceObject, int destX, int destY, int destWidth,
                          int destHeight, int sourceX, int sourceY) {
    ImageClassData* const destination = ImageDataOf(object);
    ImageClassData* const source = sourceObject ? ImageDataOf(sourceObject) : nullptr;
    if (!PassTransferGate(destination, source)) return false;
    TransferRect rect = {destX, destY, destWidth, destHeight, sourceX, sourceY};
    if (!ClipTransfer(&rect, SizeOf(destination), SizeOf(source))) return false;

    const RowCopy copy = PrepareCopy(destination, source, rect);
    const bool oneFile = destination->IsMapping && source->IsMapping && ImagesOverlap(destination, source);
    if (copy.plan.convert && !copy.asRun && destination != source && !oneFile) {
        const Layer layers[] = {LayerOf(destination, rect.destX, rect.destY, copy.plan.dest),
                                LayerOf(source, rect.sourceX, rect.sourceY, copy.plan.source)};
        return WalkRuns({layers, 2, rect.width, rect.height, destination, false, false},
                        [&](const RunSet& runs) { ConvertRun(copy.plan, runs); });
    }
    // By rows of its own: runs of bytes are moved whole, and one file may show its bytes at two addresses.
    for (std::int64_t row = 0; row < rect.height; ++row) {
        const int toY = static_cast<int>(rect.destY + row), fromY = static_cast<int>(rect.sourceY + row);
        if (!copy.plan.convert) {  // refused only now: the windows of both images have moved to their first rows
            GetRowSpan(destination, toY);
            GetRowSpan(source, fromY);
            return false;
        }
        if (destination == source) {
            CopyRowWithin(copy, destination, toY, fromY);
        } else if (oneFile) {
            CopyRowBetweenWindows(copy, destination, toY, source, fromY);
        } else {
            const RowSpan dst = GetRowSpan(destination, toY);
            CopyRow(copy, dst, GetRowSpan(source, fromY));
        }
        YieldIfAsked(destination);
    }
    return true;
}

REALboolean rbCopyPixels6(REALobject object, REALobject source, int destX, int destY, int destWidth, int destHeight) {
    return rbCopyPixels8(object, source, destX, destY, destWidth, destHeight, 0, 0);
}

REALboolean rbCopyPixels2(REALobject object, REALobject source) {
    const ImageClassData* const record = ImageDataOf(object);
    return rbCopyPixels8(object, source, 0, 0, record->Width, record->Height, 0, 0);
}
