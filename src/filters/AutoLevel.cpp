#include "filters/AutoLevel.h"

#include "filters/TableWalk.h"
#include "filters/Truncate.h"
#include "kernels/KernelTable.h"

namespace zor {

namespace {

constexpr int kBytes = 256;

// --- luminance ------------------------------------------------------------------------------------------------------

// The channels are found out for every row: the application can close an image or build it anew in its turns.
void CountRow(const RowSpan& row, const ImageClassData* record, const PixelRect& rect, const LuminanceParts& parts,
              LevelCounts* counts) {
    const Layer rgb = LayerOfRows(rect.x, OffsetsOf(record, ColoursOf(PixelFamily::rgb)), record->PixelSize);
    WorkRow({&rgb, 1, rect.width, 1, nullptr, true, false}, &row, 0,
            [&](const RunSet& runs) { Kernels().tone.luminance(runs.run[0], runs.count, parts, counts); });
}

// --- limits ---------------------------------------------------------------------------------------------------------

struct Limits {
    int low;
    int high;
};

// The largest level up to which no more than the threshold are counted; 0 where even level 0 holds more.
int LargestLevelUpTo(const int* cumulative, int threshold) {
    int level = 0;
    for (int i = 0; i < kBytes; ++i) {
        if (cumulative[i] <= threshold) level = i;
    }
    return level;
}

// The thresholds are worked out in single precision, which for large images is coarser than one pixel.
Limits LimitsOf(const LevelCounts& counts) {
    int cumulative[kBytes];
    std::uint32_t sum = 0;  // wraps, as image files can hold more pixels
    for (int i = 0; i < kBytes; ++i) {
        for (const auto& lane : counts.lane) sum += lane[i];
        cumulative[i] = static_cast<int>(sum);
    }
    const float total = static_cast<float>(cumulative[kBytes - 1]);
    const float low = total * 0.005f, high = total * 0.995f;
    return {LargestLevelUpTo(cumulative, TruncateToInt(low)), LargestLevelUpTo(cumulative, TruncateToInt(high))};
}

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
    const LuminanceParts parts = MakeLuminanceParts(177, 813, 10);
    LevelCounts counts{};
    WalkRows(record, rect, [&](const RowSpan& row) { CountRow(row, record, rect, parts, &counts); });
    const ByteTable table = StretchTable(LimitsOf(counts));
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
