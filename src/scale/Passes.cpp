#include "scale/Passes.h"

#include <algorithm>
#include <cstdlib>

#include "core/RowSpan.h"

namespace zor {

namespace {

constexpr double kLumaFactors[3] = {0.3, 0.59, 0.11};
constexpr double kFactors[7] = {0.3, 0.59, 0.11, 1.0, 1.0, 1.0, 1.0};
constexpr double kNoFactors[ScalePair::kMax] = {1.0, 1.0, 1.0, 1.0, 1.0};

// A block of several rows that does not fit here would be slower than one row at a time.
constexpr std::int64_t kMaxBlockBytes = std::int64_t{1} << 24;

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
    if (bytes < 0 || static_cast<std::uint64_t>(bytes) > SIZE_MAX / 2) return nullptr;
    memory_ = static_cast<std::uint8_t*>(std::calloc(static_cast<std::size_t>(bytes), 1));
    if (memory_) bytes_ = bytes;
    return memory_;
}

namespace {

// One packed source row, the block of widened rows, the resampled bytes, one row of groups.
struct HorizontalParts {
    int rows;  // of the block
    ScalingKernels::Resample resample;
    std::uint8_t* packed;
    double* block;
    std::uint8_t* bytes;
    std::uint8_t* groups;
};

bool ProvideHorizontalParts(const HorizontalJob& job, PassScratch* scratch, HorizontalParts* parts) {
    const ScalePair& pair = *job.pair;
    const ResampleShape shape = ResampleShapeOf(pair.channels, pair.luma);
    const std::int64_t columns = std::int64_t{job.srcWidth} + job.taps->taps;
    const std::int64_t rowBytes = columns * pair.read.count * static_cast<std::int64_t>(sizeof(double));
    const bool several = !job.singleRows && rowBytes * kRowsInBlock[shape][1] <= kMaxBlockBytes;
    parts->rows = kRowsInBlock[shape][several ? 1 : 0];
    parts->resample = job.kernels->scaling.resample[shape][several ? 1 : 0];

    const std::int64_t blockBytes = RoundUp(rowBytes * parts->rows);
    const std::int64_t packedBytes = RoundUp(std::int64_t{job.srcWidth} * pair.read.count);
    const std::int64_t resultBytes = RoundUp(std::int64_t{job.width} * pair.channels * parts->rows);
    std::uint8_t* const memory =
        scratch->Get(blockBytes + packedBytes + resultBytes + std::int64_t{job.width} * pair.pitch);
    if (!memory) return false;
    parts->block = reinterpret_cast<double*>(memory);
    parts->packed = memory + blockBytes;
    parts->bytes = parts->packed + packedBytes;
    parts->groups = parts->bytes + resultBytes;
    return true;
}

// Picks one row out of the resampled bytes and writes it to the temporary image. Bytes of a group that carry no channel
// are 0 and stay so in `groups`.
void WriteGroups(const HorizontalJob& job, const HorizontalParts& parts, int row, int y) {
    const ScalePair& pair = *job.pair;
    for (int c = 0; c < pair.channels; ++c) {
        const PixelRun groups = {parts.groups, pair.pitch, {1, {pair.groupByte[c]}}};
        const PixelRun bytes = {parts.bytes, std::ptrdiff_t{pair.channels} * parts.rows, {1, {c * parts.rows + row}}};
        job.kernels->convert.apart[kCopy1][0](groups, bytes, job.width, 0);
    }
    const std::ptrdiff_t size = static_cast<std::ptrdiff_t>(job.width) * pair.pitch;
    CopyRun(GetRowSpan(job.dst, y), 0, {parts.groups, 0, size}, 0, size);
}

}  // namespace

void HorizontalRows(const HorizontalJob& job, int first, int last, PassScratch* scratch) {
    HorizontalParts parts;
    if (job.pixelByPixel || !job.taps || !ProvideHorizontalParts(job, scratch, &parts)) {
        for (int y = first; y <= last; ++y) HorizontalRow_Plain(job, y);
        return;
    }
    const ScalePair& pair = *job.pair;
    const ChannelSet read = OffsetsOf(job.src, pair.read);
    const double* factors = pair.luma ? kFactors : kNoFactors;
    const ScalingKernels::Widen widen = job.kernels->scaling.widen[pair.read.count - 1];
    for (int y = first; y <= last;) {
        const int rows = std::min(parts.rows, last - y + 1);
        for (int r = 0; r < rows; ++r) {
            GatherPixels(GetRowSpan(job.src, y + r), job.src->PixelSize, read, 0, job.srcWidth, parts.packed);
            widen(parts.packed, job.srcWidth, factors, parts.rows, parts.block + r);
        }
        parts.resample(parts.block, *job.taps, parts.bytes);
        for (int r = 0; r < rows; ++r) WriteGroups(job, parts, r, y + r);
        if (rows > last - y) return;
        y += rows;
    }
}

namespace {

// One number for every byte of a temporary row that the vertical pass uses.
struct VerticalParts {
    std::int64_t used;  // such bytes in a row
    double* sums;
    std::uint8_t* rows;    // room for copies of them, of kRowsAtOnce rows
    std::uint8_t* groups;  // one whole row of groups
    std::uint8_t* bytes;   // the result for the used bytes
    std::uint8_t* pixels;  // the result in the order of the target's channels
};

bool ProvideVerticalParts(const VerticalJob& job, PassScratch* scratch, VerticalParts* parts) {
    const ScalePair& pair = *job.pair;
    parts->used = std::int64_t{job.width} * (pair.pitch / pair.usedStep);
    const std::int64_t sumBytes = RoundUp(parts->used * static_cast<std::int64_t>(sizeof(double)));
    const std::int64_t rowBytes = RoundUp(parts->used * ScalingKernels::kRowsAtOnce);
    const std::int64_t groupBytes = RoundUp(std::int64_t{job.width} * pair.pitch);
    const std::int64_t resultBytes = RoundUp(parts->used);
    std::uint8_t* const memory =
        scratch->Get(sumBytes + rowBytes + groupBytes + resultBytes + std::int64_t{job.width} * pair.written.count);
    if (!memory) return false;
    parts->sums = reinterpret_cast<double*>(memory);
    parts->rows = memory + sumBytes;
    parts->groups = parts->rows + rowBytes;
    parts->bytes = parts->groups + groupBytes;
    parts->pixels = parts->bytes + resultBytes;
    return true;
}

// The used bytes of a temporary row, side by side: in place where they lie so and stay there, or copied to `copy`. Null
// for a row that does not exist.
const std::uint8_t* UsedBytes(const VerticalJob& job, const VerticalParts& parts, int row, std::uint8_t* copy) {
    const ScalePair& pair = *job.pair;
    const std::ptrdiff_t size = static_cast<std::ptrdiff_t>(job.width) * pair.pitch;
    const RowSpan temp = GetRowSpan(job.src, row);
    if (!temp) return nullptr;
    std::uint8_t* groups = temp.data;
    const bool inside = temp.Covers(0, size);
    if (inside && pair.usedStep == 1 && !job.src->IsMapping) return groups;
    if (!inside) {
        LoadRun(temp, 0, size, parts.groups);
        groups = parts.groups;
    }
    const PixelRun used = {groups, pair.usedStep, {1, {pair.firstUsed}}};
    job.kernels->pack.gather[0](used, static_cast<std::ptrdiff_t>(parts.used), copy);
    return copy;
}

void SumRows(const VerticalJob& job, const VerticalParts& parts, const ContributionList& list) {
    std::fill_n(parts.sums, parts.used, 0.0);
    const std::uint8_t* rows[ScalingKernels::kRowsAtOnce];
    double weights[ScalingKernels::kRowsAtOnce];
    int held = 0;
    for (int k = 0; k < list.count; ++k) {
        rows[held] = UsedBytes(job, parts, list.entries[k].pixel, parts.rows + held * parts.used);
        weights[held] = static_cast<double>(list.entries[k].weight);
        if (rows[held]) ++held;
        if (held == ScalingKernels::kRowsAtOnce || (k == list.count - 1 && held > 0)) {
            job.kernels->scaling.accumulateRows(parts.sums, rows, weights, held,
                                                static_cast<std::ptrdiff_t>(parts.used));
            held = 0;
        }
    }
}

}  // namespace

void VerticalRows(const VerticalJob& job, int first, int last, PassScratch* scratch) {
    VerticalParts parts;
    if (job.pixelByPixel || !ProvideVerticalParts(job, scratch, &parts)) {
        for (int y = first; y <= last; ++y) VerticalRow_Plain(job, y);
        return;
    }
    const ScalePair& pair = *job.pair;
    const ChannelSet written = OffsetsOf(job.dst, pair.written);
    PixelRun result = {parts.bytes, pair.pitch / pair.usedStep, {pair.written.count, {}}};
    for (int i = 0; i < pair.written.count; ++i) {
        result.channels.offset[i] = (pair.writtenFrom[i] - pair.firstUsed) / pair.usedStep;
    }
    for (int y = first;; ++y) {
        const ContributionList& list = job.lists[y];
        SumRows(job, parts, list);
        job.kernels->scaling.finishRow(parts.sums, static_cast<double>(list.weightSum), parts.bytes,
                                       static_cast<std::ptrdiff_t>(parts.used));
        job.kernels->pack.gather[pair.written.count - 1](result, job.width, parts.pixels);
        ScatterPixels(GetRowSpan(job.dst, y), job.dst->PixelSize, written, 0, job.width, parts.pixels);
        if (y >= last) return;
    }
}

}  // namespace zor
