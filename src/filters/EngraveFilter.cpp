#include "filters/EngraveFilter.h"

#include <algorithm>

#include "core/Storage.h"
#include "filters/EngraveImage.h"
#include "filters/FilterFrame.h"
#include "kernels/KernelTable.h"

namespace zor {

static std::uint8_t Relief(int here, int there) {
    return static_cast<std::uint8_t>(std::clamp(here - there + 128, 0, 255));
}

static std::int64_t Neighbour(std::int64_t at, int level, int extent) {
    return std::clamp<std::int64_t>(at + level, 0, extent - 1);
}

void EngraveImage_Plain(const PixelSides& sides, int level) {
    ImageClassData* const src = sides.src.record;
    ImageClassData* const dst = sides.dst.record;
    WithChannelCount(sides.count(), [&](auto kCount) {
        for (int y = 0; y < src->Height; ++y) {
            RowSpan dstRow = GetRowSpan(dst, y);
            const int neighbourRow = static_cast<int>(Neighbour(y, level, src->Height));
            for (int x = 0; x < src->Width; ++x) {
                std::uint8_t here[kCount], there[kCount];
                const RowSpan row = GetRowSpan(src, y);
                if (!dstRow || !row) break;
                Load<kCount>(row, sides.src, x, here);
                const RowSpan other = GetRowSpan(src, neighbourRow);
                if (!other) break;
                Load<kCount>(other, sides.src, Neighbour(x, level, src->Width), there);
                for (int c = 0; c < kCount; ++c) here[c] = Relief(here[c], there[c]);
                if (src == dst) dstRow = GetRowSpan(dst, y);  // its window may have moved
                Store<kCount>(dstRow, sides.dst, x, here);
            }
        }
    });
}

// --- whole rows -----------------------------------------------------------------------------------------------------

// Packed samples of one row and of the row of its neighbours; out is neither of them.
template <int kCount>
static void ReliefOfRow(const std::uint8_t* here, const std::uint8_t* there, std::uint8_t* out, int width, int level) {
    // The columns whose neighbour lies in the row; on either side of them the edge pixel is everyone's neighbour.
    const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(std::clamp<std::int64_t>(-std::int64_t{level}, 0, width));
    const std::ptrdiff_t last =
        static_cast<std::ptrdiff_t>(std::clamp<std::int64_t>(std::int64_t{width} - level, first, width));
    const auto againstEdge = [&](std::ptrdiff_t from, std::ptrdiff_t to, std::ptrdiff_t edge) {
        for (std::ptrdiff_t x = from; x < to; ++x) {
            for (int c = 0; c < kCount; ++c)
                out[x * kCount + c] = Relief(here[x * kCount + c], there[edge * kCount + c]);
        }
    };
    againstEdge(0, first, 0);
    if (first < last) {
        Kernels().bytes.relief(here + first * kCount, there + (first + level) * kCount, out + first * kCount,
                               (last - first) * kCount);
    }
    againstEdge(last, width, width - 1);
}

// Walks by itself, as each row of the result needs two of the source.
void EngraveImage(const PixelSides& wanted, int level) {
    ImageClassData* const src = wanted.src.record;
    ImageClassData* const dst = wanted.dst.record;
    const int width = src->Width;
    const std::int64_t rowBytes = static_cast<std::int64_t>(width) * wanted.count();
    const HeapArray<std::uint8_t> hereCopy(rowBytes), thereCopy(rowBytes), outCopy(rowBytes);
    if (ImagesOverlap(src, dst) || !hereCopy || !thereCopy || !outCopy) {
        EngraveImage_Plain(wanted, level);
        return;
    }
    PixelSides sides = wanted;
    OrderByBytes(&sides);
    WithChannelCount(sides.count(), [&](auto kCount) {
        for (int y = 0; y < src->Height; ++y) {
            const RowSpan dstRow = GetRowSpan(dst, y);
            const RowSpan row = GetRowSpan(src, y);
            if (!dstRow || !row) continue;
            const std::uint8_t* here = hereCopy.get();
            if (src->IsMapping) {  // the next row may take the window
                CopyPackedSamples(row, sides.src, width, hereCopy.get());
            } else {
                here = PackedSamples(row, sides.src, width, hereCopy.get());
            }
            const RowSpan other = GetRowSpan(src, static_cast<int>(Neighbour(y, level, src->Height)));
            if (!other) continue;
            const std::uint8_t* const there = PackedSamples(other, sides.src, width, thereCopy.get());
            std::uint8_t* const out = BeginPacked(dstRow, sides.dst, width, outCopy.get());
            ReliefOfRow<kCount>(here, there, out, width, level);
            EndPacked(dstRow, sides.dst, width, out);
        }
    });
}

REALobject EngraveFilter(REALobject object, REALobject dst, int level) {
    return FilterInto(object, dst, [level](ImageClassData* from, ImageClassData* to) {
        if (from->IsGray || from->IsRGB) EngraveImage(SidesOf(from, to), level);
    });
}

}  // namespace zor
