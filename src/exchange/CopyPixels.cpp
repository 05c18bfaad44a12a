#include "exchange/CopyPixels.h"

#include <algorithm>

#include "core/Formats.h"
#include "core/Storage.h"
#include "exchange/Clipping.h"
#include "exchange/PixelRules.h"

namespace zor {

namespace {

// --- what is done to a row ------------------------------------------------------------------------------------------

// `count` pixels from column `srcX` of the source's row to column `dstX` of the destination's. Where whole runs of
// bytes are moved, every byte counts as a pixel.
struct RowCopy {
    PixelPlan plan;
    bool asRun;
    std::int64_t dstX;
    std::int64_t srcX;
    std::int64_t count;
};

constexpr ChannelSet kByte = {1, {0}};

// The run goes on for DestX pixels behind the rectangle; applications build on the bytes that this writes.
RowCopy RunCopy(const ImageClassData* dst, const ImageClassData* src, const TransferRect& rect) {
    const std::int64_t dstSize = dst->PixelSize, srcSize = src->PixelSize;
    PixelPlan plan = MakePlan(PixelRule::copy, src, kByte, dst, kByte, false, 0);
    plan.srcSize = plan.dstSize = 1;
    return {plan, true, rect.dstX * dstSize + GetMinOffset(dst), rect.srcX * srcSize + GetMinOffset(src),
            (rect.width + rect.dstX) * dstSize};
}

// By destination, then source. A family without channels has no row and no column.
constexpr PixelRule kRules[3][3] = {
    // from gray             from RGB            from CMYK
    {PixelRule::copy, PixelRule::luma, PixelRule::copy},          // to gray
    {PixelRule::replicate, PixelRule::copy, PixelRule::refused},  // to RGB
    {PixelRule::blackOnly, PixelRule::refused, PixelRule::copy},  // to CMYK
};

PixelPlan PlanOf(const ImageClassData* dst, const ImageClassData* src) {
    const PixelFamily dstFamily = FamilyOf(dst), srcFamily = FamilyOf(src);
    ChannelSet srcChannels = ChannelsOf(src, false);
    PixelRule rule = PixelRule::refused;
    if (dstFamily != PixelFamily::none && srcFamily != PixelFamily::none)
        rule = kRules[static_cast<int>(dstFamily)][static_cast<int>(srcFamily)];
    bool withAlpha = dst->HasAlpha && src->HasAlpha;
    if (dstFamily == PixelFamily::gray && srcFamily == PixelFamily::rgb) {
        withAlpha = false;  // of all pairs with alpha on both sides the only one that drops it
    } else if (dstFamily == PixelFamily::gray && srcFamily == PixelFamily::cmyk && withAlpha) {
        // Reads the places of red, green and blue, which CMYK images do not have: mostly three times the first byte.
        rule = PixelRule::luma;
        srcChannels = OffsetsOf(src, {ChannelId::red, ChannelId::green, ChannelId::blue});
    } else if (dstFamily == PixelFamily::gray && srcFamily == PixelFamily::cmyk) {
        srcChannels = OffsetsOf(src, {ChannelId::black});
    }
    return MakePlan(rule, src, srcChannels, dst, ChannelsOf(dst, false), withAlpha, 0);
}

RowCopy PrepareCopy(const ImageClassData* dst, const ImageClassData* src, const TransferRect& rect) {
    if (HasPixelsOnBlock(src) && HasPixelsOnBlock(dst) && PictureBlockCompatible(src, dst)) {
        return RunCopy(dst, src, rect);
    }
    return {PlanOf(dst, src), false, rect.dstX, rect.srcX, rect.width};
}

void CopyRow(const RowCopy& copy, const RowSpan& dstRow, const RowSpan& srcRow) {
    if (copy.asRun) {
        CopyRun(dstRow, copy.dstX, srcRow, copy.srcX, copy.count);
    } else {
        ConvertPixels(copy.plan, dstRow, copy.dstX, srcRow, copy.srcX, copy.count);
    }
}

// --- two images in one file -----------------------------------------------------------------------------------------

// Bytes of the file between the first and the last that one side of a row copy works on.
struct FileStretch {
    std::int64_t begin;
    std::int64_t end;
};

FileStretch StretchOf(const ImageClassData* record, const RowSpan& row, const ChannelSet& channels, int pixelSize,
                      std::int64_t x, std::int64_t width) {
    const std::int64_t inWindow = static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(row.data) -
                                                            reinterpret_cast<std::uintptr_t>(record->Pixels));
    const std::int64_t start = static_cast<std::int64_t>(record->MappedFirstRow) * record->RowSize + inWindow;
    return {start + x * pixelSize + channels.lowest(), start + (x + width - 1) * pixelSize + channels.highest() + 1};
}

// A row of a copy within one file, `atOnce` pixels at a time by way of a buffer. Both rows are fetched again each
// time, since one fetch may take the other row out of memory.
void CopyThroughBuffer(const RowCopy& copy, ImageClassData* dst, int dstY, ImageClassData* src, int srcY,
                       std::int64_t atOnce, bool fromTheRight) {
    constexpr std::int64_t kMaxPixels = 4096;
    std::uint8_t buffer[kMaxPixels * ChannelSet::kMax];
    const RowSpan packed = {buffer, 0, sizeof buffer};
    const PixelPlan fromBuffer = ForPackedSrc(copy.plan);
    atOnce = std::min(atOnce, kMaxPixels);
    for (std::int64_t done = 0, count; done < copy.count; done += count) {
        count = std::min(atOnce, copy.count - done);
        const std::int64_t at = fromTheRight ? copy.count - done - count : done;
        const RowSpan srcRow = GetRowSpan(src, srcY);
        if (!srcRow) return;
        std::int64_t skipped = 0, taken = count;
        if (copy.asRun) {  // cut to what the source has, as all runs are
            skipped = std::clamp<std::int64_t>(srcRow.begin - (copy.srcX + at), 0, count);
            taken = std::clamp<std::int64_t>(srcRow.end - (copy.srcX + at), skipped, count) - skipped;
        }
        GatherPixels(srcRow, copy.plan.srcSize, copy.plan.src, copy.srcX + at + skipped,
                     static_cast<std::ptrdiff_t>(taken), buffer);
        ConvertPixels(fromBuffer, GetRowSpan(dst, dstY), copy.dstX + at + skipped, packed, 0, taken);
    }
}

// One image has one window, which the fetch of the second row may take away from the first. Where it cannot show both,
// the pixels go through the buffer. Images in memory come here too, as a yield may have made another image of this one.
void CopyRowWithin(const RowCopy& copy, ImageClassData* image, int dstY, int srcY) {
    GetRowSpan(image, dstY);
    const RowSpan srcRow = GetRowSpan(image, srcY);
    const std::uint8_t* const window = image->Pixels;
    const int firstRow = image->MappedFirstRow;
    const RowSpan dstRow = GetRowSpan(image, dstY);
    if (image->Pixels == window && image->MappedFirstRow == firstRow) {
        CopyRow(copy, dstRow, srcRow);
    } else {
        CopyThroughBuffer(copy, image, dstY, image, srcY, copy.count, false);
    }
}

// Two images with a window each on the same file: a byte may have two addresses, so that neither memmove nor the
// compiler can tell where the rows share bytes. There the order from the left is kept pixel by pixel, and the one of
// memmove by going from the side from which nothing is overwritten before it is read.
void CopyRowBetweenWindows(const RowCopy& copy, ImageClassData* dst, int dstY, ImageClassData* src, int srcY) {
    const RowSpan dstRow = GetRowSpan(dst, dstY);
    const RowSpan srcRow = GetRowSpan(src, srcY);
    if (!dstRow || !srcRow) return;
    const PixelPlan& plan = copy.plan;
    const FileStretch dstBytes = StretchOf(dst, dstRow, plan.dst, plan.dstSize, copy.dstX, copy.count);
    const FileStretch srcBytes = StretchOf(src, srcRow, plan.src, plan.srcSize, copy.srcX, copy.count);
    if (dstBytes.end <= srcBytes.begin || srcBytes.end <= dstBytes.begin) {
        CopyRow(copy, dstRow, srcRow);
    } else if (copy.asRun) {
        CopyThroughBuffer(copy, dst, dstY, src, srcY, copy.count, dstBytes.begin > srcBytes.begin);
    } else {
        CopyThroughBuffer(copy, dst, dstY, src, srcY, 1, false);
    }
}

}  // namespace

