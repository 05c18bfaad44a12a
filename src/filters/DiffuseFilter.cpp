#include "filters/DiffuseFilter.h"

#include <algorithm>
#include <cstdlib>

#include "filters/FilterFrame.h"

// Up to level away from `at`, kept on the image. A negative level draws from a negative span, which shifts pixels.
static int RandomNeighbour(int at, int level, int extent) {
    const std::int64_t span = 2 * static_cast<std::int64_t>(level) + 1;
    const std::int64_t place = at + std::rand() % span - level;
    return static_cast<int>(std::clamp<std::int64_t>(place, 0, extent - 1));
}

template <int kCount>
static void Scatter(const PixelSides& sides, int level) {
    ImageClassData* const source = sides.source.record;
    ImageClassData* const dest = sides.dest.record;
    for (int y = 0; y < source->Height; ++y) {
        RowSpan dst = GetRowSpan(dest, y);
        for (int x = 0; x < source->Width; ++x) {
            const int fromX = RandomNeighbour(x, level, source->Width);
            const int fromY = RandomNeighbour(y, level, source->Height);
            const RowSpan src = GetRowSpan(source, fromY);
            if (!src) continue;
            std::uint8_t samples[kCount];
            Load<kCount>(src, sides.source, fromX, samples);
            if (source == dest) dst = GetRowSpan(dest, y);  // its window may have moved
            if (dst) Store<kCount>(dst, sides.dest, x, samples);
        }
    }
}

REALobject DifuseFilter(REALobject object, REALobject dest, int level) {
    return FilterInto(object, dest, [level](ImageClassData* source, ImageClassData* target) {
        if (!source->IsGray && !source->IsRGB) return;
        const PixelSides sides = SidesOf(source, target);
        WithChannelCount(sides.count(), [&](auto kCount) { Scatter<kCount>(sides, level); });
    });
}
