#include "filters/OilFilter.h"

#include <algorithm>

#include "filters/FilterFrame.h"
#include "filters/OilWindow.h"

namespace zor {

namespace {

struct Span {
    int first;
    int last;
};

Span WindowAlong(int at, int range, int extent) {
    const std::int64_t first = static_cast<std::int64_t>(at) - range, last = static_cast<std::int64_t>(at) + range;
    return {static_cast<int>(std::max<std::int64_t>(first, 0)),
            static_cast<int>(std::min<std::int64_t>(last, extent - 1))};
}

template <int kCount>
struct ClassCounts {
    std::uint32_t count[kCount][256];
    std::uint32_t sum[kCount][256];
};

template <int kCount>
void CountWindow(const PixelSide& src, Span rows, Span columns, int classes, ClassCounts<kCount>* counts) {
    for (int y = rows.first; y <= rows.last; ++y) {
        const RowSpan row = GetRowSpan(src.record, y);
        if (!row) continue;
        for (int x = columns.first; x <= columns.last; ++x) {
            std::uint8_t samples[kCount];
            Load<kCount>(row, src, x, samples);
            for (int c = 0; c < kCount; ++c) {
                const int k = samples[c] * classes / 256;
                ++counts->count[c][k];
                counts->sum[c][k] += samples[c];
            }
        }
    }
}

// The lowest of the most frequent classes. False if the window held nothing.
bool MeanOfMode(const std::uint32_t* count, const std::uint32_t* sum, int classes, std::uint8_t* mean) {
    int best = 0;
    for (int k = 1; k < classes; ++k) {
        if (count[k] > count[best]) best = k;
    }
    if (count[best] == 0) return false;
    *mean = static_cast<std::uint8_t>(static_cast<std::int32_t>(sum[best]) / static_cast<std::int32_t>(count[best]));
    return true;
}

template <int kCount>
void Paint_Plain(const PixelSides& sides, int classes, int range) {
    ImageClassData* const src = sides.src.record;
    ImageClassData* const dst = sides.dst.record;
    ClassCounts<kCount> counts;
    for (int y = 0; y < src->Height; ++y) {
        RowSpan dstRow = GetRowSpan(dst, y);
        for (int x = 0; x < src->Width && dstRow; ++x) {
            for (int c = 0; c < kCount; ++c) {
                std::fill_n(counts.count[c], classes, 0);
                std::fill_n(counts.sum[c], classes, 0);
            }
            CountWindow<kCount>(sides.src, WindowAlong(y, range, src->Height), WindowAlong(x, range, src->Width),
                                classes, &counts);
            std::uint8_t samples[kCount];
            bool any = true;
            for (int c = 0; c < kCount; ++c) {
                any = MeanOfMode(counts.count[c], counts.sum[c], classes, &samples[c]) && any;
            }
            if (src == dst) dstRow = GetRowSpan(dst, y);  // its window may have moved
            if (any) Store<kCount>(dstRow, sides.dst, x, samples);
        }
    }
}

}  // namespace

void OilImage_Plain(const PixelSides& sides, int classes, int range) {
    WithChannelCount(sides.count(), [&](auto kCount) { Paint_Plain<kCount>(sides, classes, range); });
}

REALobject OilFilter(REALobject object, REALobject dst, int levels, int range) {
    return FilterInto(object, dst, [levels, range](ImageClassData* from, ImageClassData* to) {
        if (levels < 1 || range < 0) return;
        OilImage(SidesOf(from, to), std::min(levels, 256), range);
    });
}

}  // namespace zor
