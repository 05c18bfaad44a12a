#include <cstring>

#include "kernels/Geometry.h"
#include "kernels/Vector.h"

namespace zor {

namespace {

const hn::ScalableTag<std::uint8_t> kBytes;
const hn::Repartition<std::uint16_t, decltype(kBytes)> kWords;
using Bytes = hn::Vec<decltype(kBytes)>;
using Words = hn::Vec<decltype(kWords)>;
constexpr std::ptrdiff_t kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(hn::ScalableTag<std::uint8_t>()));

// --- shears ---------------------------------------------------------------------------------------------------------

// The factors of the bytes at even places and of those at odd places.
struct Factors {
    Words even, odd;
};

// value * factor >> 16 of every byte. An odd byte is taken as 256 times its value: the high half of the product then
// is 256 times too large, and its high byte is in its place.
HWY_INLINE Bytes PartOf(Bytes values, const Factors& factors) {
    const Words words = hn::BitCast(kWords, values), low = hn::Set(kWords, 0x00FF);
    const Words even = hn::MulHigh(hn::And(words, low), factors.even);
    const Words odd = hn::MulHigh(hn::AndNot(low, words), factors.odd);
    return hn::BitCast(kBytes, hn::Or(even, hn::AndNot(low, odd)));
}

HWY_INLINE std::uint8_t Sheared(std::uint8_t value, std::uint8_t before, std::uint32_t factor) {
    return static_cast<std::uint8_t>(value - (value * factor >> 16) + (before * factor >> 16));
}

void ShearRow(const std::uint8_t* row, std::ptrdiff_t step, std::ptrdiff_t count, std::uint16_t factor,
              std::uint8_t* dst) {
    const Factors factors{hn::Set(kWords, factor), hn::Set(kWords, factor)};
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const Bytes value = hn::LoadU(kBytes, row + i), before = hn::LoadU(kBytes, row + i - step);
        hn::StoreU(hn::Add(hn::Sub(value, PartOf(value, factors)), PartOf(before, factors)), kBytes, dst + i);
    }
    for (; i < count; ++i) dst[i] = Sheared(row[i], row[i - step], factor);
}

// As many columns as a vector has bytes. Their bytes in a row of the target come from rows of the tile that lie
// `lowest` to `highest` further down, and each of those rows gives the bytes that its mask shows:
//
//     down  2 2 2 1 1 1 0 0 0      row y + 2  R R R . . . . . .
//                                  row y + 1  . . . R R R . . .
//                                  row y      . . . . . . R R R
class TileColumns {
public:
    HWY_INLINE TileColumns(const ShearTile& tile, std::ptrdiff_t x)
        : down_(hn::LoadU(kBytes, tile.down + x)), rowBytes_(tile.rowBytes) {
        int lowest = 255, highest = 0;
        alignas(64) std::uint16_t even[kLanes / 2], odd[kLanes / 2];
        for (std::ptrdiff_t i = 0; i < kLanes; ++i) {
            const int down = tile.down[x + i];
            lowest = down < lowest ? down : lowest;
            highest = down > highest ? down : highest;
        }
        for (std::ptrdiff_t i = 0; i < kLanes / 2; ++i) {
            even[i] = tile.factor[x + 2 * i];
            odd[i] = tile.factor[x + 2 * i + 1];
        }
        factors_ = {hn::Load(kWords, even), hn::Load(kWords, odd)};
        lowest_ = lowest;
        masks_ = highest - lowest + 1;
        rows_ = tile.rows + lowest * rowBytes_ + x;
    }

    HWY_INLINE int masks() const { return masks_; }

