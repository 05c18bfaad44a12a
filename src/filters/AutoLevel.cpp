#include "filters/AutoLevel.h"

#include <algorithm>
#include <climits>

#include "filters/TableWalk.h"
#include "filters/Truncate.h"
#include "kernels/KernelTable.h"

namespace zor {

namespace {

constexpr int kBytes = 256;

// --- luminance ------------------------------------------------------------------------------------------------------

struct Levels {
    const LuminanceParts parts = MakeLuminanceParts(177, 813, 10);
    ImageClassData* record;
    PixelRect rect;

    // Hands the levels of a row to work(levels, count), a part of it at a time. The channels are found out for every
    // row: the application can close an image or build it anew in its turns.
    template <class Work>
    void OfRow(const RowSpan& row, Work work) const {
        const Layer rgb = LayerOfRows(rect.x, OffsetsOf(record, ColoursOf(PixelFamily::rgb)), record->PixelSize);
        WorkRow({&rgb, 1, rect.width, 1, nullptr, true, false}, &row, 0, [&](const RunSet& runs) {
            constexpr std::ptrdiff_t kPart = 4096;
            std::uint8_t levels[kPart];
            PixelRun run = runs.run[0];
            for (std::ptrdiff_t at = 0; at < runs.count; at += kPart) {
                const std::ptrdiff_t count = std::min(kPart, runs.count - at);
                run.pixels = runs.run[0].pixels + at * run.step;
                Kernels().tone.luminance(run, count, parts, levels);
                work(levels, count);
            }
        });
    }
};

// --- limits ---------------------------------------------------------------------------------------------------------

struct Limits {
    int low;
    int high;
};

// So many pixels may lie up to the limits. They are worked out in single precision, which for large images is coarser
// than one pixel.
Limits PixelsUpTo(int pixels) {
    const float total = static_cast<float>(pixels);
    const float low = total * 0.005f, high = total * 0.995f;
    return {TruncateToInt(low), TruncateToInt(high)};
}

// The largest level up to which no more than the threshold are counted; 0 where even level 0 holds more.
int LargestLevelUpTo(const int* cumulative, int threshold) {
    int level = 0;
    for (int i = 0; i < kBytes; ++i) {
        if (cumulative[i] <= threshold) level = i;
    }
    return level;
}

Limits LimitsOf(const LevelCounts& counts) {
    int cumulative[kBytes];
    std::uint32_t sum = 0;  // wraps, as image files can hold more pixels
    for (int i = 0; i < kBytes; ++i) {
        for (const auto& lane : counts.lane) sum += lane[i];
        cumulative[i] = static_cast<int>(sum);
    }
    const Limits most = PixelsUpTo(cumulative[kBytes - 1]);
    return {LargestLevelUpTo(cumulative, most.low), LargestLevelUpTo(cumulative, most.high)};
}

// --- limits by a guess ----------------------------------------------------------------------------------------------

// The levels about a guess.
class Window {
public:
    explicit Window(int guess) : first_(std::clamp(guess - kLevelLimits / 2, 0, kBytes - kLevelLimits)) {
        for (int k = 0; k < kLevelLimits; ++k) level_[k] = static_cast<std::uint8_t>(first_ + k);
    }
    void Add(const std::uint8_t* levels, std::ptrdiff_t count) {
        Kernels().tone.countAbove(levels, count, level_, above_);
    }
    // As LargestLevelUpTo, where the level is one of these: the last is known by one behind it that is not.
    bool Find(std::uint32_t pixels, int threshold, int* level) const {
        const auto upTo = [&](int k) { return static_cast<int>(pixels - above_[k]); };
        if (upTo(kLevelLimits - 1) <= threshold) return false;
        if (upTo(0) > threshold && first_ > 0) return false;
        *level = first_;
        for (int k = 0; k < kLevelLimits && upTo(k) <= threshold; ++k) *level = first_ + k;
        return true;
    }

private:
    int first_;
    std::uint8_t level_[kLevelLimits];
    std::uint32_t above_[kLevelLimits] = {};
};

// Looks at some rows, and then counts the pixels above those levels only that come into question. False where the guess
// was not good enough.
bool FindLimits(const Levels& levels, Limits* limits) {
    constexpr int kRowsOfGuess = 48;
    const PixelRect& rect = levels.rect;
    LevelCounts some{};
    for (std::int64_t k = 0; k < kRowsOfGuess; ++k) {
        const RowSpan row = GetRowSpan(levels.record, static_cast<int>(rect.y + rect.height * k / kRowsOfGuess));
        if (!row) continue;
        levels.OfRow(row, [&](const std::uint8_t* bytes, std::ptrdiff_t n) { Kernels().tone.count(bytes, n, &some); });
    }
    const Limits guess = LimitsOf(some);
    Window low(guess.low), high(guess.high);
    std::uint32_t pixels = 0;
    WalkRows(levels.record, rect, [&](const RowSpan& row) {
        levels.OfRow(row, [&](const std::uint8_t* bytes, std::ptrdiff_t count) {
            low.Add(bytes, count);
            high.Add(bytes, count);
            pixels += static_cast<std::uint32_t>(count);
        });
    });
    const Limits most = PixelsUpTo(static_cast<int>(pixels));
    return low.Find(pixels, most.low, &limits->low) && high.Find(pixels, most.high, &limits->high);
}

// Rows are looked at again only where the application gets no turn in between, and where a guess pays.
bool MayGuess(const Levels& levels) {
    const std::int64_t pixels = levels.rect.width * levels.rect.height;
    return levels.record->YieldTicks <= 0 && levels.rect.height >= 256 && pixels >= 1 << 16 && pixels < INT_MAX;
}

Limits LimitsOf(const Levels& levels) {
    Limits limits;
    if (MayGuess(levels) && FindLimits(levels, &limits)) return limits;
    LevelCounts counts{};
    WalkRows(levels.record, levels.rect, [&](const RowSpan& row) {
        levels.OfRow(row,
                     [&](const std::uint8_t* bytes, std::ptrdiff_t n) { Kernels().tone.count(bytes, n, &counts); });
    });
    return LimitsOf(counts);
}

// --- stretching -----------------------------------------------------------------------------------------------------

// Limits that meet give an infinite scale: what lies between them becomes 0.
ByteTable StretchTable(const Limits& limits) {
    const double scale = 255.0 / (limits.high - limits.low);
    ByteTable table;
    for (int i = 0; i < kBytes; ++i) {
        if (i < limits.low) {
            table.entry[i] = 0;
        } else if (i > limits.high) {
            table.entry[i] = 255;
        } else {
            table.entry[i] = static_cast<std::uint8_t>(TruncateToInt(scale * (i - limits.low)));
        }
    }
    return table;
}

}  // namespace

REALboolean AutoLevel5(REALobject object, int x, int y, int width, int height) {
    ImageClassData* const record = ImageDataOf(object);
    if (!record->IsRGB || !record->Valid) return false;
    const PixelRect rect = ReduceToImage(record, {x, y, width, height});
    if (rect.IsEmpty() || !IsUsable(record)) return false;
    YieldIfAsked(record);
    const ByteTable table = StretchTable(LimitsOf(Levels{.record = record, .rect = rect}));
    const ByteTable tables[] = {table, table, table};
    const PixelSide side = SideOf(record, ColoursOf(PixelFamily::rgb));
    MapThroughTables({side, side}, rect, tables);
    return true;
}

REALboolean AutoLevel1(REALobject object) {
    const ImageClassData* const record = ImageDataOf(object);
    return AutoLevel5(object, 0, 0, record->Width, record->Height);
}

}  // namespace zor
