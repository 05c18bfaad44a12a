#pragma once
// The loops of operations that work on an image in place: rows from the top, pixels from the left, the channels of a
// pixel in the order of their set.

#include <algorithm>
#include <type_traits>

#include "core/Rectangles.h"
#include "core/RowSpan.h"

// Hands every row of the rectangle that exists to work(row), and yields after each.
template <class Work>
void WalkRows(ImageClassData* record, const PixelRect& rect, Work work) {
    for (std::int64_t y = rect.y; y < rect.y + rect.height; ++y) {
        const RowSpan row = GetRowSpan(record, static_cast<int>(y));
        if (row) work(row);
        YieldIfAsked(record);
    }
}

// Calls work with the count as a constant of the compiler's.
template <class Work>
void WithChannelCount(int count, Work work) {
    switch (count) {
        case 1:
            return work(std::integral_constant<int, 1>());
        case 2:
            return work(std::integral_constant<int, 2>());
        case 3:
            return work(std::integral_constant<int, 3>());
        case 4:
            return work(std::integral_constant<int, 4>());
        case 5:
            return work(std::integral_constant<int, 5>());
    }
}

// byte = op(channel, byte) for every channel of `count` pixels that lie inside the storage.
template <int kCount, class Op>
void TouchInside(std::uint8_t* data, std::ptrdiff_t pixelSize, const std::ptrdiff_t* channelOffsets,
                 std::ptrdiff_t count, const Op op) {
    if (kCount == 1 && pixelSize == 1) {  // bytes side by side, for the compiler to make vectors of
        data += channelOffsets[0];
        for (std::ptrdiff_t i = 0; i < count; ++i) data[i] = op(0, data[i]);
        return;
    }
    std::ptrdiff_t offset[kCount];
    for (int c = 0; c < kCount; ++c) offset[c] = channelOffsets[c];
    for (std::ptrdiff_t i = 0; i < count; ++i, data += pixelSize) {
        for (int c = 0; c < kCount; ++c) data[offset[c]] = op(c, data[offset[c]]);
    }
}

// The same for pixels of which some bytes may lie outside: those read 0 and are not written.
template <int kCount, class Op>
void TouchByByte(const RowSpan& row, std::ptrdiff_t pixelSize, const std::ptrdiff_t* offset, std::ptrdiff_t first,
                 std::ptrdiff_t last, const Op op) {
    for (std::ptrdiff_t x = first; x < last; ++x) {
        for (int c = 0; c < kCount; ++c) {
            const std::ptrdiff_t at = x * pixelSize + offset[c];
            row.Store(at, op(c, row.Load(at)));
        }
    }
}

// Applies byte = op(channel, byte) to the channels of every pixel of the rectangle, whose rows are fetched even if it
// has no columns; channel is the index into the set. An empty set does nothing at all. Op::kVisitsAll tells whether the
// operation must also run for bytes outside the storage, because it draws from something that goes on with every byte.
template <class Op>
void TouchRect(ImageClassData* record, const PixelRect& rect, int pixelSize, const ChannelSet& channels, const Op op) {
    const std::ptrdiff_t x = static_cast<std::ptrdiff_t>(rect.x);
    const std::ptrdiff_t width = static_cast<std::ptrdiff_t>(std::max<std::int64_t>(rect.width, 0));
    WithChannelCount(channels.count, [&](auto kCount) {
        WalkRows(record, rect, [&](const RowSpan& row) {
            const PixelRange inside = PixelsInside(row, pixelSize, channels, x, width);
            const PixelRange reached =
                Op::kVisitsAll ? PixelRange{0, width} : PixelsReached(row, pixelSize, channels, x, width);
            TouchByByte<kCount>(row, pixelSize, channels.offset, x + reached.first, x + inside.first, op);
            if (inside.first < inside.last) {
                TouchInside<kCount>(row.data + (x + inside.first) * pixelSize, pixelSize, channels.offset,
                                    inside.last - inside.first, op);
            }
            TouchByByte<kCount>(row, pixelSize, channels.offset, x + inside.last, x + reached.last, op);
        });
    });
}