    // With the number of masks as a constant, or 0 for any.
    template <int kMasks>
    HWY_INLINE void Shear(int height, std::uint8_t* dst, std::ptrdiff_t dstRowBytes) const {
        Bytes mask[kMasks > 0 ? kMasks : 1];
        for (int k = 0; k < kMasks; ++k) mask[k] = Mask(k);
        const auto assembled = [&](const std::uint8_t* row) {
            if constexpr (kMasks == 1) return hn::LoadU(kBytes, row);
            Bytes bytes = hn::Zero(kBytes);
            if constexpr (kMasks > 0) {
                for (int k = 0; k < kMasks; ++k, row += rowBytes_) {
                    bytes = hn::Or(bytes, hn::And(hn::LoadU(kBytes, row), mask[k]));
                }
            } else {
                for (int k = 0; k < masks_; ++k, row += rowBytes_) {
                    bytes = hn::Or(bytes, hn::And(hn::LoadU(kBytes, row), Mask(k)));
                }
            }
            return bytes;
        };
        const std::uint8_t* row = rows_;
        Bytes before = PartOf(assembled(row), factors_);
        for (int y = 0; y < height; ++y, dst += dstRowBytes) {
            row += rowBytes_;
            const Bytes value = assembled(row), part = PartOf(value, factors_);
            hn::StoreU(hn::Add(hn::Sub(value, part), before), kBytes, dst);
            before = part;
        }
    }

private:
    HWY_INLINE Bytes Mask(int k) const {
        return hn::VecFromMask(kBytes, hn::Eq(down_, hn::Set(kBytes, static_cast<std::uint8_t>(lowest_ + k))));
    }

    Bytes down_;
    Factors factors_;
    std::ptrdiff_t rowBytes_;
    const std::uint8_t* rows_;
    int lowest_, masks_;
};

void ShearVectorOfColumns(const ShearTile& tile, std::ptrdiff_t x) {
    const TileColumns columns(tile, x);
    std::uint8_t* const dst = tile.dst + x;
    switch (columns.masks()) {
        case 1:
            return columns.Shear<1>(tile.height, dst, tile.dstRowBytes);
        case 2:
            return columns.Shear<2>(tile.height, dst, tile.dstRowBytes);
        case 3:
            return columns.Shear<3>(tile.height, dst, tile.dstRowBytes);
        case 4:
            return columns.Shear<4>(tile.height, dst, tile.dstRowBytes);
        case 5:
            return columns.Shear<5>(tile.height, dst, tile.dstRowBytes);
        case 6:
            return columns.Shear<6>(tile.height, dst, tile.dstRowBytes);
        case 7:
            return columns.Shear<7>(tile.height, dst, tile.dstRowBytes);
        case 8:
            return columns.Shear<8>(tile.height, dst, tile.dstRowBytes);
        default:
            return columns.Shear<0>(tile.height, dst, tile.dstRowBytes);
    }
}

// The last vector lies over the one before it where the width is none of whole vectors.
void ShearColumns(const ShearTile& given) {
    const ShearTile tile = given;  // the stores below cannot change a copy
    if (tile.width >= kLanes) {
        for (std::ptrdiff_t x = 0; x < tile.width; x += kLanes) {
            ShearVectorOfColumns(tile, x + kLanes <= tile.width ? x : tile.width - kLanes);
        }
        return;
    }
    for (int y = 0; y < tile.height; ++y) {
        for (std::ptrdiff_t x = 0; x < tile.width; ++x) {
            const std::uint8_t* const before = tile.rows + (y + tile.down[x]) * tile.rowBytes + x;
            tile.dst[y * tile.dstRowBytes + x] = Sheared(before[tile.rowBytes], *before, tile.factor[x]);
        }
    }
}

// --- runs -----------------------------------------------------------------------------------------------------------

// Pixels go through vectors of 16 bytes: shuffles do not reach further, and longer ones would be put together of halves
// that lie apart.
const hn::Full128<std::uint8_t> kBlock;
const hn::Full128<std::uint32_t> kBlockWords;
const hn::Full128<std::uint64_t> kBlockPairs;
using Block = hn::Vec<decltype(kBlock)>;
constexpr std::ptrdiff_t kBlockBytes = 16;

// The bytes of a run of pixels from the first to the last that has a channel.
struct PixelBytes {
    std::ptrdiff_t first, step, size;
};

