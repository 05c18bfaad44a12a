#include "codecs/PngFilter.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

std::uint8_t Low(int value) {
    return static_cast<std::uint8_t>(value);
}

// 16 bits, as vectors have twice as many of them as of 32.
std::int16_t Size(std::int16_t value) {
    return std::max<std::int16_t>(value, static_cast<std::int16_t>(-value));
}

// Of left, above and above left that which is nearest to left + above - above left, in this order where they tie.
std::uint8_t Nearest(std::uint8_t left, std::uint8_t above, std::uint8_t corner) {
    const auto toLeft = static_cast<std::int16_t>(above - corner), toAbove = static_cast<std::int16_t>(left - corner);
    const std::int16_t fromLeft = Size(toLeft), fromAbove = Size(toAbove);
    const std::int16_t fromCorner = Size(static_cast<std::int16_t>(toLeft + toAbove));
    const std::int16_t least = std::min(fromLeft, fromAbove);
    const std::uint8_t side = fromAbove < fromLeft ? above : left;
    return fromCorner < least ? corner : side;
}

// How far the bytes are from 0, either way round.
std::uint64_t Left(const std::uint8_t* bytes, std::size_t count) {
    constexpr std::size_t kPart = 1 << 20;  // whose sum has room in 32 bits, which vectors add faster
    std::uint64_t all = 0;
    for (std::size_t at = 0; at < count; at += kPart) {
        const std::size_t end = std::min(count, at + kPart);
        std::uint32_t sum = 0;
        for (std::size_t i = at; i < end; ++i) sum += std::min(bytes[i], Low(-bytes[i]));
        all += sum;
    }
    return all;
}

}  // namespace

void FilterPngRow(int filter, const std::uint8_t* row, const std::uint8_t* above, std::size_t bytes, std::size_t step,
                  std::uint8_t* result) {
    // What is left of the first pixel counts as 0.
    const std::size_t first = std::min(step, bytes);
    switch (filter) {
        case 0:
            std::memcpy(result, row, bytes);
            break;
        case 1:
            std::memcpy(result, row, first);
            for (std::size_t i = first; i < bytes; ++i) result[i] = Low(row[i] - row[i - step]);
            break;
        case 2:
            for (std::size_t i = 0; i < bytes; ++i) result[i] = Low(row[i] - above[i]);
            break;
        case 3:
            for (std::size_t i = 0; i < first; ++i) result[i] = Low(row[i] - above[i] / 2);
            for (std::size_t i = first; i < bytes; ++i) result[i] = Low(row[i] - (row[i - step] + above[i]) / 2);
            break;
        default:
            for (std::size_t i = 0; i < first; ++i) result[i] = Low(row[i] - above[i]);
            for (std::size_t i = first; i < bytes; ++i)
                result[i] = Low(row[i] - Nearest(row[i - step], above[i], above[i - step]));
            break;
    }
}

void FilterPngRowBest(const std::uint8_t* row, const std::uint8_t* above, std::size_t bytes, std::size_t step,
                      std::uint8_t* trial, std::uint8_t* result) {
    std::uint64_t least = 0;
    int best = 0;
    for (int filter = 0; filter < kPngFilters; ++filter) {
        FilterPngRow(filter, row, above, bytes, step, trial);
        const std::uint64_t left = Left(trial, bytes);
        if (filter > 0 && left >= least) continue;
        least = left;
        best = filter;
        std::memcpy(result + 1, trial, bytes);
    }
    result[0] = Low(best);
}
