#include <algorithm>

#include "core/Storage.h"
#include "filters/OilFilter.h"

namespace {

// --- bins: how many samples of a class the window holds, and their sum
// ------------------------------------------------

// Both in one word: the count above bit 20, the sum below. 2047 samples sum up to less than 2^20.
struct NarrowBins {
    using Bin = std::int32_t;
    static constexpr std::int64_t kMostSamples = 2047;
    static constexpr int kSumBits = 20;
    static void Add(Bin* bin, int sample) { *bin += (1 << kSumBits) + sample; }
    static void Remove(Bin* bin, int sample) { *bin -= (1 << kSumBits) + sample; }
    static int Count(Bin bin) { return bin >> kSumBits; }
    static int Sum(Bin bin) { return bin & ((1 << kSumBits) - 1); }
};

// For every window. The sum wraps at 32 bits, and so comes back when samples leave.
struct WideBins {
    struct Bin {
        std::uint32_t count;
        std::uint32_t sum;
    };
    static void Add(Bin* bin, int sample) {
        ++bin->count;
        bin->sum += static_cast<std::uint32_t>(sample);
    }
    static void Remove(Bin* bin, int sample) {
        --bin->count;
        bin->sum -= static_cast<std::uint32_t>(sample);
    }
    static int Count(Bin bin) { return static_cast<int>(bin.count); }
    static int Sum(Bin bin) { return static_cast<int>(bin.sum); }
};

// --- the most frequent class of one channel
// ---------------------------------------------------------------------------

// The best class is kept up to date while samples come, and looked for again only when it lost some and may have
// fallen behind.
template <class Bins>
struct Mode {
    typename Bins::Bin bins[256];
    int best;
    int bestCount;
    bool lost;

    void Clear(int classes) {
        std::fill_n(bins, classes, typename Bins::Bin{});
        best = 0;
        bestCount = 0;
        lost = false;
    }
    void Add(int k, int sample) {
        Bins::Add(&bins[k], sample);
        const int count = Bins::Count(bins[k]);
        if (count > bestCount || (count == bestCount && k < best)) {
            best = k;
            bestCount = count;
        }
    }
    void Remove(int k, int sample) {
        Bins::Remove(&bins[k], sample);
        lost = lost || k == best;
    }
    // The lowest of the most frequent classes, once all samples came and went; samples: how many the window holds.
    void Settle(int classes, std::int64_t samples) {
        if (!lost) return;
        lost = false;
        bestCount = Bins::Count(bins[best]);
        if (2 * static_cast<std::int64_t>(bestCount) > samples) return;  // more than all others together
        int most = 0;
        for (int k = 0; k < classes; ++k) most = std::max(most, Bins::Count(bins[k]));
        best = 0;
        while (Bins::Count(bins[best]) != most) ++best;
        bestCount = most;
    }
    std::uint8_t Mean() const { return static_cast<std::uint8_t>(Bins::Sum(bins[best]) / bestCount); }
};

// --- the rows of the window
// ---------------------------------------------------------------------------------------------

// Packed copies of as many rows as a window can hold; row y lies in slot y mod slots.
struct RowRing {
    std::uint8_t* samples;
    bool* exists;
    std::int64_t rowBytes;
    std::int64_t slots;
};

void BringRow(const PixelSide& source, int y, int width, const RowRing& ring) {
    const RowSpan row = GetRowSpan(source.record, y);
    const std::int64_t slot = y % ring.slots;
    ring.exists[slot] = static_cast<bool>(row);
    if (row) CopyPackedSamples(row, source, width, ring.samples + slot * ring.rowBytes);
}

// --- the walk
// -----------------------------------------------------------------------------------------------------------

template <int kCount, class Bins>
struct OilWindow {
    Mode<Bins> mode[kCount];
    std::uint8_t classOf[256];
    int classes;
    const std::uint8_t** rows;  // those that exist
    int rowCount;