template <int kCount>
PixelBytes BytesOf(const ChannelSet& channels, std::ptrdiff_t step, std::ptrdiff_t pixels) {
    std::ptrdiff_t lowest = channels.offset[0], highest = lowest;
    for (int c = 1; c < kCount; ++c) {
        lowest = channels.offset[c] < lowest ? channels.offset[c] : lowest;
        highest = channels.offset[c] > highest ? channels.offset[c] : highest;
    }
    return {lowest, step, (pixels - 1) * step + highest - lowest + 1};
}

// True if every channel lies within the bytes of its pixel, counted from the first byte of the run, and a vector within
// the run.
bool FillsBlocks(const PixelBytes& run, std::ptrdiff_t pixels, std::ptrdiff_t maxStep) {
    return run.step >= 1 && run.step <= maxStep && run.size - (pixels - 1) * run.step <= run.step &&
           run.size >= kBlockBytes;
}

// A vector of bytes of a target that begins or ends with as many pixels as have room in it, and has bytes that are none
// of theirs; it is made of a vector of the source that begins or ends with the same pixels in the other or the same
// order.
struct BlockShuffle {
    std::uint8_t index[kBlockBytes];  // into the source's; 128 for bytes that are not made
    std::uint8_t keep[kBlockBytes];   // 255 for those, otherwise 0
};

// Where the first byte of the first of `pixels` pixels lies in a vector that begins with it, or ends with the last one.
std::ptrdiff_t LeadOf(const PixelBytes& run, std::ptrdiff_t count, std::ptrdiff_t pixels, bool atEnd) {
    return atEnd ? kBlockBytes - (pixels - 1) * run.step - (run.size - (count - 1) * run.step) : 0;
}

template <int kCount>
HWY_NOINLINE BlockShuffle ShuffleOf(const ChannelSet& dst, std::ptrdiff_t dstLead, std::ptrdiff_t dstStep,
                                    const ChannelSet& src, std::ptrdiff_t srcLead, std::ptrdiff_t srcStep,
                                    std::ptrdiff_t pixels, bool turned) {
    BlockShuffle shuffle;
    for (std::uint8_t& index : shuffle.index) index = 128;
    for (std::uint8_t& mask : shuffle.keep) mask = 255;
    for (std::ptrdiff_t pixel = 0; pixel < pixels; ++pixel) {
        const std::ptrdiff_t from = srcLead + (turned ? pixels - 1 - pixel : pixel) * srcStep;
        for (int c = 0; c < kCount; ++c) {
            const std::ptrdiff_t at = dstLead + pixel * dstStep + dst.offset[c];
            shuffle.index[at] = static_cast<std::uint8_t>(from + src.offset[c]);
            shuffle.keep[at] = 0;
        }
    }
    return shuffle;
}

