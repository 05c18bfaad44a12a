#include "filters/Mirror.h"

#include "filters/PixelSide.h"
#include "kernels/KernelTable.h"

namespace zor {

// Exchanges of pixels within one image have a shape of their own: they walk by themselves.

// The image's own channels, or none.
static PixelSide OwnSide(ImageClassData* record) {
    return SideOf(record, ChannelListOf(record, true));
}

// True if every channel byte of a row belongs to one channel of one pixel.
static bool IsOrderly(const PixelSide& side) {
    return PixelsAreApart(side) && AreDistinct(side.channels);
}

// The first `width` pixels of a row, from the last on if they are turned.
static PixelRun RunOfRow(const RowSpan& row, const PixelSide& side, std::ptrdiff_t width, bool turned) {
    if (!turned) return RunAt(row, side, 0);
    PixelRun run = RunAt(row, side, width - 1);
    run.step = -run.step;
    return run;
}

// --- left and right -------------------------------------------------------------------------------------------------

template <int kCount>
static void MirrorRow_Plain(const RowSpan& row, const PixelSide& side, std::ptrdiff_t width) {
    for (std::ptrdiff_t i = 0; i < width / 2; ++i) {
        for (int c = 0; c < kCount; ++c) {
            const std::ptrdiff_t left = i * side.pixelSize + side.channels.offset[c];
            const std::ptrdiff_t right = (width - 1 - i) * side.pixelSize + side.channels.offset[c];
            const std::uint8_t atLeft = row.Load(left), atRight = row.Load(right);
            row.Store(left, atRight);
            row.Store(right, atLeft);
        }
    }
}

void HMirrorSelf(REALobject object) {
    ImageClassData* const record = ImageDataOf(object);
    if (!IsUsable(record)) return;
    YieldIfAsked(record);
    const PixelSide side = OwnSide(record);
    const std::ptrdiff_t width = record->Width;
    const int height = record->Height, count = side.channels.count;
    if (count < 1) return;
    const bool orderly = IsOrderly(side);
    const auto exchange = ByCount(Kernels().geometry.exchange, count);
    for (int y = 0; y < height; ++y) {
        const RowSpan row = GetRowSpan(record, y);
        if (row && orderly && width > 1 && Covers(row, side, 0, width)) {
            exchange(RunOfRow(row, side, width, false), RunOfRow(row, side, width, true), width / 2);
        } else if (row) {
            WithChannelCount(count, [&](auto kCount) { MirrorRow_Plain<kCount>(row, side, width); });
        }
        YieldIfAsked(record);
    }
}

// --- top and bottom -------------------------------------------------------------------------------------------------

// The pixels of a buffer that holds a row go into a row, turned round or not.
static void StoreRow(const RowSpan& row, const RowSpan& buffer, const PixelSide& side, std::ptrdiff_t width,
                     bool turned) {
    if (!row || width < 1) return;
    if (Covers(row, side, 0, width) && Covers(buffer, side, 0, width)) {
        ByCount(Kernels().geometry.copy, side.channels.count)(RunAt(row, side, 0),
                                                              RunOfRow(buffer, side, width, turned), width);
        return;
    }
    WithChannelCount(side.channels.count, [&](auto kCount) {
        for (std::ptrdiff_t i = 0; i < width; ++i) {
            std::uint8_t samples[kCount];
            Load<kCount>(buffer, side, turned ? width - 1 - i : i, samples);
            Store<kCount>(row, side, i, samples);
        }
    });
}

// Exchanges row y with its partner z through the two buffers, since rows of a mapped image are only good until the
// next one is fetched. Rows that share bytes are stored in the order y, z; otherwise z first, which is at hand.
static void ExchangeRows(const PixelSide& side, std::ptrdiff_t width, int y, int z, const RowSpan& first,
                         const RowSpan& second, bool apart, bool turned) {
    LoadRun(GetRowSpan(side.record, y), 0, first.end, first.data);
    const RowSpan partner = GetRowSpan(side.record, z);
    LoadRun(partner, 0, second.end, second.data);
    if (apart) StoreRow(partner, first, side, width, turned);
    StoreRow(GetRowSpan(side.record, y), second, side, width, turned);
    if (!apart) StoreRow(GetRowSpan(side.record, z), first, side, width, turned);
}

static void ExchangeHalves(REALobject object, bool turned) {
    ImageClassData* const record = ImageDataOf(object);
    if (!IsUsable(record)) return;
    YieldIfAsked(record);
    const std::ptrdiff_t rowSize = record->RowSize;
    if (rowSize < 0) return;
    const HeapArray<std::uint8_t> firstBytes(rowSize), secondBytes(rowSize);
    if (!firstBytes || !secondBytes) return;
    const RowSpan first{firstBytes.get(), 0, rowSize}, second{secondBytes.get(), 0, rowSize};
    const PixelSide side = OwnSide(record);
    const std::ptrdiff_t width = record->Width;
    const int height = record->Height;
    if (side.channels.count < 1) return;
    const bool apart = RowsAreApart(side, width);
    for (int y = 0; y < height / 2; ++y) {
        ExchangeRows(side, width, y, height - 1 - y, first, second, apart, turned);
        YieldIfAsked(record);
    }
}

void VMirrorSelf(REALobject object) {
    ExchangeHalves(object, false);
}

void Rotate180Self(REALobject object) {
    ExchangeHalves(object, true);
}

}  // namespace zor
