#include "filters/OrderedDither.h"

#include <algorithm>

#include "filters/DitherTables.h"
#include "kernels/KernelTable.h"

namespace zor {

namespace {

constexpr int kTurns = 8;  // repetitions of a matrix in a row, and in a column, that differ

// The place of a repetition in the order in which they take part: neighbours are far from each other.
int TurnOf(int x, int y) {
    int turn = 0;
    for (int bit = 0; bit < 3; ++bit) {
        const int right = x >> bit & 1, down = y >> bit & 1;
        turn = turn << 2 | (right ^ down) << 1 | down;
    }
    return turn;
}

// How many cells of 255 parts come before one: those below it, and of those like it as many as its turn says.
int OffsetOf(const int* values, int side, int x, int y) {
    const int cells = side * side, value = values[y % side * side + x % side];
    const auto below = std::count_if(values, values + cells, [value](int other) { return other < value; });
    const auto alike = std::count(values, values + cells, value);
    const int turn = TurnOf(x / side % kTurns, y / side % kTurns);
    constexpr int kAllTurns = kTurns * kTurns;
    // Counted in half turns, so that each part has its middle.
    const std::int64_t halves = 2 * kAllTurns * below + (2 * turn + 1) * alike;
    return static_cast<int>(255 * halves / (2 * kAllTurns * cells));
}

// The index of a level: sample * steps / 255 with the offset before it is cut off. Nothing leaves 16 bits.
void FindLevels(const std::uint8_t* src, const std::uint8_t* offsets, std::uint8_t* dst, std::ptrdiff_t count,
                std::uint8_t flip, std::uint16_t steps) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const auto light = static_cast<std::uint16_t>(src[i] ^ flip);
        const auto sum = static_cast<std::uint16_t>(light * steps + offsets[i]);
        dst[i] = static_cast<std::uint8_t>((static_cast<std::uint32_t>(sum) * 0x8081u >> 16) >> 7);  // by 255
    }
}

}  // namespace

bool OrderedDither::Start(const OrderedDitherRequest& request) {
    constexpr std::ptrdiff_t kLeastRow = 512;
    const int* values = nullptr;
    int side = 0;
    SetMatrixValues(request.matrix, values, side);
    if (values == nullptr || request.levels < 2 || request.levels > 256) return false;
    request_ = request;
    const int steps = request.levels - 1;
    for (int k = 0; k <= steps; ++k) {
        const int level = (2 * 255 * k + steps) / (2 * steps);
        level_[k] = static_cast<std::uint8_t>(request.isInk ? 255 - level : level);
    }
    period_ = side * kTurns;
    const std::ptrdiff_t periodBytes = std::ptrdiff_t{period_} * request.channels;
    rowBytes_ = (kLeastRow + periodBytes - 1) / periodBytes * periodBytes;
    offsets_ = HeapArray<std::uint8_t>(period_, rowBytes_);
    if (!offsets_) return false;
    for (int y = 0; y < period_; ++y)
        for (int x = 0; x < period_; ++x) {
            const auto offset = static_cast<std::uint8_t>(OffsetOf(values, side, x, y));
            std::uint8_t* const first = offsets_.get() + y * rowBytes_ + std::ptrdiff_t{x} * request.channels;
            for (std::uint8_t* at = first; at < offsets_.get() + (y + 1) * rowBytes_; at += periodBytes)
                std::fill_n(at, request.channels, offset);
        }
    return true;
}

void OrderedDither::DitherRow(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t pixels, int y) const {
    std::uint8_t found[512 + 128 * 4];
    const std::uint8_t* const offsets = OffsetsOf(y);
    const auto map = Kernels().bytes.map;
    const std::ptrdiff_t bytes = pixels * request_.channels;
    for (std::ptrdiff_t at = 0; at < bytes; at += rowBytes_) {
        const std::ptrdiff_t count = std::min(rowBytes_, bytes - at);
        FindLevels(src + at, offsets, found, count, request_.isInk ? 255 : 0,
                   static_cast<std::uint16_t>(request_.levels - 1));
        map(found, found, count, level_);
        if (request_.hasAlpha)
            for (std::ptrdiff_t i = request_.channels - 1; i < count; i += request_.channels) found[i] = src[at + i];
        std::copy_n(found, count, dst + at);
    }
}

}  // namespace zor