// How many pixels were copied. What a vector has behind its pixels is written over by those that come next.
template <int kCount>
std::ptrdiff_t CopyBlocks(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count) {
    const bool backwards = src.step < 0;
    const PixelBytes from = BytesOf<kCount>(src.channels, backwards ? -src.step : src.step, count);
    const PixelBytes to = BytesOf<kCount>(dst.channels, dst.step, count);
    if (!FillsBlocks(from, count, 8) || !FillsBlocks(to, count, 8)) return 0;
    const std::ptrdiff_t pixels = kBlockBytes / (from.step > to.step ? from.step : to.step);
    const std::ptrdiff_t lead = LeadOf(from, count, pixels, backwards);
    const BlockShuffle shuffle = ShuffleOf<kCount>(dst.channels, -to.first, to.step, src.channels, lead - from.first,
                                                   from.step, pixels, backwards);
    const Block index = hn::LoadU(kBlock, shuffle.index), keep = hn::LoadU(kBlock, shuffle.keep);
    bool keeps = false;  // a byte between the first and the last of the pixels
    for (std::ptrdiff_t at = 0; at < pixels * to.step && at < kBlockBytes; ++at) keeps = keeps || shuffle.keep[at] != 0;
    const std::uint8_t* read = src.pixels + from.first + (backwards ? -(pixels - 1) * from.step - lead : 0);
    std::uint8_t* write = dst.pixels + to.first;
    const std::ptrdiff_t readStep = (backwards ? -from.step : from.step) * pixels, writeStep = to.step * pixels;
    // As many vectors as neither run ends before.
    const std::ptrdiff_t reads = (from.size - kBlockBytes) / (from.step * pixels) + 1;
    const std::ptrdiff_t writes = (to.size - kBlockBytes) / writeStep + 1;
    std::ptrdiff_t blocks = count / pixels;
    blocks = reads < blocks ? reads : blocks;
    blocks = writes < blocks ? writes : blocks;
    for (std::ptrdiff_t k = 0; k < blocks; ++k, read += readStep, write += writeStep) {
        Block bytes = hn::TableLookupBytesOr0(hn::LoadU(kBlock, read), index);
        if (keeps) bytes = hn::Or(bytes, hn::And(hn::LoadU(kBlock, write), keep));
        hn::StoreU(bytes, kBlock, write);
    }
    return blocks * pixels;
}

template <int kCount>
bool AreWhole(const ChannelSet& dst, const ChannelSet& src) {
    for (int c = 0; c < kCount; ++c) {
        if (dst.offset[c] != src.offset[c]) return false;
        for (int d = 0; d < c; ++d) {
            if (src.offset[c] == src.offset[d]) return false;
        }
    }
    return BytesOf<kCount>(src, kCount, 1).size == kCount;
}

template <int kCount>
void Copy(const PixelRun& dstRun, const PixelRun& srcRun, std::ptrdiff_t count) {
    if (count < 1) return;
    const PixelRun dst = dstRun, src = srcRun;  // the stores below cannot change copies
    if (dst.step == kCount && src.step == kCount && AreWhole<kCount>(dst.channels, src.channels)) {
        const std::ptrdiff_t first = BytesOf<kCount>(src.channels, kCount, 1).first;
        std::memcpy(dst.pixels + first, src.pixels + first, static_cast<std::size_t>(count * kCount));
        return;
    }
    for (std::ptrdiff_t i = CopyBlocks<kCount>(dst, src, count); i < count; ++i) {
        std::uint8_t* const to = dst.pixels + i * dst.step;
        const std::uint8_t* const from = src.pixels + i * src.step;
        for (int c = 0; c < kCount; ++c) to[dst.channels.offset[c]] = from[src.channels.offset[c]];
    }
}

// How many pixels were exchanged: of a run that goes forwards and one that comes towards it. Both take vectors that
// have bytes of the pixels after their own, which are stored as they were read; so the next vectors are read before.
template <int kCount>
std::ptrdiff_t ExchangeBlocks(const PixelRun& a, const PixelRun& b, std::ptrdiff_t count) {
    if (a.step != -b.step || count < 1) return 0;
    const PixelBytes run = BytesOf<kCount>(a.channels, a.step, count);
    if (!FillsBlocks(run, count, 8)) return 0;
    const std::ptrdiff_t pixels = kBlockBytes / run.step, lead = LeadOf(run, count, pixels, true);
    const BlockShuffle toA =
        ShuffleOf<kCount>(a.channels, -run.first, run.step, a.channels, lead - run.first, run.step, pixels, true);
    const BlockShuffle toB =
        ShuffleOf<kCount>(a.channels, lead - run.first, run.step, a.channels, -run.first, run.step, pixels, true);
    const Block indexA = hn::LoadU(kBlock, toA.index), keepA = hn::LoadU(kBlock, toA.keep);
    const Block indexB = hn::LoadU(kBlock, toB.index), keepB = hn::LoadU(kBlock, toB.keep);
    const std::ptrdiff_t step = run.step * pixels;
    std::uint8_t* atA = a.pixels + run.first;
    std::uint8_t* atB = b.pixels + run.first - (pixels - 1) * run.step - lead;
    std::ptrdiff_t blocks = (run.size - kBlockBytes) / step + 1;
    if (blocks > count / pixels) blocks = count / pixels;
    if (blocks < 1) return 0;
    Block left = hn::LoadU(kBlock, atA), right = hn::LoadU(kBlock, atB);
    for (std::ptrdiff_t k = 1;; ++k, atA += step, atB -= step) {
        const Block madeA = hn::Or(hn::TableLookupBytesOr0(right, indexA), hn::And(left, keepA));
        const Block madeB = hn::Or(hn::TableLookupBytesOr0(left, indexB), hn::And(right, keepB));
        if (k < blocks) {
            left = hn::LoadU(kBlock, atA + step);
            right = hn::LoadU(kBlock, atB - step);
        }
        hn::StoreU(madeA, kBlock, atA);
        hn::StoreU(madeB, kBlock, atB);
        if (k == blocks) return blocks * pixels;
    }
}