REALboolean rbCopyPixels8(REALobject object, REALobject srcObject, int dstX, int dstY, int dstWidth, int dstHeight,
                          int srcX, int srcY) {
    ImageClassData* const dst = ImageDataOf(object);
    ImageClassData* const src = srcObject ? ImageDataOf(srcObject) : nullptr;
    if (!PassTransferGate(dst, src)) return false;
    TransferRect rect = {dstX, dstY, dstWidth, dstHeight, srcX, srcY};
    if (!ClipTransfer(&rect, SizeOf(dst), SizeOf(src))) return false;

    const RowCopy copy = PrepareCopy(dst, src, rect);
    const bool oneFile = dst->IsMapping && src->IsMapping && ImagesOverlap(dst, src);
    if (copy.plan.convert && !copy.asRun && dst != src && !oneFile) {
        const Layer layers[] = {LayerOf(dst, rect.dstX, rect.dstY, copy.plan.dst),
                                LayerOf(src, rect.srcX, rect.srcY, copy.plan.src)};
        return WalkRuns({layers, 2, rect.width, rect.height, dst, false, false},
                        [&](const RunSet& runs) { ConvertRun(copy.plan, runs); });
    }
    // By rows of its own: runs of bytes are moved whole, and one file may show its bytes at two addresses.
    for (std::int64_t row = 0; row < rect.height; ++row) {
        const int dstIndex = static_cast<int>(rect.dstY + row), srcIndex = static_cast<int>(rect.srcY + row);
        if (!copy.plan.convert) {  // refused only now: the windows of both images have moved to their first rows
            GetRowSpan(dst, dstIndex);
            GetRowSpan(src, srcIndex);
            return false;
        }
        if (dst == src) {
            CopyRowWithin(copy, dst, dstIndex, srcIndex);
        } else if (oneFile) {
            CopyRowBetweenWindows(copy, dst, dstIndex, src, srcIndex);
        } else {
            const RowSpan dstRow = GetRowSpan(dst, dstIndex);
            CopyRow(copy, dstRow, GetRowSpan(src, srcIndex));
        }
        YieldIfAsked(dst);
    }
    return true;
}

REALboolean rbCopyPixels6(REALobject object, REALobject src, int dstX, int dstY, int dstWidth, int dstHeight) {
    return rbCopyPixels8(object, src, dstX, dstY, dstWidth, dstHeight, 0, 0);
}

REALboolean rbCopyPixels2(REALobject object, REALobject src) {
    const ImageClassData* const record = ImageDataOf(object);
    return rbCopyPixels8(object, src, 0, 0, record->Width, record->Height, 0, 0);
}

}  // namespace zor
