#include "filters/Mirror.h"

#include <utility>

#include "filters/PixelSide.h"

// The image's own channels, or none.
static PixelSide OwnSide(ImageClassData* record) {
    return {record, record->PixelSize, ChannelsOf(record, true)};
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

// For rows that lie inside the storage.
template <class PixelCopy>
static void MirrorRow(std::uint8_t* row, std::ptrdiff_t pixelSize, std::ptrdiff_t width, const PixelCopy& pixel) {
    const PixelCopy local = pixel;
    std::uint8_t* left = row;
    std::uint8_t* right = row + (width - 1) * pixelSize;
    for (std::ptrdiff_t i = 0; i < width / 2; ++i, left += pixelSize, right -= pixelSize) local.Swap(left, right);
}

void HMirrorSelf(REALobject object) {
    ImageClassData* const record = ImageDataOf(object);
    if (!IsUsable(record)) return;
    YieldIfAsked(record);
    const PixelSide side = OwnSide(record);
    const std::ptrdiff_t width = record->Width;
    const int height = record->Height;
    WithChannelCount(side.channels.count, [&](auto kCount) {
        WithPixelCopy<kCount>({side, side}, [&](const auto& pixel) {
            for (int y = 0; y < height; ++y) {
                const RowSpan row = GetRowSpan(record, y);
                if (row && Covers(row, side, 0, width)) {
                    MirrorRow(row.data, side.pixelSize, width, pixel);
                } else if (row) {
                    MirrorRow_Plain<kCount>(row, side, width);
                }
                YieldIfAsked(record);
            }
        });
    });
}

// --- top and bottom -------------------------------------------------------------------------------------------------

template <int kCount, bool kTurned>
static void StoreFromBuffer_Plain(const RowSpan& row, const RowSpan& buffer, const PixelSide& side,
                                  std::ptrdiff_t width) {
    for (std::ptrdiff_t i = 0; i < width; ++i) {
        std::uint8_t samples[kCount];
        Load<kCount>(buffer, side, kTurned ? width - 1 - i : i, samples);
        Store<kCount>(row, side, i, samples);
    }
}

// For rows and buffers that hold all of the pixels.
template <bool kTurned, class PixelCopy>
static void StoreFromBuffer(std::uint8_t* row, const std::uint8_t* buffer, std::ptrdiff_t pixelSize,
                            std::ptrdiff_t width, const PixelCopy& pixel) {
    const PixelCopy local = pixel;
    const std::uint8_t* from = kTurned ? buffer + (width - 1) * pixelSize : buffer;
    const std::ptrdiff_t step = kTurned ? -pixelSize : pixelSize;
    for (std::ptrdiff_t i = 0; i < width; ++i, row += pixelSize, from += step) local.Copy(from, row);
}

template <int kCount, bool kTurned>
static void StoreRow(const RowSpan& row, const RowSpan& buffer, const PixelSide& side, std::ptrdiff_t width) {
    if (!row || width < 1) return;
    if (!Covers(row, side, 0, width) || !Covers(buffer, side, 0, width)) {
        StoreFromBuffer_Plain<kCount, kTurned>(row, buffer, side, width);
    } else if (!kTurned && side.pixelSize == kCount) {  // nothing between the channels
        const std::ptrdiff_t first = side.channels.lowest();
        std::memcpy(row.data + first, buffer.data + first, static_cast<std::size_t>(width * kCount));
    } else {
        WithPixelCopy<kCount>({side, side}, [&](const auto& pixel) {
            StoreFromBuffer<kTurned>(row.data, buffer.data, side.pixelSize, width, pixel);
        });
    }
}

// Exchanges row y with its partner z through the two buffers, since rows of a mapped image are only good until the
// next one is fetched. Rows that share bytes are stored in the order y, z; otherwise z first, which is at hand.
template <int kCount, bool kTurned>
static void ExchangeRows(const PixelSide& side, std::ptrdiff_t width, int y, int z, const RowSpan& first,
                         const RowSpan& second, bool apart) {
    LoadRun(GetRowSpan(side.record, y), 0, first.end, first.data);
    const RowSpan partner = GetRowSpan(side.record, z);
    LoadRun(partner, 0, second.end, second.data);
    if (apart) StoreRow<kCount, kTurned>(partner, first, side, width);
    StoreRow<kCount, kTurned>(GetRowSpan(side.record, y), second, side, width);
    if (!apart) StoreRow<kCount, kTurned>(GetRowSpan(side.record, z), first, side, width);
}

template <bool kTurned>
static void ExchangeHalves(REALobject object) {
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
    WithChannelCount(side.channels.count, [&](auto kCount) {
        const bool apart = RowsAreApart(side, width);
        for (int y = 0; y < height / 2; ++y) {
            ExchangeRows<kCount, kTurned>(side, width, y, height - 1 - y, first, second, apart);
            YieldIfAsked(record);
        }
    });
}

void VMirrorSelf(REALobject object) {
    ExchangeHalves<false>(object);
}

void Rotate180Self(REALobject object) {
    ExchangeHalves<true>(object);
}
