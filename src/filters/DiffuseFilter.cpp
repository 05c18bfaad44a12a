#include "filters/DiffuseFilter.h"

#include <algorithm>
#include <cstdlib>

#include "filters/FilterFrame.h"

namespace zor {

// Up to level away from `at`, kept on the image. A negative level draws from a negative span, which shifts pixels.
static int RandomNeighbour(int at, int level, int extent) {
    const std::int64_t span = 2 * static_cast<std::int64_t>(level) + 1;
    const std::int64_t place = at + std::rand() % span - level;
    return static_cast<int>(std::clamp<std::int64_t>(place, 0, extent - 1));
}

// Walks by itself, as each pixel comes from a row of its own.
template <int kCount>
static void Scatter(const PixelSides& sides, int level) {
    ImageClassData* const src = sides.src.record;
    ImageClassData* const dst = sides.dst.record;
    for (int y = 0; y < src->Height; ++y) {
        RowSpan dstRow = GetRowSpan(dst, y);
        for (int x = 0; x < src->Width; ++x) {
            const int fromX = RandomNeighbour(x, level, src->Width);
            const int fromY = RandomNeighbour(y, level, src->Height);
            const RowSpan srcRow = GetRowSpan(src, fromY);
            if (!srcRow) continue;
            std::uint8_t samples[kCount];
            Load<kCount>(srcRow, sides.src, fromX, samples);
            if (src == dst) dstRow = GetRowSpan(dst, y);  // its window may have moved
            if (dstRow) Store<kCount>(dstRow, sides.dst, x, samples);
        }
    }
}

REALobject DifuseFilter(REALobject object, REALobject dst, int level) {
    return FilterInto(object, dst, [level](ImageClassData* from, ImageClassData* to) {
        if (!from->IsGray && !from->IsRGB) return;
        const PixelSides sides = SidesOf(from, to);
        WithChannelCount(sides.count(), [&](auto kCount) { Scatter<kCount>(sides, level); });
    });
}

}  // namespace zor