    void Open() {
        for (Mode<Bins>& channel : mode) channel.Clear(classes);
    }
    void AddColumn(std::int64_t x) {
        for (int r = 0; r < rowCount; ++r) {
            const std::uint8_t* const pixel = rows[r] + x * kCount;
            for (int c = 0; c < kCount; ++c) mode[c].Add(classOf[pixel[c]], pixel[c]);
        }
    }
    void RemoveColumn(std::int64_t x) {
        for (int r = 0; r < rowCount; ++r) {
            const std::uint8_t* const pixel = rows[r] + x * kCount;
            for (int c = 0; c < kCount; ++c) mode[c].Remove(classOf[pixel[c]], pixel[c]);
        }
    }
    void Paint(std::int64_t columns, std::uint8_t* out) {
        for (int c = 0; c < kCount; ++c) {
            mode[c].Settle(classes, columns * rowCount);
            out[c] = mode[c].Mean();
        }
    }
    // A row of the destination, packed. At least one row exists.
    void PaintRow(std::int64_t width, std::int64_t range, std::uint8_t* out) {
        Open();
        for (std::int64_t x = 0; x < std::min(range, width); ++x) AddColumn(x);
        for (std::int64_t x = 0; x < width; ++x) {
            if (x + range < width) AddColumn(x + range);
            if (x - range > 0) RemoveColumn(x - range - 1);
            const std::int64_t columns = std::min(x + range, width - 1) - std::max<std::int64_t>(x - range, 0) + 1;
            Paint(columns, out + x * kCount);
        }
    }
};

template <int kCount, class Bins>
void Paint(const PixelSides& sides, int classes, std::int64_t range, const RowRing& ring, const std::uint8_t** rows,
           std::uint8_t* outCopy) {
    ImageClassData* const source = sides.source.record;
    const int width = source->Width;
    OilWindow<kCount, Bins> window;
    window.classes = classes;
    window.rows = rows;
    for (int i = 0; i < 256; ++i) window.classOf[i] = static_cast<std::uint8_t>(i * classes / 256);
    std::int64_t arrived = 0;  // rows copied so far
    for (int y = 0; y < source->Height; ++y) {
        const std::int64_t first = std::max<std::int64_t>(y - range, 0);
        const std::int64_t last = std::min<std::int64_t>(y + range, source->Height - 1);
        for (; arrived <= last; ++arrived) BringRow(sides.source, static_cast<int>(arrived), width, ring);
        window.rowCount = 0;
        for (std::int64_t row = first; row <= last; ++row) {
            const std::int64_t slot = row % ring.slots;
            if (ring.exists[slot]) rows[window.rowCount++] = ring.samples + slot * ring.rowBytes;
        }
        const RowSpan dst = GetRowSpan(sides.dest.record, y);
        if (!dst || window.rowCount == 0) continue;
        std::uint8_t* const out = BeginPacked(dst, sides.dest, width, outCopy);
        window.PaintRow(width, range, out);
        EndPacked(dst, sides.dest, width, out);
    }
}

}  // namespace

void OilImage(const PixelSides& wanted, int classes, int range) {
    constexpr std::int64_t kMostRingBytes = std::int64_t{1} << 30;
    ImageClassData* const source = wanted.source.record;
    if (wanted.count() < 1 || source->Width < 1) return;
    const std::int64_t reach = 2 * static_cast<std::int64_t>(range) + 1;
    const std::int64_t slots = std::min<std::int64_t>(reach, source->Height);
    // One column more than the window has: a new one comes before the old one goes.
    const std::int64_t columns = std::min<std::int64_t>(reach + 1, source->Width);
    const std::int64_t rowBytes = static_cast<std::int64_t>(source->Width) * wanted.count();
    if (slots > kMostRingBytes / rowBytes || ImagesOverlap(source, wanted.dest.record)) {
        OilImage_Plain(wanted, classes, range);
        return;
    }
    const HeapArray<std::uint8_t> samples(slots * rowBytes), outCopy(rowBytes);
    const HeapArray<bool> exists(slots);
    const HeapArray<const std::uint8_t*> rows(slots);
    if (!samples || !outCopy || !exists || !rows) {
        OilImage_Plain(wanted, classes, range);
        return;
    }
    PixelSides sides = wanted;
    OrderByBytes(&sides);
    const RowRing ring{samples.get(), exists.get(), rowBytes, slots};
    WithChannelCount(sides.count(), [&](auto kCount) {
        if (slots * columns <= NarrowBins::kMostSamples) {
            Paint<kCount, NarrowBins>(sides, classes, range, ring, rows.get(), outCopy.get());
        } else {
            Paint<kCount, WideBins>(sides, classes, range, ring, rows.get(), outCopy.get());
        }
    });
}
