#include "scale/Passes.h"

#include <algorithm>
#include <cstdlib>

#include "core/RowSpan.h"

namespace zor {

namespace {

std::int64_t RoundUp(std::int64_t bytes) {
    return (bytes + 63) / 64 * 64;
}

}  // namespace

// --- pixel by pixel -------------------------------------------------------------------------------------------------

void HorizontalRow_Plain(const HorizontalJob& job, int y) {
    const ScalePair& pair = *job.pair;
    const ChannelSet read = OffsetsOf(job.src, pair.read);
    const int pixelSize = job.src->PixelSize;
    for (int x = 0; x < job.width; ++x) {
        // Anew for every pixel: where both are one image, the row written to may have moved the window.
        const RowSpan row = GetRowSpan(job.src, y);
        const ContributionList& list = job.lists[x];
        double sums[ScalePair::kMax] = {};
        for (int k = 0; k < list.count && row; ++k) {
            const double weight = static_cast<double>(list.entries[k].weight);
            if (weight == 0.0) continue;
            const std::ptrdiff_t base = static_cast<std::ptrdiff_t>(list.entries[k].pixel) * pixelSize;
            int c = 0;
            if (pair.luma) {
                const double red = static_cast<double>(row.Load(base + read.offset[0])) * kLumaFactors[0] * weight;
                const double green = static_cast<double>(row.Load(base + read.offset[1])) * kLumaFactors[1] * weight;
                const double blue = static_cast<double>(row.Load(base + read.offset[2])) * kLumaFactors[2] * weight;
                sums[c++] += red + green + blue;
            }
            for (; c < pair.channels; ++c) {
                const std::ptrdiff_t offset = read.offset[c + pair.read.count - pair.channels];
                sums[c] += static_cast<double>(row.Load(base + offset)) * weight;
            }
        }
        std::uint8_t group[ScalePair::kMax] = {};
        const double weightSum = static_cast<double>(list.weightSum);
        for (int c = 0; c < pair.channels; ++c) group[pair.groupByte[c]] = ScaledByte(sums[c], weightSum);
        const RowSpan temp = GetRowSpan(job.dst, y);
        if (!temp) continue;
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(x) * pair.pitch;
        for (int i = 0; i < pair.pitch; ++i) temp.Store(at + i, group[i]);
    }
}

void VerticalRow_Plain(const VerticalJob& job, int y) {
    const ScalePair& pair = *job.pair;
    const ContributionList& list = job.lists[y];
    const double weightSum = static_cast<double>(list.weightSum);
    const ChannelSet written = OffsetsOf(job.dst, pair.written);
    for (int x = 0; x < job.width; ++x) {
        double sums[ScalePair::kMax] = {};
        for (int k = 0; k < list.count; ++k) {
            const double weight = static_cast<double>(list.entries[k].weight);
            if (weight == 0.0) continue;
            const RowSpan temp = GetRowSpan(job.src, list.entries[k].pixel);
            if (!temp) continue;
            const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(x) * pair.pitch;
            for (int i = 0; i < pair.pitch; ++i) sums[i] += static_cast<double>(temp.Load(at + i)) * weight;
        }
        const RowSpan row = GetRowSpan(job.dst, y);
        if (!row) continue;
        const std::ptrdiff_t base = static_cast<std::ptrdiff_t>(x) * job.dst->PixelSize;
        for (int i = 0; i < pair.written.count; ++i) {
            row.Store(base + written.offset[i], ScaledByte(sums[pair.writtenFrom[i]], weightSum));
        }
    }
}

// --- row by row -----------------------------------------------------------------------------------------------------

PassScratch::~PassScratch() {
    std::free(memory_);
}

std::uint8_t* PassScratch::Get(std::int64_t bytes) {
    if (bytes == bytes_) return memory_;
    std::free(memory_);
    bytes_ = 0;
    memory_ = nullptr;
    ahead = aheadEnd = 0;
    if (bytes < 0 || static_cast<std::uint64_t>(bytes) > SIZE_MAX / 2) return nullptr;
    memory_ = static_cast<std::uint8_t*>(std::calloc(static_cast<std::size_t>(bytes), 1));
    if (memory_) bytes_ = bytes;
    return memory_;
}

namespace {

// Packed source rows, rows of groups, and what kernels work in.
struct HorizontalParts {
    std::int64_t packedRow;  // bytes of one
    std::int64_t groupRow;
    std::uint8_t* packed;
    std::uint8_t* groups;
    std::uint8_t* scratch;
};

bool ProvideHorizontalParts(const HorizontalJob& job, PassScratch* scratch, HorizontalParts* parts) {
    const ScalePair& pair = *job.pair;
    const ResampleShape shape = ResampleShapeOf(pair.channels, pair.luma);
    parts->packedRow = RoundUp(std::int64_t{job.srcWidth} * pair.read.count);
    parts->groupRow = RoundUp(std::int64_t{job.width} * pair.pitch);
    const std::int64_t kernelBytes = RoundUp(RowScratchBytes(shape, job.taps->stride));
    std::uint8_t* const memory = scratch->Get(kernelBytes + RowBlock::kMaxRows * (parts->packedRow + parts->groupRow));
    if (!memory) return false;
    parts->scratch = memory;
    parts->packed = memory + kernelBytes;
    parts->groups = parts->packed + RowBlock::kMaxRows * parts->packedRow;
    return true;
}

// The kernels read the rows where they are if all of them stay there while the next one is asked for; otherwise from
// copies of the channels, which are 0 where a row has none.
void ReadRows(const HorizontalJob& job, const HorizontalParts& parts, int y, RowBlock* block) {
    const ChannelSet read = OffsetsOf(job.src, job.pair->read);
    const std::ptrdiff_t step = job.src->PixelSize, lowest = read.lowest(), highest = read.highest();
    const std::ptrdiff_t first = lowest, pastLast = (std::ptrdiff_t{job.srcWidth} - 1) * step + highest + 1;
    bool inPlace = !job.src->IsMapping && step >= 1 && step <= RowBlock::kMaxStep && highest - lowest < step;
    for (int r = 0; r < block->rows && inPlace; ++r) {
        const RowSpan row = GetRowSpan(job.src, y + r);
        inPlace = row && row.Covers(first, pastLast);
        block->src[r] = row.data + lowest;
    }
    if (inPlace) {
        block->step = static_cast<int>(step);
        for (int p = 0; p < read.count; ++p) block->offset[p] = static_cast<int>(read.offset[p] - lowest);
        return;
    }
    block->step = read.count;
    for (int p = 0; p < read.count; ++p) block->offset[p] = p;
    for (int r = 0; r < block->rows; ++r) {
        std::uint8_t* const packed = parts.packed + r * parts.packedRow;
        GatherPixels(GetRowSpan(job.src, y + r), job.src->PixelSize, read, 0, job.srcWidth, packed);
        block->src[r] = packed;
    }
}

RowBlock BlockOf(const HorizontalJob& job, const HorizontalParts& parts, int y, int rows) {
    RowBlock block{};
    block.rows = rows;
    block.width = job.srcWidth;
    block.taps = job.taps;
    block.pitch = job.pair->pitch;
    std::copy_n(job.pair->groupByte, ScalePair::kMax, block.byteOf);
    block.scratch = parts.scratch;
    ReadRows(job, parts, y, &block);
    for (int r = 0; r < rows; ++r) block.dst[r] = parts.groups + r * parts.groupRow;
    return block;
}

void StoreGroups(const HorizontalJob& job, const std::uint8_t* groups, int y) {
    const std::ptrdiff_t size = static_cast<std::ptrdiff_t>(job.width) * job.pair->pitch;
    CopyRun(GetRowSpan(job.dst, y), 0, {const_cast<std::uint8_t*>(groups), 0, size}, 0, size);
}

// One row, for a host that gets a turn behind each: out of those that were made ahead of it, if no turn came in
// between.
void OneRow(const HorizontalJob& job, const HorizontalParts& parts, int y, PassScratch* scratch) {
    const ScalePair& pair = *job.pair;
    if (y < scratch->ahead || y >= scratch->aheadEnd) {
        const int rows = job.src->IsMapping ? 1 : std::min(RowBlock::kMaxRows, job.pastLast - y);
        const RowBlock block = BlockOf(job, parts, y, std::max(rows, 1));
        job.kernels->scaling.alongRows[ResampleShapeOf(pair.channels, pair.luma)](block);
        scratch->ahead = y;
        scratch->aheadEnd = y + block.rows;
    }
    StoreGroups(job, parts.groups + (y - scratch->ahead) * parts.groupRow, y);
}

}  // namespace

void HorizontalRows(const HorizontalJob& job, int first, int last, PassScratch* scratch) {
    HorizontalParts parts;
    if (job.pixelByPixel || !job.taps || !ProvideHorizontalParts(job, scratch, &parts)) {
        for (int y = first; y <= last; ++y) HorizontalRow_Plain(job, y);
        return;
    }
    const ScalePair& pair = *job.pair;
    const auto alongRows = job.kernels->scaling.alongRows[ResampleShapeOf(pair.channels, pair.luma)];
    const std::ptrdiff_t size = static_cast<std::ptrdiff_t>(job.width) * pair.pitch;
    // Rows that reach into one another are written one by one, from the top.
    const bool apart = !job.dst->IsMapping && std::abs(std::int64_t{job.dst->RowSize}) >= size;
    for (int y = first; y <= last;) {
        if (job.pastLast > 0) {
            OneRow(job, parts, y, scratch);
            if (++y > last) return;
            continue;
        }
        const int rows = std::min(RowBlock::kMaxRows - 1, last - y) + 1;
        RowBlock block = BlockOf(job, parts, y, rows);
        bool inPlace[RowBlock::kMaxRows];
        for (int r = 0; r < rows; ++r) {
            const RowSpan row = apart ? GetRowSpan(job.dst, y + r) : RowSpan{};
            inPlace[r] = row && row.Covers(0, size);
            if (inPlace[r]) block.dst[r] = row.data;
        }
        alongRows(block);
        for (int r = 0; r < rows; ++r) {
            if (!inPlace[r]) StoreGroups(job, block.dst[r], y + r);
        }
        if (rows > last - y) return;
        y += rows;
    }
}

namespace {

// The pass works on packed bytes: of every group those that the target is made of, each once. Where the target's pixels
// are made of just these, they stand in the order of the target, and the result is made in place.
struct VerticalParts {
    ChannelSet used;       // bytes of a group
    ChannelSet result;     // by channel of the target: which of them
    bool inTargetOrder;    // so that packed bytes are pixels of the target
    std::int64_t rowSize;  // packed bytes of a row
    std::int64_t columns;  // of those, worked on at once
    int slots;             // rows of copies
    int* rowInSlot;
    const std::uint8_t** rows;  // by tap
    std::uint8_t* none;         // what a row that does not exist gives
    std::uint8_t* copies;
    std::uint8_t* groups;  // of one row
    std::uint8_t* bytes;   // the result
    std::uint8_t* pixels;  // the result in the order of the target's channels
};

void ChooseUsedBytes(const VerticalJob& job, const ChannelSet& written, VerticalParts* parts) {
    const ScalePair& pair = *job.pair;
    const bool fills = FillPixel(written, job.dst->PixelSize) && written.lowest() == 0;
    int channels[ChannelSet::kMax];  // in the order of the target's bytes, where its pixels are just these
    for (int i = 0; i < written.count; ++i) channels[fills ? written.offset[i] : i] = i;
    parts->used.count = 0;
    parts->result.count = written.count;
    for (int i = 0; i < written.count; ++i) {
        const int channel = channels[i];
        const std::ptrdiff_t byte = pair.writtenFrom[channel];
        std::ptrdiff_t* const end = parts->used.offset + parts->used.count;
        std::ptrdiff_t* const found = std::find(parts->used.offset, end, byte);
        if (found == end) {
            *end = byte;
            ++parts->used.count;
        }
        parts->result.offset[channel] = found - parts->used.offset;
    }
    parts->inTargetOrder = fills && parts->used.count == written.count;
}

// Copies of rows are kept for the rows of the target that follow, unless that takes more than this; then they are made
// anew for each, of so many columns at a time.
constexpr std::int64_t kMaxCopyBytes = std::int64_t{1} << 26;

bool ProvideVerticalParts(const VerticalJob& job, const ChannelSet& written, PassScratch* scratch,
                          VerticalParts* parts) {
    ChooseUsedBytes(job, written, parts);
    parts->rowSize = std::int64_t{job.width} * parts->used.count;
    parts->slots = job.taps->stride;
    // Whole pixels, also of three and of five bytes.
    const std::int64_t columnsThatFit = std::max<std::int64_t>(kMaxCopyBytes / parts->slots / 960 * 960, 960);
    parts->columns = std::min(parts->rowSize, columnsThatFit);
    const std::int64_t pointerBytes = RoundUp(parts->slots * static_cast<std::int64_t>(sizeof(void*)));
    const std::int64_t copyBytes = RoundUp(parts->columns);
    const std::int64_t groupBytes = RoundUp(std::int64_t{job.width} * job.pair->pitch);
    const std::int64_t resultBytes = RoundUp(parts->rowSize);
    std::uint8_t* const memory = scratch->Get(2 * pointerBytes + copyBytes * (parts->slots + std::int64_t{1}) +
                                              groupBytes + resultBytes + std::int64_t{job.width} * written.count);
    if (!memory) return false;
    parts->rows = reinterpret_cast<const std::uint8_t**>(memory);
    parts->rowInSlot = reinterpret_cast<int*>(memory + pointerBytes);
    parts->none = memory + 2 * pointerBytes;
    parts->copies = parts->none + copyBytes;
    parts->groups = parts->copies + copyBytes * parts->slots;
    parts->bytes = parts->groups + groupBytes;
    parts->pixels = parts->bytes + resultBytes;
    std::fill_n(parts->rowInSlot, parts->slots, -1);
    return true;
}

// `count` packed bytes of a temporary row from `at` on: in place where they lie so and stay there, or copied.
const std::uint8_t* UsedBytes(const VerticalJob& job, const VerticalParts& parts, int row, std::int64_t at,
                              std::int64_t count) {
    const std::ptrdiff_t pitch = job.pair->pitch;
    const int slot = row % parts.slots, channels = parts.used.count;
    std::uint8_t* const copy = parts.copies + slot * RoundUp(parts.columns);
    if (parts.rowInSlot[slot] == row && count == parts.rowSize) return copy;
    const std::ptrdiff_t size = static_cast<std::ptrdiff_t>(job.width) * pitch;
    const RowSpan temp = GetRowSpan(job.src, row);
    if (!temp) return parts.none;
    std::uint8_t* groups = temp.data;
    const bool inside = temp.Covers(0, size);
    bool packed = channels == pitch;
    for (int c = 0; c < channels; ++c) packed = packed && parts.used.offset[c] == c;
    if (inside && packed && !job.src->IsMapping) return groups + at;
    if (!inside) {
        LoadRun(temp, 0, size, parts.groups);
        groups = parts.groups;
    }
    const PixelRun used = {groups + at / channels * pitch, pitch, parts.used};
    job.kernels->pack.gather[channels - 1](used, static_cast<std::ptrdiff_t>(count / channels), copy);
    parts.rowInSlot[slot] = row;
    return copy;
}

// Makes row y, or that and the one after it, which is of the same rows.
void StackRows(const VerticalJob& job, const VerticalParts& parts, int y, int count,
               std::uint8_t* const (&results)[RowStack::kMaxLists]) {
    const TapList& list = job.taps->lists[y];
    if (list.taps == 0) {
        std::fill_n(results[0], parts.rowSize, std::uint8_t{0});
        return;
    }
    RowStack stack{};
    stack.rows = parts.rows;
    stack.taps = job.taps;
    stack.list = y;
    stack.lists = count;
    for (std::int64_t at = 0; at < parts.rowSize; at += parts.columns) {
        const std::int64_t bytes = std::min(parts.columns, parts.rowSize - at);
        for (int k = 0; k < list.taps; ++k) parts.rows[k] = UsedBytes(job, parts, list.first + k, at, bytes);
        stack.count = static_cast<std::ptrdiff_t>(bytes);
        for (int i = 0; i < count; ++i) stack.dst[i] = results[i] + at;
        job.kernels->scaling.acrossRows(stack);
    }
}

bool AreOfTheSameRows(const TapList& a, const TapList& b) {
    return a.taps > 0 && a.first == b.first && a.taps == b.taps;
}

// Where the result of a row can be made; null where it cannot be made in place.
std::uint8_t* PlaceOfRow(const VerticalJob& job, const VerticalParts& parts, int y) {
    const RowSpan row = parts.inTargetOrder ? GetRowSpan(job.dst, y) : RowSpan{};
    return row && row.Covers(0, parts.rowSize) ? row.data : nullptr;
}

}  // namespace

void VerticalRows(const VerticalJob& job, int first, int last, PassScratch* scratch) {
    VerticalParts parts;
    const ChannelSet written = OffsetsOf(job.dst, job.pair->written);
    if (job.pixelByPixel || !job.taps || !ProvideVerticalParts(job, written, scratch, &parts)) {
        for (int y = first; y <= last; ++y) VerticalRow_Plain(job, y);
        return;
    }
    const PixelRun result = {parts.bytes, parts.used.count, parts.result};
    // The row after one can be made along with it where it is no part of it, and stays where it is.
    const bool apart = !job.dst->IsMapping && std::abs(std::int64_t{job.dst->RowSize}) >= parts.rowSize;
    for (int y = first; y <= last; ++y) {
        std::uint8_t* places[RowStack::kMaxLists] = {PlaceOfRow(job, parts, y), nullptr};
        if (!places[0]) {
            places[0] = parts.bytes;
            StackRows(job, parts, y, 1, places);
            job.kernels->pack.gather[written.count - 1](result, job.width, parts.pixels);
            ScatterPixels(GetRowSpan(job.dst, y), job.dst->PixelSize, written, 0, job.width, parts.pixels);
            continue;
        }
        if (y < last && apart && AreOfTheSameRows(job.taps->lists[y], job.taps->lists[y + 1])) {
            places[1] = PlaceOfRow(job, parts, y + 1);
        }
        StackRows(job, parts, y, places[1] ? 2 : 1, places);
        if (places[1]) ++y;
    }
}

}  // namespace zor
