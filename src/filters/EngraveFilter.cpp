#include "filters/EngraveFilter.h"

#include <algorithm>

#include "core/Storage.h"
#include "filters/FilterFrame.h"

static std::uint8_t Relief(int here, int there) {
    return static_cast<std::uint8_t>(std::clamp(here - there + 128, 0, 255));
}

static std::int64_t Neighbour(std::int64_t at, int level, int extent) {
    return std::clamp<std::int64_t>(at + level, 0, extent - 1);
}

void EngraveImage_Plain(const PixelSides& sides, int level) {
    ImageClassData* const source = sides.source.record;
    ImageClassData* const dest = sides.dest.record;
    WithChannelCount(sides.count(), [&](auto kCount) {
        for (int y = 0; y < source->Height; ++y) {
            RowSpan dst = GetRowSpan(dest, y);
            const int neighbourRow = static_cast<int>(Neighbour(y, level, source->Height));
            for (int x = 0; x < source->Width; ++x) {
                std::uint8_t here[kCount], there[kCount];
                const RowSpan row = GetRowSpan(source, y);
                if (!dst || !row) break;
                Load<kCount>(row, sides.source, x, here);
                const RowSpan other = GetRowSpan(source, neighbourRow);
                if (!other) break;
                Load<kCount>(other, sides.source, static_cast<std::ptrdiff_t>(Neighbour(x, level, source->Width)),
                             there);
                for (int c = 0; c < kCount; ++c) here[c] = Relief(here[c], there[c]);
                if (source == dest) dst = GetRowSpan(dest, y);  // its window may have moved
                Store<kCount>(dst, sides.dest, x, here);
            }
        }
    });
}

// --- whole rows -----------------------------------------------------------------------------------------------------

static void ReliefOfBytes(const std::uint8_t* __restrict here, const std::uint8_t* __restrict there,
                          std::uint8_t* __restrict out, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) out[i] = Relief(here[i], there[i]);
}

// Packed samples of one row and of the row of its neighbours; out is neither of them.
template <int kCount>
static void ReliefOfRow(const std::uint8_t* here, const std::uint8_t* there, std::uint8_t* out, int width, int level) {
    // The columns whose neighbour lies in the row; on either side of them the edge pixel is everyone's neighbour.
    const std::ptrdiff_t first = std::clamp<std::int64_t>(-static_cast<std::int64_t>(level), 0, width);
    const std::ptrdiff_t last = std::clamp<std::int64_t>(static_cast<std::int64_t>(width) - level, first, width);
    const auto againstEdge = [&](std::ptrdiff_t from, std::ptrdiff_t to, std::ptrdiff_t edge) {
        for (std::ptrdiff_t x = from; x < to; ++x) {
            for (int c = 0; c < kCount; ++c)
                out[x * kCount + c] = Relief(here[x * kCount + c], there[edge * kCount + c]);
        }
    };
    againstEdge(0, first, 0);
    if (first < last) {
        ReliefOfBytes(here + first * kCount, there + (first + level) * kCount, out + first * kCount,
                      (last - first) * kCount);
    }
    againstEdge(last, width, width - 1);
}

void EngraveImage(const PixelSides& wanted, int level) {
    ImageClassData* const source = wanted.source.record;
    ImageClassData* const dest = wanted.dest.record;
    const int width = source->Width;
    const std::int64_t rowBytes = static_cast<std::int64_t>(width) * wanted.count();
    const HeapArray<std::uint8_t> hereCopy(rowBytes), thereCopy(rowBytes), outCopy(rowBytes);
    if (ImagesOverlap(source, dest) || !hereCopy || !thereCopy || !outCopy) {
        EngraveImage_Plain(wanted, level);
        return;
    }
    PixelSides sides = wanted;
    OrderByBytes(&sides);
    WithChannelCount(sides.count(), [&](auto kCount) {
        for (int y = 0; y < source->Height; ++y) {
            const RowSpan dst = GetRowSpan(dest, y);
            const RowSpan row = GetRowSpan(source, y);
            if (!dst || !row) continue;
            const std::uint8_t* here = hereCopy.get();
            if (source->IsMapping) {  // the next row may take the window
                CopyPackedSamples(row, sides.source, width, hereCopy.get());
            } else {
                here = PackedSamples(row, sides.source, width, hereCopy.get());
            }
            const RowSpan other = GetRowSpan(source, static_cast<int>(Neighbour(y, level, source->Height)));
            if (!other) continue;
            const std::uint8_t* const there = PackedSamples(other, sides.source, width, thereCopy.get());
            std::uint8_t* const out = BeginPacked(dst, sides.dest, width, outCopy.get());
            ReliefOfRow<kCount>(here, there, out, width, level);
            EndPacked(dst, sides.dest, width, out);
        }
    });
}

REALobject EngraveFilter(REALobject object, REALobject dest, int level) {
    return FilterInto(object, dest, [level](ImageClassData* source, ImageClassData* target) {
        if (source->IsGray || source->IsRGB) EngraveImage(SidesOf(source, target), level);
    });
}
