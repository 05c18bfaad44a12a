#include "filters/AutoLevel.h"

#include "core/Walk.h"
#include "filters/TableWalk.h"
#include "filters/Truncate.h"

namespace {

constexpr int kBytes = 256;

// --- luminance ------------------------------------------------------------------------------------------------------

// What each channel adds to the luminance of a pixel. The three are summed from red to blue in double precision.
struct LuminanceParts {
    double red[kBytes];
    double green[kBytes];
    double blue[kBytes];
};

LuminanceParts MakeLuminanceParts() {
    LuminanceParts parts;
    for (int i = 0; i < kBytes; ++i) {
        parts.red[i] = 0.177 * i;
        parts.green[i] = 0.813 * i;
        parts.blue[i] = 0.01 * i;
    }
    return parts;
}

// Counts wrap at 32 bits, as image files can hold more pixels than that.
struct Histogram {
    std::uint32_t count[kBytes];
};

void CountPixel(const LuminanceParts& parts, std::uint8_t red, std::uint8_t green, std::uint8_t blue,
                Histogram* histogram) {
    const double luminance = parts.red[red] + parts.green[green] + parts.blue[blue];
    ++histogram->count[static_cast<int>(luminance)];
}

void CountRow(const RowSpan& row, const PixelSide& rgb, const PixelRect& rect, const LuminanceParts& parts,
              Histogram* histogram) {
    const std::ptrdiff_t left = static_cast<std::ptrdiff_t>(rect.x), width = static_cast<std::ptrdiff_t>(rect.width);
    const PixelRange inside = PixelsInside(row, static_cast<int>(rgb.pixelSize), rgb.channels, left, width);
    const auto countByByte = [&](std::ptrdiff_t first, std::ptrdiff_t last) {
        for (std::ptrdiff_t x = left + first; x < left + last; ++x) {
            std::uint8_t samples[3];
            Load<3>(row, rgb, x, samples);
            CountPixel(parts, samples[0], samples[1], samples[2], histogram);
        }
    };
    countByByte(0, inside.first);
    const std::uint8_t* pixel = row.data + (left + inside.first) * rgb.pixelSize;
    const std::ptrdiff_t red = rgb.channels.offset[0], green = rgb.channels.offset[1], blue = rgb.channels.offset[2];
    for (std::ptrdiff_t i = inside.first; i < inside.last; ++i, pixel += rgb.pixelSize) {
        CountPixel(parts, pixel[red], pixel[green], pixel[blue], histogram);
    }
    countByByte(inside.last, width);
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
Limits LimitsOf(const Histogram& histogram) {
    int cumulative[kBytes];
    std::uint32_t sum = 0;
    for (int i = 0; i < kBytes; ++i) {
        sum += histogram.count[i];
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

// Told afresh wherever the host may have run in between: the application can close an image or build it anew.
PixelSide ColourSide(ImageClassData* record) {
    return {record, record->PixelSize, OffsetsOf(record, ColoursOf(PixelFamily::rgb))};
}

}  // namespace

REALboolean AutoLevel5(REALobject object, int x, int y, int width, int height) {
    ImageClassData* const record = ImageDataOf(object);
    if (!record->IsRGB || !record->Valid) return false;
    const PixelRect rect = ReduceToImage(record, {x, y, width, height});
    if (rect.IsEmpty() || !IsUsable(record)) return false;
    YieldIfAsked(record);
    const LuminanceParts parts = MakeLuminanceParts();
    Histogram histogram{};
    WalkRows(record, rect, [&](const RowSpan& row) { CountRow(row, ColourSide(record), rect, parts, &histogram); });
    const ByteTable table = StretchTable(LimitsOf(histogram));
    const ByteTable tables[] = {table, table, table};
    MapThroughTables({ColourSide(record), ColourSide(record)}, rect, tables);
    return true;
}

REALboolean AutoLevel1(REALobject object) {
    const ImageClassData* const record = ImageDataOf(object);
    return AutoLevel5(object, 0, 0, record->Width, record->Height);
}
