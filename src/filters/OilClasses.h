#pragma once
// The window of the oil filter that moves along a row: what it holds, by class, and the mean of the class that is most
// frequent.

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace zor {

// Index of the first of a number of counts that is equal to the given one. One is.
template <class Count>
int FirstOf(const Count* count, int, Count wanted) {
    int k = 0;
    while (count[k] != wanted) ++k;
    return k;
}
inline int FirstOf(const std::uint8_t* count, int number, std::uint8_t wanted) {
    const void* const found = std::memchr(count, wanted, static_cast<std::size_t>(number));
    return static_cast<int>(static_cast<const std::uint8_t*>(found) - count);
}

// --- the classes of one channel -------------------------------------------------------------------------------------

// What the window holds, by class. The smaller the types, the more counts are searched at once; a window of as many
// samples as Count can tell has sums that Sum can hold, up to the widest, whose sums wrap and come back.
template <class Count, class Sum>
struct Classes {
    static constexpr int kMaxClasses = 256;
    static constexpr int kBlock = 16;  // as many as a vector of the smallest counts has

    Count count[kMaxClasses];
    Sum sum[kMaxClasses];
    int best;

    void Clear() {
        std::fill_n(count, kMaxClasses, Count{0});
        std::fill_n(sum, kMaxClasses, Sum{0});
        best = 0;
    }
    void Add(int k, int sample) {
        count[k] = static_cast<Count>(count[k] + 1);
        sum[k] = static_cast<Sum>(sum[k] + static_cast<Sum>(sample));
    }
    void Remove(int k, int sample) {
        count[k] = static_cast<Count>(count[k] - 1);
        sum[k] = static_cast<Sum>(sum[k] - static_cast<Sum>(sample));
    }
    // The lowest of the most frequent classes; samples: how many the window holds, at least 1.
    int Mode(int classes, std::int64_t samples) {
        const bool isMajority = 2 * static_cast<std::int64_t>(count[best]) > samples;
        if (!isMajority) best = FindMode(classes);
        return best;
    }

private:
    int FindMode(int classes) const {
        const int searched = (classes + kBlock - 1) / kBlock * kBlock;  // classes that are not used count 0
        Count most = 0;
        for (int k = 0; k < searched; ++k) most = std::max(most, count[k]);
        return FirstOf(count, searched, most);
    }
};

using SmallClasses = Classes<std::uint8_t, std::uint16_t>;  // 255 samples add up to 65025 at most
using MediumClasses = Classes<std::uint16_t, std::uint32_t>;
using LargeClasses = Classes<std::uint32_t, std::uint32_t>;
constexpr std::int64_t kMaxSmall = 255, kMaxMedium = 65535;

// The mean of a class, as the plug-in cuts it off. Sums of the largest windows wrap, and are taken with their sign.
struct CutMean {
    template <class ClassesOf>
    static std::uint8_t Of(const ClassesOf& classes, int k) {
        return static_cast<std::uint8_t>(static_cast<std::int32_t>(classes.sum[k]) /
                                         static_cast<std::int32_t>(classes.count[k]));
    }
};

// The same rounded.
struct RoundedMean {
    template <class ClassesOf>
    static std::uint8_t Of(const ClassesOf& classes, int k) {
        const std::uint64_t sum = classes.sum[k], count = classes.count[k];
        return static_cast<std::uint8_t>((sum + count / 2) / count);
    }
};

// --- the window -----------------------------------------------------------------------------------------------------

template <int kCount, class ClassesOf, class Mean>
struct OilWindow {
    ClassesOf channel[kCount];
    const std::uint8_t* classOf;  // of every byte
    int classes;
    const std::uint8_t* const* rows;  // those that exist
    int rowCount;

    void AddColumn(std::int64_t x) {
        for (int r = 0; r < rowCount; ++r) {
            const std::uint8_t* const pixel = rows[r] + x * kCount;
            for (int c = 0; c < kCount; ++c) channel[c].Add(classOf[pixel[c]], pixel[c]);
        }
    }
    void RemoveColumn(std::int64_t x) {
        for (int r = 0; r < rowCount; ++r) {
            const std::uint8_t* const pixel = rows[r] + x * kCount;
            for (int c = 0; c < kCount; ++c) channel[c].Remove(classOf[pixel[c]], pixel[c]);
        }
    }
    // A row of the destination, packed. At least one row exists.
    void PaintRow(std::int64_t width, std::int64_t range, std::uint8_t* out) {
        for (ClassesOf& each : channel) each.Clear();
        for (std::int64_t x = 0; x < std::min(range, width); ++x) AddColumn(x);
        for (std::int64_t x = 0; x < width; ++x) {
            if (x + range < width) AddColumn(x + range);
            if (x - range > 0) RemoveColumn(x - range - 1);
            const std::int64_t columns = std::min(x + range, width - 1) - std::max<std::int64_t>(x - range, 0) + 1;
            for (int c = 0; c < kCount; ++c) {
                out[x * kCount + c] = Mean::Of(channel[c], channel[c].Mode(classes, columns * rowCount));
            }
        }
    }
};

}  // namespace zor