template <int kCount>
void Exchange(const PixelRun& aRun, const PixelRun& bRun, std::ptrdiff_t count) {
    const PixelRun a = aRun, b = bRun;
    for (std::ptrdiff_t i = ExchangeBlocks<kCount>(a, b, count); i < count; ++i) {
        for (int c = 0; c < kCount; ++c) {
            std::uint8_t* const left = a.pixels + i * a.step + a.channels.offset[c];
            std::uint8_t* const right = b.pixels + i * b.step + a.channels.offset[c];
            const std::uint8_t kept = *left;
            *left = *right;
            *right = kept;
        }
    }
}

// --- quarter turns --------------------------------------------------------------------------------------------------

template <int kCount>
void TurnPixels(const PixelTile& given) {
    const PixelTile tile = given;  // the stores below cannot change a copy
    for (int i = 0; i < tile.columns; ++i) {
        for (int j = 0; j < tile.rows; ++j) {
            std::uint8_t* const to = tile.dst[i] + j * tile.dstStep;
            const std::uint8_t* const from = tile.src[j] + i * tile.srcStep;
            for (int c = 0; c < kCount; ++c) to[tile.dstChannels.offset[c]] = from[tile.srcChannels.offset[c]];
        }
    }
}

// Pixels of one byte, side by side on both sides: 16 columns of 16 rows. Each of four steps interleaves the first half
// of the rows with the second half, byte by byte.
void TurnBlock(const std::uint8_t* const* rows, std::ptrdiff_t at, std::uint8_t* const* dst, int dstStep,
               std::ptrdiff_t to) {
    Block block[16], next[16];
    for (int k = 0; k < 16; ++k) block[k] = hn::LoadU(kBlock, rows[k] + at);
    for (int step = 0; step < 4; ++step) {
        for (int k = 0; k < 8; ++k) {
            next[2 * k] = hn::InterleaveLower(kBlock, block[k], block[k + 8]);
            next[2 * k + 1] = hn::InterleaveUpper(kBlock, block[k], block[k + 8]);
        }
        for (int k = 0; k < 16; ++k) block[k] = next[k];
    }
    for (int k = 0; k < 16; ++k) hn::StoreU(block[k], kBlock, dst[k * dstStep] + to);
}

// The last blocks lie over those before them where a tile is none of whole blocks.
void TurnBytes(const PixelTile& given) {
    const PixelTile tile = given;
    const bool backwards = tile.srcStep < 0;
    for (int i = 0; i < tile.columns; i += 16) {
        const int column = i + 16 <= tile.columns ? i : tile.columns - 16;
        const std::ptrdiff_t at = tile.srcChannels.offset[0] + (backwards ? -column - 15 : column);
        for (int j = 0; j < tile.rows; j += 16) {
            const int row = j + 16 <= tile.rows ? j : tile.rows - 16;
            TurnBlock(tile.src + row, at, tile.dst + column + (backwards ? 15 : 0), backwards ? -1 : 1,
                      tile.dstChannels.offset[0] + row);
        }
    }
}

// Pixels of up to four bytes: four columns of four rows. Four pixels of a row are brought to words of four bytes, those
// turned as words, and the four of a column stored in the order of the target's bytes:
//
//     R0 G0 B0 R1 G1 B1 R2 G2 B2 R3 G3 B3 ....  ->  R0 G0 B0 .. R1 G1 B1 .. R2 G2 B2 .. R3 G3 B3 ..
//
// Vectors that would reach past the last pixel of a run end with it instead, and their bytes lie further up by as much.
template <int kCount>
class WordTurn {
public:
    explicit WordTurn(const PixelTile& tile)
        : tile_(tile),
          backwards_(tile.srcStep < 0),
          src_(BytesOf<kCount>(tile.srcChannels, backwards_ ? -tile.srcStep : tile.srcStep, tile.columns)),
          dst_(BytesOf<kCount>(tile.dstChannels, tile.dstStep, tile.rows)) {
        keeps_ = kCount < dst_.step;
    }

    bool CanRun() const {
        for (int c = 0; c < kCount; ++c) {
            for (int d = 0; d < c; ++d) {
                if (tile_.dstChannels.offset[c] == tile_.dstChannels.offset[d]) return false;
            }
        }
        return tile_.columns >= 4 && tile_.rows >= 4 && FillsBlocks(src_, tile_.columns, 4) &&
               FillsBlocks(dst_, tile_.rows, 4);
    }

    void Run() {
        FillIndices();
        for (int i = 0; i < tile_.columns; i += 4) TurnColumns(i + 4 <= tile_.columns ? i : tile_.columns - 4);
    }

private:
    void FillIndices() {
        for (std::uint8_t& index : load_) index = 128;
        for (std::uint8_t& index : store_) index = 128;
        for (std::uint8_t& mask : keep_) mask = 255;
        for (int pixel = 0; pixel < 4; ++pixel) {
            const std::ptrdiff_t from = (backwards_ ? 3 - pixel : pixel) * src_.step - src_.first;
            const std::ptrdiff_t to = kBlockBytes + pixel * dst_.step - dst_.first;
            for (int c = 0; c < kCount; ++c) {
                const std::ptrdiff_t at = to + tile_.dstChannels.offset[c];
                load_[4 * pixel + c] = static_cast<std::uint8_t>(from + tile_.srcChannels.offset[c]);
                store_[at] = static_cast<std::uint8_t>(4 * pixel + c);
                keep_[at] = 0;
            }
        }
    }

    // Four columns: all that the loops need is in variables of their own, which the stores cannot change.
    void TurnColumns(int column) const {
        const std::ptrdiff_t from = (backwards_ ? tile_.columns - 4 - column : column) * src_.step;
        const std::ptrdiff_t lastFrom = src_.size - kBlockBytes;
        const std::ptrdiff_t at = from < lastFrom ? from : lastFrom;
        const std::ptrdiff_t start = at + src_.first + (backwards_ ? (tile_.columns - 1) * tile_.srcStep : 0);
        const Block index = hn::Add(hn::LoadU(kBlock, load_), hn::Set(kBlock, static_cast<std::uint8_t>(from - at)));
        const std::uint8_t* const* const rows = tile_.src;
        std::uint8_t* to[4];
        for (int k = 0; k < 4; ++k) to[k] = tile_.dst[column + k] + dst_.first;
        const int count = tile_.rows;
        const std::ptrdiff_t step = dst_.step, lastTo = dst_.size - kBlockBytes;

        // What a vector has behind its four pixels is written over by the ones that come next, unless there are none.
        int j = 0;
        if (!keeps_) {
            const Block store = hn::LoadU(kBlock, store_ + kBlockBytes);
            for (; j + 4 <= count && j * step <= lastTo; j += 4) {
                const Columns words = Turned(rows + j, start, index);
                for (int k = 0; k < 4; ++k) {
                    hn::StoreU(hn::TableLookupBytesOr0(words.column[k], store), kBlock, to[k] + j * step);
                }
            }
        }
        for (; j < count; j += 4) {
            const int row = j + 4 <= count ? j : count - 4;
            const std::ptrdiff_t place = row * step < lastTo ? row * step : lastTo;
            const std::ptrdiff_t shift = kBlockBytes - (row * step - place);
            const Block store = hn::LoadU(kBlock, store_ + shift), keep = hn::LoadU(kBlock, keep_ + shift);
            const Columns words = Turned(rows + row, start, index);
            for (int k = 0; k < 4; ++k) {
                const Block kept = hn::And(hn::LoadU(kBlock, to[k] + place), keep);
                hn::StoreU(hn::Or(hn::TableLookupBytesOr0(words.column[k], store), kept), kBlock, to[k] + place);
            }
        }
    }

    struct Columns {
        Block column[4];
    };

    static HWY_INLINE Columns Turned(const std::uint8_t* const* rows, std::ptrdiff_t at, Block index) {
        const auto words = [&](int k) {
            return hn::BitCast(kBlockWords, hn::TableLookupBytesOr0(hn::LoadU(kBlock, rows[k] + at), index));
        };
        const auto a = words(0), b = words(1), c = words(2), d = words(3);
        const auto low1 = hn::BitCast(kBlockPairs, hn::InterleaveLower(kBlockWords, a, b));
        const auto low2 = hn::BitCast(kBlockPairs, hn::InterleaveLower(kBlockWords, c, d));
        const auto high1 = hn::BitCast(kBlockPairs, hn::InterleaveUpper(kBlockWords, a, b));
        const auto high2 = hn::BitCast(kBlockPairs, hn::InterleaveUpper(kBlockWords, c, d));
        return {{hn::BitCast(kBlock, hn::InterleaveLower(kBlockPairs, low1, low2)),
                 hn::BitCast(kBlock, hn::InterleaveUpper(kBlockPairs, low1, low2)),
                 hn::BitCast(kBlock, hn::InterleaveLower(kBlockPairs, high1, high2)),
                 hn::BitCast(kBlock, hn::InterleaveUpper(kBlockPairs, high1, high2))}};
    }

    PixelTile tile_;
    bool backwards_, keeps_;
    PixelBytes src_, dst_;
    std::uint8_t load_[kBlockBytes];
    std::uint8_t store_[2 * kBlockBytes], keep_[2 * kBlockBytes];  // from the middle on, for vectors that lie earlier
};

template <int kCount>
void Turn(const PixelTile& tile) {
    if (kCount == 1 && tile.dstStep == 1 && (tile.srcStep == 1 || tile.srcStep == -1) && tile.columns >= 16 &&
        tile.rows >= 16) {
        return TurnBytes(tile);
    }
    WordTurn<kCount> turn(tile);
    if (turn.CanRun()) {
        turn.Run();
    } else {
        TurnPixels<kCount>(tile);
    }
}

}  // namespace

void ZOR_TIER_FUNCTION(InitGeometry)(GeometryKernels* kernels) {
    kernels->copy[0] = Copy<1>;
    kernels->copy[1] = Copy<2>;
    kernels->copy[2] = Copy<3>;
    kernels->copy[3] = Copy<4>;
    kernels->copy[4] = Copy<5>;
    kernels->exchange[0] = Exchange<1>;
    kernels->exchange[1] = Exchange<2>;
    kernels->exchange[2] = Exchange<3>;
    kernels->exchange[3] = Exchange<4>;
    kernels->exchange[4] = Exchange<5>;
    kernels->turn[0] = Turn<1>;
    kernels->turn[1] = Turn<2>;
    kernels->turn[2] = Turn<3>;
    kernels->turn[3] = Turn<4>;
    kernels->shearRow = ShearRow;
    kernels->shearColumns = ShearColumns;
}

}  // namespace zor
