#include "kernels/KernelCases.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <tuple>

#include "scale/FilterKernels.h"
#include "scale/TapTable.h"

using namespace zor;

namespace {

using Kernels = const KernelTable&;
using Bytes = const KernelBytes&;

// Channels in some order in a pixel of `step` bytes, of which there are at least as many.
ChannelSet AnyChannels(int count, int step, std::uint32_t choice) {
    ChannelSet set{};
    set.count = count;
    for (int c = 0; c < count; ++c) {
        const int turned =
            static_cast<int>((static_cast<std::uint32_t>(c) + choice) % static_cast<std::uint32_t>(step));
        set.offset[c] = choice / 8 % 2 ? step - 1 - turned : turned;
    }
    return set;
}

PixelRun RunOf(const std::uint8_t* pixels, int count, std::uint32_t choice) {
    const int step = count + static_cast<int>(choice / 16 % 2);
    return {const_cast<std::uint8_t*>(pixels), step, AnyChannels(count, step, choice)};
}

template <int kCount>
void Gather(Kernels k, Bytes b, std::ptrdiff_t units) {
    k.pack.gather[kCount - 1](RunOf(b.in[0], kCount, b.choice), units, b.out);
}

template <int kCount>
void Scatter(Kernels k, Bytes b, std::ptrdiff_t units) {
    k.pack.scatter[kCount - 1](RunOf(b.out, kCount, b.choice), units, b.in[0]);
}

template <Conversion kConversion, int kSrc, int kDst, bool kAlpha>
void Convert(Kernels k, Bytes b, std::ptrdiff_t units) {
    const PixelRun src = RunOf(b.in[0], kSrc + kAlpha, b.choice), dst = RunOf(b.out, kDst + kAlpha, b.choice / 32);
    const std::uint8_t alphaMask = b.choice / 512 % 2 ? 255 : 0;
    k.convert.apart[kConversion][kAlpha](dst, src, units, alphaMask);
}

// Any bytes of up to five to any of up to five, some of which stay, are constants or are flipped.
void Swizzled(Kernels k, Bytes b, std::ptrdiff_t units) {
    std::uint32_t dice = b.choice;
    const auto roll = [&dice](std::uint32_t sides) {
        dice = dice * 1664525 + 1013904223;
        return static_cast<int>((dice >> 16) % sides);
    };
    Swizzle swizzle{};
    swizzle.srcStep = 1 + roll(Swizzle::kMaxStep);
    swizzle.dstStep = 1 + roll(Swizzle::kMaxStep);
    swizzle.srcBytes = 1 + roll(static_cast<std::uint32_t>(swizzle.srcStep));
    swizzle.dstBytes = 1 + roll(static_cast<std::uint32_t>(swizzle.dstStep));
    const bool mixed = roll(2) == 0;
    for (int j = 0; j < swizzle.dstBytes; ++j) {
        const bool atEnd = j == 0 || j == swizzle.dstBytes - 1;
        const int kind = mixed ? roll(8) : 7;
        swizzle.flip[j] = static_cast<std::uint8_t>(mixed ? roll(256) : 0);
        swizzle.from[j] = kind == 0 && !atEnd ? Swizzle::kStays
                          : kind == 1         ? Swizzle::kConstant
                                      : static_cast<signed char>(roll(static_cast<std::uint32_t>(swizzle.srcBytes)));
    }
    k.swizzle.move(swizzle, b.out, b.in[0], units);
}

// Colours on three bytes of the word, the fourth kept, filled or taken from the mask.
WordMove AnyMove(std::uint32_t choice) {
    const int turn = static_cast<int>(choice % 4), fourth = 8 * ((3 + turn) % 4);
    WordMove move{};
    for (int c = 0; c < 3; ++c) {
        move.srcShift[c] = 8 * ((c + static_cast<int>(choice / 4 % 4)) % 4);
        move.dstShift[c] = 8 * ((c + turn) % 4);
    }
    const bool keeps = choice / 16 % 2;
    move.keep = keeps ? std::uint32_t{255} << fourth : 0;
    move.fill = keeps ? 0 : (choice / 32 & 255) << fourth;
    move.maskShift = 8 * static_cast<int>(choice / 8192 % 4);
    move.alphaShift = fourth;
    return move;
}

void MoveWords(Kernels k, Bytes b, std::ptrdiff_t units) {
    std::memcpy(b.out, b.in[1], static_cast<std::size_t>(units) * 4);
    k.words.move(AnyMove(b.choice), b.out, b.in[0], nullptr, units);
}

void MoveWordsMasked(Kernels k, Bytes b, std::ptrdiff_t units) {
    WordMove move = AnyMove(b.choice);
    move.keep = 0;
    std::memcpy(b.out, b.in[1], static_cast<std::size_t>(units) * 4);
    k.words.moveMasked(move, b.out, b.in[0], b.in[2], units);
}

template <int kWhich>
void PackWords(Kernels k, Bytes b, std::ptrdiff_t units) {
    k.words.pack[kWhich](WordMove{}, b.out, b.in[0], nullptr, units);
}

// From no tap to twelve: weights whose sums go to the ends of 16 bits and beyond, those at the end of a byte and of 16
// bits, and some behind it.
void Convolve(Kernels k, Bytes b, std::ptrdiff_t units) {
    constexpr int kWeights[][12] = {{1, -1, 2, 16, -9, 54, 3, -8, -7, 40, 3, -5},
                                    {1, 2, 1, 2, 4, 2, 1, 2, 1, 1, 2, 1},
                                    {64, 64, -64, -64, 0, 0, 0, 0, 0, 0, 0, 0},
                                    {127, 1, -128, 0, 0, 0, 0, 0, 0, 0, 0, 0},
                                    {41, 26, 26, 16, -41, -26, -26, 7, 127, 1, -127, 100},
                                    {127, 127, -128, -128, 127, 127, 90, 90, 90, 90, 90, 90},
                                    {1, -1, 2, 16, -9, 254, 32767, -32768, -7, 2, 3, 5},
                                    {1, -1, 2, 16, -9, 254, 32767, -32768, -7, 40000, 3, -5}};
    const int* const weights = kWeights[b.choice / 16 % std::size(kWeights)];
    const int count = static_cast<int>(b.choice % 13);
    MatrixTap taps[12];
    std::int64_t most = 0;
    for (int t = 0; t < count; ++t) {
        taps[t] = {b.in[t % KernelBytes::kInputs] + t % 8, weights[t]};
        most += 255 * std::max(weights[t], 0);
    }
    constexpr double kScales[] = {1.0, 1.0 / 9, -0.5, 3.7, 0.37, 1.0 / 16, 1.0, 0.999};
    MatrixFinish finish{static_cast<int>(b.choice / 128 % 512) - 256, kScales[b.choice / 65536 % 8],
                        b.choice / 524288 % 2 ? 0.5 : 0.0};
    finish.wordScale = FindWordScale(finish, most + finish.delta);
    k.matrix.convolve(taps, count, finish, units, b.out);
}

// The taps from so many samples to so many, made once.
const Taps& TapsBetween(int from, int to, ScaleAxis axis, bool luma, std::uint32_t choice) {
    struct Tables {
        ContributionTable lists;
        TapTable taps;
        Taps view;
    };
    const int mode = 1 + static_cast<int>(choice % kScaleModes);
    const Ending ending = choice / 8 % 2 ? Ending::nearest : Ending::truncate;
    using Key = std::tuple<int, int, bool, bool, int, bool>;
    static thread_local std::map<Key, std::unique_ptr<Tables>> made;
    std::unique_ptr<Tables>& tables =
        made[{from, to, axis == ScaleAxis::kVertical, luma, mode, ending == Ending::nearest}];
    if (!tables) {
        tables = std::make_unique<Tables>();
        if (!tables->lists.Allocate(to)) std::abort();
        tables->lists.Build(*KernelOfMode(mode), axis, static_cast<double>(to) / from, from, to, nullptr);
        if (!tables->taps.Build(tables->lists.lists(), to, axis, luma, ending)) std::abort();
        tables->view = tables->taps.taps();
    }
    return tables->view;
}

// One to sixteen rows as wide as units, scaled to as many columns as there is room for, in groups of some layout.
template <ResampleShape kShape>
void AlongRows(Kernels k, Bytes b, std::ptrdiff_t units) {
    constexpr int kChannels = ChannelsOf(kShape), kPlanes = PlanesOf(kShape);
    RowBlock block{};
    block.rows = 1 + static_cast<int>(b.choice % RowBlock::kMaxRows);
    block.width = static_cast<int>(units);
    block.pitch =
        kChannels + static_cast<int>(b.choice / 16 % static_cast<unsigned>(RowBlock::kMaxPitch + 1 - kChannels));
    const int room = static_cast<int>(units) * KernelBytes::kMaxBytesPerUnit / (block.rows * block.pitch);
    const int columns = std::min(room, 2 * static_cast<int>(units));
    if (columns == 0) return;
    const PixelRun run = RunOf(b.in[0], kPlanes, b.choice / 128);
    block.step = static_cast<int>(run.step);
    for (int p = 0; p < kPlanes; ++p) block.offset[p] = static_cast<int>(run.channels.offset[p]);
    const ChannelSet bytesOf = AnyChannels(kChannels, block.pitch, b.choice / 1024);
    for (int c = 0; c < kChannels; ++c) block.byteOf[c] = static_cast<int>(bytesOf.offset[c]);
    for (int r = 0; r < block.rows; ++r) {
        block.src[r] = b.in[r % KernelBytes::kInputs] + r;
        block.dst[r] = b.out + static_cast<std::ptrdiff_t>(r) * columns * block.pitch;
    }
    block.taps = &TapsBetween(block.width, columns, ScaleAxis::kHorizontal, kShape >= kLumaOnly, b.choice / 16384);
    static thread_local std::vector<std::uint8_t> scratch;
    scratch.resize(static_cast<std::size_t>(RowScratchBytes(kShape, block.taps->stride)));
    block.scratch = scratch.data();
    k.scaling.alongRows[kShape](block);
}

// One row of as many bytes as units, out of up to fifty; two where the list after it may be of the same rows.
void AcrossRows(Kernels k, Bytes b, std::ptrdiff_t units) {
    if (units == 0) return;
    const int rows = 1 + static_cast<int>(b.choice % 50), results = 1 + static_cast<int>(b.choice / 64 % 80);
    const Taps& taps = TapsBetween(rows, results, ScaleAxis::kVertical, false, b.choice / 8192);
    RowStack stack{};
    stack.list = static_cast<int>(b.choice / 2048 % static_cast<unsigned>(results));
    const TapList& list = taps.lists[stack.list];
    if (list.taps == 0) return;
    const std::uint8_t* pointers[50];
    for (int t = 0; t < list.taps; ++t) pointers[t] = b.in[(list.first + t) % KernelBytes::kInputs] + list.first + t;
    stack.rows = pointers;
    stack.count = units;
    stack.taps = &taps;
    stack.dst[0] = b.out;
    stack.dst[1] = b.out + units;
    stack.lists = stack.list + 1 < results && (&list)[1].taps == list.taps ? 2 : 1;
    k.scaling.acrossRows(stack);
}

// What they give in place of bytes, as far as there is room for it.
template <class Number>
void PutOut(const std::vector<Number>& numbers, std::ptrdiff_t units, std::uint8_t* out) {
    const std::size_t room = static_cast<std::size_t>(units) * KernelBytes::kMaxBytesPerUnit;
    std::memcpy(out, numbers.data(), std::min(numbers.size() * sizeof(Number), room));
}

template <int kChannels>
void AlongFine(Kernels k, Bytes b, std::ptrdiff_t units) {
    RowBlock block{};
    block.rows = 1 + static_cast<int>(b.choice % RowBlock::kMaxRows);
    block.width = static_cast<int>(units);
    const int columns = units == 0 ? 0 : 1 + static_cast<int>(b.choice / 256 % static_cast<unsigned>(2 * units));
    if (columns == 0) return;
    const PixelRun run = RunOf(b.in[0], kChannels, b.choice / 128);
    block.step = static_cast<int>(run.step);
    for (int p = 0; p < kChannels; ++p) block.offset[p] = static_cast<int>(run.channels.offset[p]);
    static thread_local std::vector<std::int16_t> result;
    const auto rowSamples = static_cast<std::size_t>(columns * kChannels);
    result.assign(rowSamples * static_cast<std::size_t>(block.rows), 4711);
    for (int r = 0; r < block.rows; ++r) {
        block.src[r] = b.in[r % KernelBytes::kInputs] + r;
        block.fine[r] = result.data() + rowSamples * static_cast<std::size_t>(r);
    }
    block.taps = &TapsBetween(block.width, columns, ScaleAxis::kHorizontal, false, b.choice / 16384);
    static thread_local std::vector<std::uint8_t> scratch;
    scratch.resize(static_cast<std::size_t>(RowScratchBytes(ResampleShapeOf(kChannels, false), block.taps->stride)));
    block.scratch = scratch.data();
    k.scaling.alongFine[kChannels - 1](block);
    PutOut(result, units, b.out);
}

// As many samples as units, out of up to 40 rows by integers or 700 by shares, some of which are negative.
void AcrossFine(Kernels k, Bytes b, std::ptrdiff_t units) {
    static thread_local std::vector<std::int16_t> rows[KernelBytes::kInputs];
    for (int i = 0; i < KernelBytes::kInputs; ++i) {
        rows[i].clear();
        for (std::ptrdiff_t at = 0; at < units; ++at) {
            rows[i].push_back(static_cast<std::int16_t>(b.in[i][at] * 96 - 4000));
        }
    }
    FineStack stack{};
    const bool byShares = b.choice % 8 == 0;
    stack.taps = 1 + static_cast<int>(b.choice / 8 % (byShares ? 700U : 40U));
    std::vector<const std::int16_t*> pointers;
    std::vector<std::int16_t> weights;
    std::vector<float> shares;
    for (int t = 0; t < stack.taps; ++t) {
        pointers.push_back(rows[t % KernelBytes::kInputs].data());
        shares.push_back((t % 5 == 0 ? -0.4F : 1.1F + 0.1F * static_cast<float>(t % 7)) /
                         static_cast<float>(stack.taps));
        weights.push_back(static_cast<std::int16_t>(shares.back() * (1 << FineStack::kWeightBits)));
    }
    weights.push_back(0);
    stack.rows = pointers.data();
    stack.weights = byShares ? nullptr : weights.data();
    stack.shares = shares.data();
    stack.count = units;
    stack.dst = b.out;
    k.scaling.acrossFine(stack);
}

const float* SharesOf(const Taps& taps, std::vector<float>* shares) {
    shares->clear();
    for (int i = 0; i < taps.count; ++i) {
        for (int k = 0; k < taps.stride; ++k) {
            const float weight = taps.weights[static_cast<std::ptrdiff_t>(i) * taps.stride + k];
            const bool isEmpty = taps.lists[i].taps == 0;
            shares->push_back(isEmpty ? 0.0F : weight / static_cast<float>(taps.lists[i].weightSum));
        }
    }
    return shares->data();
}

template <WeighedShape kShape>
void IsOpaque(Kernels k, Bytes b, std::ptrdiff_t units) {
    constexpr int kChannels = ChannelsOf(kShape);
    std::vector<std::uint8_t> pixels(b.in[0], b.in[0] + units * kChannels);
    if (b.choice % 4 > 0) {
        for (std::size_t i = kChannels - 1; i < pixels.size(); i += kChannels) pixels[i] = 255;
    }
    if (b.choice % 4 > 1 && units > 0) {
        const std::size_t at = b.choice / 4 % static_cast<std::uint32_t>(units);
        pixels[at * kChannels + kChannels - 1] = static_cast<std::uint8_t>(b.choice / 65536);
    }
    const bool isOpaque = k.weighed.isOpaque[kShape](pixels.data(), units);
    if (units > 0) *b.out = isOpaque ? 1 : 0;
}

// One to sixteen rows as wide as units, scaled to as many columns as there is room for.
template <WeighedShape kShape>
void WeighedAlongRows(Kernels k, Bytes b, std::ptrdiff_t units) {
    constexpr int kChannels = ChannelsOf(kShape);
    WeighedBlock block{};
    block.rows = 1 + static_cast<int>(b.choice % RowBlock::kMaxRows);
    const int columns = units == 0 ? 0 : 1 + static_cast<int>(b.choice / 256 % static_cast<unsigned>(2 * units));
    if (columns == 0) return;
    block.taps = &TapsBetween(static_cast<int>(units), columns, ScaleAxis::kHorizontal, false, b.choice / 16384);
    static thread_local std::vector<float> shares, result;
    block.shares = SharesOf(*block.taps, &shares);
    const auto rowFloats = static_cast<std::size_t>(WeighedRowFloats(kShape, columns));
    result.assign(rowFloats * static_cast<std::size_t>(block.rows), -1.0F);
    for (int r = 0; r < block.rows; ++r) {
        block.src[r] = b.in[r % KernelBytes::kInputs] + r * kChannels;
        block.dst[r] = result.data() + rowFloats * static_cast<std::size_t>(r);
    }
    static thread_local std::vector<std::uint8_t> scratch;
    scratch.resize(static_cast<std::size_t>(WeighedScratchBytes(block.taps->stride)));
    block.scratch = scratch.data();
    k.weighed.alongRows[kShape](block);
    PutOut(result, units, b.out);
}

// As many pixels as units, out of up to 700 rows.
template <WeighedShape kShape>
void WeighedAcrossRows(Kernels k, Bytes b, std::ptrdiff_t units) {
    constexpr int kChannels = ChannelsOf(kShape);
    static thread_local std::vector<float> rows[KernelBytes::kInputs], shares;
    const auto count = static_cast<std::size_t>(units * kChannels);
    for (int i = 0; i < KernelBytes::kInputs; ++i) {
        rows[i].assign(static_cast<std::size_t>(WeighedRowFloats(kShape, units)), 0.0F);
        for (std::size_t at = 0; at < count; ++at) {
            const float alpha = b.in[i][at / kChannels];
            rows[i][at] = at % kChannels == kChannels - 1 ? alpha : alpha * b.in[i][at];
        }
    }
    WeighedStack stack{};
    stack.taps = static_cast<int>(b.choice % 8 == 0 ? b.choice / 8 % 700 : b.choice / 8 % 40);
    shares.clear();
    std::vector<const float*> pointers;
    for (int t = 0; t < stack.taps; ++t) {
        pointers.push_back(rows[t % KernelBytes::kInputs].data());
        shares.push_back((t % 5 == 0 ? -0.4F : 1.1F + 0.1F * static_cast<float>(t % 7)) /
                         static_cast<float>(stack.taps));
    }
    stack.rows = pointers.data();
    stack.shares = shares.data();
    stack.count = units;
    stack.dst = b.out;
    k.weighed.acrossRows[kShape](stack);
}

// For kernels that work on their output.
void Start(Bytes b, std::ptrdiff_t bytes) {
    std::memcpy(b.out, b.in[3], static_cast<std::size_t>(bytes));
}

template <int kCount>
void Store(Kernels k, Bytes b, std::ptrdiff_t units) {
    Start(b, units * kCount);
    k.touch.store[kCount - 1](RunOf(b.out, kCount, b.choice), units, b.in[0]);
}

template <int kCount>
void Complement(Kernels k, Bytes b, std::ptrdiff_t units) {
    Start(b, units * kCount);
    k.touch.complement[kCount - 1](RunOf(b.out, kCount, b.choice), units);
}

template <int kCount>
void LayOver(Kernels k, Bytes b, std::ptrdiff_t units) {
    LayOverWeights weights{};
    if (b.choice / 65536 % 2 == 0) {  // as colours have them
        const std::uint32_t alpha = b.choice / 256 % 256;
        weights.oldWeight = (255 - alpha) * 257;
        for (std::uint32_t& added : weights.added)
            added = (b.choice * 37 + static_cast<std::uint32_t>(&added - weights.added) * 51) % 256 * alpha * 257;
    } else {  // any
        weights.oldWeight = b.choice % 65536;
        for (std::uint32_t& added : weights.added)
            added = b.choice * 2654435761u + static_cast<std::uint32_t>(&added - weights.added);
    }
    Start(b, units * kCount);
    k.touch.layOver[kCount - 1](RunOf(b.out, kCount, b.choice), units, weights);
}

template <int kColours, int kPixel>
void Export(Kernels k, Bytes b, std::ptrdiff_t units) {
    constexpr int kChannels[] = {1, 3, 4};
    const PixelRun run = RunOf(b.in[0], kChannels[kColours], b.choice);
    k.exports.pixels[kColours][kPixel](run.pixels, run.step, run.channels.offset, units, b.out);
}

ChannelSet ChannelsOfAWord(std::uint32_t choice) {
    return AnyChannels(3, 4, choice);
}

// Columns are picked twice or left out: the ratio is below 1.2.
template <Conversion kConversion, int kSrc, int kDst, bool kAlpha>
void Nearest(Kernels k, Bytes b, std::ptrdiff_t units) {
    const double ratio = 0.1 + b.choice % 977 / 977.0;
    const PixelRun src = RunOf(b.in[0], kSrc + kAlpha, b.choice), dst = RunOf(b.out, kDst + kAlpha, b.choice / 32);
    static thread_local std::vector<std::int32_t> columns;
    columns.resize(static_cast<std::size_t>(units));
    for (std::size_t x = 0; x < columns.size(); ++x) {
        columns[x] = static_cast<std::int32_t>(static_cast<double>(x) * ratio);
    }
    k.nearest.apart[kConversion][kAlpha](dst, src, columns.data(), units);
}

// Bytes from any place in any window, among them some 0 and, in every other shuffle, some that stay.
void ShuffleBytes(Kernels k, Bytes b, std::ptrdiff_t units) {
    constexpr std::ptrdiff_t kPiece = ByteShuffle::kPiece;
    if (units < kPiece) return;
    const int windows = 1 + static_cast<int>(b.choice % ByteShuffle::kMaxWindows);
    const std::size_t pieces = static_cast<std::size_t>(PiecesOf(units)), window = static_cast<std::size_t>(kPiece);
    const bool keeps = b.choice / 4 % 2;
    static thread_local std::vector<std::int32_t> from;
    static thread_local std::vector<std::uint8_t> index, keep;
    from.resize(pieces);
    index.assign(pieces * static_cast<std::size_t>(windows) * window, 128);
    keep.assign(pieces * window, 0);
    for (std::size_t piece = 0; piece < pieces; ++piece) {
        const std::ptrdiff_t room = units * KernelBytes::kMaxBytesPerUnit - windows * kPiece;
        from[piece] = static_cast<std::int32_t>((static_cast<std::ptrdiff_t>(piece) * 37 + b.choice / 8) % (room + 1));
        for (std::size_t i = 0; i < window; ++i) {
            const std::uint8_t any = b.in[1][piece * window + i];
            if (any % 16 == 0) continue;
            keep[piece * window + i] = keeps && any % 16 == 1 ? 255 : 0;
            if (keep[piece * window + i] != 0) continue;
            index[(piece * static_cast<std::size_t>(windows) + any / 16 % static_cast<std::size_t>(windows)) * window +
                  i] = b.in[2][piece * window + i] % 16;
        }
    }
    Start(b, units);
    k.nearest.shuffle({units, windows, from.data(), index.data(), keeps ? keep.data() : nullptr}, b.in[0], b.out);
}

// --- tables ---------------------------------------------------------------------------------------------------------

struct TestTables {
    ByteCurve curves[4][24];  // with no, one, two and more rough rows
    PairTable pair;
    LuminanceParts luminance[3];
};

// A line up or down for every row of 16, with ones added at random; and noise in some of the rows.
template <class Next>
ByteTable TableOfLines(int rough, Next next) {
    ByteTable table;
    for (int row = 0; row < 16; ++row) {
        const int slope = (next() - 128) / (next() % 2 ? 1 : 8), rise = slope * 15 >> 4;
        const int base = std::max(0, -rise) + next() % (255 - std::abs(rise));
        for (int l = 0; l < 16; ++l) {
            table.entry[16 * row + l] = static_cast<std::uint8_t>(base + (slope * l >> 4) + next() % 2);
        }
    }
    for (int r = 0; r < rough; ++r) std::generate_n(table.entry + 16 * (5 * r + next() % 5), 16, next);
    return table;
}

// Made once: they take longer to fill than kernels take to run.
const TestTables& Tables() {
    static const TestTables tables = [] {
        TestTables made{};
        std::uint32_t state = 1;
        const auto next = [&state] {
            state = state * 1664525u + 1013904223u;
            return static_cast<std::uint8_t>(state >> 24);
        };
        for (int rough = 0; rough < 4; ++rough) {
            for (ByteCurve& curve : made.curves[rough]) {
                const ByteTable table = TableOfLines(rough, next);
                curve = CurveOf(table);
            }
        }
        for (auto& row : made.pair.entry) std::generate(std::begin(row), std::end(row), next);
        made.luminance[0] = MakeLuminanceParts(177, 813, 10);
        made.luminance[1] = MakeLuminanceParts(299, 587, 114);
        made.luminance[2] = MakeLuminanceParts(0, 1000, 0);
        return made;
    }();
    return tables;
}

// The pixels of dst are those of src where the choice says so.
template <int kCount, class Run>
void Tabled(Bytes b, std::ptrdiff_t units, Run run) {
    const PixelRun dst = RunOf(b.out, kCount, b.choice);
    if (b.choice / 32 % 4 == 0) {
        Start(b, units * dst.step);
        run(dst, dst);
    } else {
        Start(b, units * dst.step);
        run(dst, RunOf(b.in[0], kCount, b.choice / 128));
    }
}

// One to five tables, and in place at times.
void MapInTurn(Kernels k, Bytes b, std::ptrdiff_t units) {
    const int period = 1 + static_cast<int>(b.choice / 4 % 5);
    const std::uint8_t* const src = b.choice / 64 % 4 == 1 ? b.out : b.in[0];
    Start(b, units);
    k.tables.mapInTurn(src, b.out, units, Tables().curves[b.choice / 4096 % 4] + b.choice / 256 % 16, period);
}

template <int kCount>
void CombineByTable(Kernels k, Bytes b, std::ptrdiff_t units) {
    Tabled<kCount>(b, units, [&](const PixelRun& dst, const PixelRun& src) {
        k.tables.combine[kCount - 1](dst, src, units, Tables().pair);
    });
}

// --- tone -----------------------------------------------------------------------------------------------------------

// Every other run has grays in it, whose luminance is close to a whole number.
void Luminance(Kernels k, Bytes b, std::ptrdiff_t units) {
    PixelRun run = RunOf(b.in[0], 3, b.choice);
    static thread_local std::vector<std::uint8_t> grays;
    if (b.choice / 64 % 2 && units > 0) {
        grays.assign(run.pixels, run.pixels + units * run.step);
        for (auto pixel = grays.begin(); pixel != grays.end(); pixel += run.step) {
            if (*pixel % 4 != 0) std::fill_n(pixel, run.step, *pixel);
        }
        run.pixels = grays.data();
    }
    k.tone.luminance(run, units, Tables().luminance[b.choice / 128 % 3], b.out);
}

// The counts go into as many bytes as the units have.
void Count(Kernels k, Bytes b, std::ptrdiff_t units) {
    LevelCounts counts{};
    k.tone.count(b.in[0], units, &counts);
    const std::ptrdiff_t size = units * KernelBytes::kMaxBytesPerUnit;
    std::memset(b.out, 0, static_cast<std::size_t>(size));
    for (std::ptrdiff_t level = 0; level < 256 && size > 0; ++level) {
        std::uint32_t count = 0;
        for (const auto& lane : counts.lane) count += lane[level];
        std::uint8_t* const byte = b.out + level % size;
        *byte = static_cast<std::uint8_t>(*byte * 31 + count);
    }
}

// Counts go on from where they are.
void CountAbove(Kernels k, Bytes b, std::ptrdiff_t units) {
    std::uint32_t counts[kLevelLimits];
    std::fill(std::begin(counts), std::end(counts), b.choice * 2654435761u);
    k.tone.countAbove(b.in[0], units, b.in[1], counts);
    std::memcpy(b.out, counts, std::min<std::size_t>(sizeof counts, static_cast<std::size_t>(units)));
}

void Glow(Kernels k, Bytes b, std::ptrdiff_t units) {
    k.tone.glow(b.in[0], b.in[0] + 1 + b.choice % 5, b.in[1], b.out, units);
}

// Any number of levels, the matrices' numbers of cells, and in place at times.
void Dither(Kernels k, Bytes b, std::ptrdiff_t units) {
    constexpr int kSides[] = {2, 4, 6, 8, 16};
    const int side = kSides[b.choice % 5], levels = 2 + static_cast<int>(b.choice / 8 % 255);
    DitherRow row{side * (1 + static_cast<int>(b.choice / 2048 % 5)), {}};
    for (int i = 0; i < row.period + DitherRow::kMore; ++i) row.threshold[i] = b.in[1][i % row.period % 16];
    const std::uint8_t* const src = b.choice / 8192 % 4 == 1 ? b.out : b.in[0];
    Start(b, units);
    const int phase = static_cast<int>(b.choice / 16384) % row.period;
    k.tone.dither(src, b.out, units, MakeDitherTables(levels, side), row, phase);
}

// --- blurs ----------------------------------------------------------------------------------------------------------

// Sums at a place of their own, with room for one that must stay as it is, which goes out with them.
template <class Sum>
class TestSums {
public:
    TestSums(Bytes b, std::ptrdiff_t count) : sums_(static_cast<std::size_t>(count) + 1) {
        std::memcpy(sums_.data(), b.in[3], sums_.size() * sizeof(Sum));
    }
    Sum* get() { return sums_.data(); }
    void KeepBelow(std::uint32_t limit) {
        for (Sum& sum : sums_) sum = static_cast<Sum>((std::uint64_t{sum} * limit) >> (8 * sizeof(Sum)));
    }
    void GoOut(Bytes b) const {
        if (sums_.size() > 1) std::memcpy(b.out, sums_.data(), sums_.size() * sizeof(Sum));
    }

private:
    std::vector<Sum> sums_;
};

template <class Sum, class Division>
void AddSums(const SumKernels<Sum, Division>& kernels, Bytes b, std::ptrdiff_t units) {
    TestSums<Sum> sums(b, units);
    kernels.add(sums.get(), b.in[0], units, b.choice % 1000);
    sums.GoOut(b);
}

// Divisors of all sizes, and those that both kinds of division have.
NarrowDivision AnyDivision(std::uint16_t, std::uint32_t choice, std::uint32_t* divisor) {
    NarrowDivision by{};
    *divisor = 3 + choice % 128 * 2;
    if (!MakeNarrowDivision(*divisor, &by)) MakeNarrowDivision(*divisor = 3, &by);
    return by;
}
WideDivision AnyDivision(std::uint32_t, std::uint32_t choice, std::uint32_t* divisor) {
    *divisor = 3 + choice % (choice / 1048576 % 2 ? 1048575 : 128) * 2;
    return MakeWideDivision(*divisor);
}

template <class Sum, class Division>
void SumsDown(const SumKernels<Sum, Division>& kernels, Bytes b, std::ptrdiff_t units) {
    std::uint32_t divisor = 0;
    const Division by = AnyDivision(Sum{}, b.choice, &divisor);
    TestSums<Sum> sums(b, units);
    sums.KeepBelow(256 * divisor);
    kernels.down(sums.get(), b.in[0], b.in[1], units, by, b.out);
    if (units > 0) sums.GoOut({{}, b.out + units, nullptr, nullptr, 0});
}

// A window of any size goes over a row, so that all sums stay in their range.
template <int kCount, class Sum, class Division>
void SumsAlong(const SumKernels<Sum, Division>& kernels, Bytes b, std::ptrdiff_t units) {
    std::uint32_t divisor = 0;
    const Division by = AnyDivision(Sum{}, b.choice, &divisor);
    if (units < 1) return;
    const std::ptrdiff_t window =
        std::min({static_cast<std::ptrdiff_t>(divisor), static_cast<std::ptrdiff_t>(7 + b.choice / 64 % 64), units});
    const std::uint8_t* const row = b.in[0];
    SlidingRow sliding{row, row + window * kCount, units, {}, {}};
    for (std::ptrdiff_t i = 0; i < window * kCount; ++i) {
        sliding.first[i % kCount] += row[i];
        sliding.middle[i % kCount] += row[units / 2 * kCount + i];
    }
    kernels.along[kCount - 1](sliding, by, b.out);
}
template <int kCount>
void NarrowAlong(Kernels k, Bytes b, std::ptrdiff_t units) {
    SumsAlong<kCount>(k.blur.narrow, b, units);
}
template <int kCount>
void WideAlong(Kernels k, Bytes b, std::ptrdiff_t units) {
    SumsAlong<kCount>(k.blur.wide, b, units);
}

void DivideTested(Kernels k, Bytes b, std::ptrdiff_t units) {
    TestSums<std::uint32_t> sums(b, units);
    k.blur.divideTested(sums.get(), units, {3 + b.choice % 1048575 * 2}, b.out);
}

void SlideSums(Kernels k, Bytes b, std::ptrdiff_t units) {
    TestSums<std::uint32_t> sums(b, units);
    k.blur.slide(sums.get(), b.in[0], b.in[1], units);
    sums.GoOut(b);
}

void Taps(Kernels k, Bytes b, std::ptrdiff_t units) {
    const double weight = b.choice % 1000 / 1000.0;
    k.blur.taps({b.in[0], b.in[1], b.in[2]}, units, {weight, 1.0 / (weight + weight + 1.0)}, b.out);
}

void TapsByRule(Kernels k, Bytes b, std::ptrdiff_t units) {
    constexpr double kTapWeights[] = {0.5, 0.25, 0.75, 0.1, 0.3, 1.0 / 3, 0.9, 0.4, 2.0 / 7, 0.984375};
    TapRule rule{};
    MakeTapRule({kTapWeights[b.choice % std::size(kTapWeights)], 0.0}, &rule);
    k.blur.tapsByRule({b.in[0], b.in[1], b.in[2]}, units, rule, b.out);
}

void Sharpen(Kernels k, Bytes b, std::ptrdiff_t units) {
    constexpr double kSharpenings[] = {1.0, 2.2, 3.0, 0.3, 5.0, 7.77, 126.9, 127.0};
    SharpenRule rule{};
    MakeSharpenRule(kSharpenings[b.choice % 8], static_cast<int>(b.choice / 8 % 2 ? b.choice / 16 % 256 : 0), &rule);
    Start(b, units);
    k.blur.sharpen(b.choice / 4096 % 8 ? b.in[0] : b.out, units, rule, b.out);
}

// --- windows --------------------------------------------------------------------------------------------------------

// Numbers of a kernel's own, with one behind them that must stay as it is.
template <class Number>
std::vector<Number> NumbersOf(const std::uint8_t* bytes, std::ptrdiff_t count) {
    const std::size_t size = count > 0 ? static_cast<std::size_t>(count) : 0;
    std::vector<Number> numbers(size + 1);
    std::memcpy(numbers.data(), bytes, size * sizeof(Number));
    numbers.back() = static_cast<Number>(0xA5A5A5A5u);
    return numbers;
}

// Three bytes of each number and of what is behind the last; there is room for four of them in a unit.
void NumbersGoOut(const std::vector<std::uint32_t>& numbers, std::uint8_t* out) {
    for (std::size_t i = 0; i + 1 < numbers.size(); ++i) {
        const std::uint32_t shown = numbers[i] ^ numbers[i] >> 8 ^ numbers.back();
        for (int k = 0; k < 3; ++k)
            out[3 * i + static_cast<std::size_t>(k)] = static_cast<std::uint8_t>(shown >> 8 * k);
    }
}

template <int kCount>
void WeighPixels(Kernels k, Bytes b, std::ptrdiff_t units) {
    std::vector<std::uint16_t> words = NumbersOf<std::uint16_t>(b.in[1], units * kCount);
    k.windows.weigh[kCount / 4](b.in[0], units, words.data());
    std::memcpy(b.out, words.data(), static_cast<std::size_t>(units) * kCount * 2);
    if (units > 0) b.out[units * kCount * 2] = static_cast<std::uint8_t>(words.back());
}

template <int kCount, class Sample>
void SlideWindows(Kernels k, Bytes b, std::ptrdiff_t units) {
    if (units < 1) return;
    const std::ptrdiff_t count = units * kCount;
    std::vector<std::uint32_t> sums(static_cast<std::size_t>(count) + 1, b.choice);
    for (std::size_t i = 0; i < sums.size(); ++i) sums[i] ^= std::uint32_t{b.in[2][i]} << b.choice % 25;
    std::vector<std::uint32_t> along(sums.size(), b.choice);
    const std::vector<Sample> leaves = NumbersOf<Sample>(b.in[0], count), enters = NumbersOf<Sample>(b.in[1], count);
    if constexpr (sizeof(Sample) == 1) {
        k.windows.slideBytes[kCount - 1](sums.data(), leaves.data(), enters.data(), units, along.data());
    } else {
        k.windows.slideWords[kCount - 1](sums.data(), leaves.data(), enters.data(), units, along.data());
    }
    for (std::size_t i = 0; i < sums.size(); ++i) sums[i] = sums[i] * 31 + along[i];
    NumbersGoOut(sums, b.out);
}

// Windows whose sums come from numbers between 0 and 1, out of two bytes each.
struct TestWindows {
    std::vector<std::uint32_t> first, last;
    TestWindows(Bytes b, std::ptrdiff_t count) : first(static_cast<std::size_t>(count) + 1) {
        for (std::size_t i = 0; i < first.size(); ++i) first[i] = std::uint32_t{b.in[0][i]} * 0x01234567u + b.choice;
        last = first;
    }
    static double Part(Bytes b, std::size_t i) { return (b.in[1][2 * i] * 256 + b.in[1][2 * i + 1]) / 65535.0; }
    void Add(std::size_t i, double sum) { last[i] += static_cast<std::uint32_t>(sum); }
    WindowSums sums() const { return {first.data(), last.data()}; }
};

template <class Sample>
void MeansOfWindows(Kernels k, Bytes b, std::ptrdiff_t units) {
    const std::int64_t most = sizeof(Sample) == 1 ? WindowMean::kExact : 33025;
    const std::int64_t divisor = 3 + b.choice % (b.choice / 1048576 % 2 ? (most - 3) / 2 : 200) * 2;
    TestWindows windows(b, units);
    for (std::size_t i = 0; i < static_cast<std::size_t>(units); ++i) {
        windows.Add(i, TestWindows::Part(b, i) * (sizeof(Sample) == 1 ? 255 : 65025) * static_cast<double>(divisor));
    }
    if constexpr (sizeof(Sample) == 1) {
        k.windows.toBytes(windows.sums(), units, MakeWindowMean(divisor), b.out);
    } else {
        std::vector<std::uint16_t> words = NumbersOf<std::uint16_t>(b.in[2], units);
        k.windows.toWords(windows.sums(), units, MakeWindowMean(divisor), words.data());
        std::memcpy(b.out, words.data(), words.size() * sizeof(std::uint16_t) * (units > 0));
    }
}

// Sums of pixels with alpha, and how many pixels they are of.
template <int kCount>
TestWindows WeighedWindows(Bytes b, std::ptrdiff_t units, double* pixels) {
    *pixels = 1 + b.choice % (b.choice / 1048576 % 2 ? 33024 : 30);
    TestWindows windows(b, units * kCount);
    for (std::size_t i = 0; i < static_cast<std::size_t>(units) * kCount; i += kCount) {
        const double kind = TestWindows::Part(b, i / kCount), alpha = kind < 0.1 ? 0 : kind < 0.2 ? 1 : kind;
        const double sum = std::floor(alpha * 255 * *pixels) * 255;
        for (std::size_t c = 0; c + 1 < kCount; ++c) windows.Add(i + c, sum * b.in[2][i + c] / 255);
        windows.Add(i + kCount - 1, sum);
    }
    return windows;
}

template <int kCount>
void UnweighPixels(Kernels k, Bytes b, std::ptrdiff_t units) {
    double pixels = 0;
    const TestWindows windows = WeighedWindows<kCount>(b, units, &pixels);
    k.windows.unweigh[kCount / 4](windows.sums(), units, 1.0 / (255.0 * pixels), b.out);
}

void SharpenByWindows(Kernels k, Bytes b, std::ptrdiff_t units) {
    const int divisor = 1 + static_cast<int>(b.choice % (b.choice / 1048576 % 2 ? WindowMean::kExact : 200));
    TestWindows windows(b, units);
    for (std::size_t i = 0; i < static_cast<std::size_t>(units); ++i) {
        windows.Add(i, TestWindows::Part(b, i) * 255 * divisor);
    }
    const int threshold = b.choice / 4 % 2 ? static_cast<int>(b.choice / 8 % 257) : 0;
    const auto scale = static_cast<float>(static_cast<double>(b.choice / 64 % 1000) / 20.0 / divisor);
    k.windows.sharpen(windows.sums(), b.in[3], units, {divisor, threshold * divisor, scale}, b.out);
}

template <int kCount>
void SharpenWeighed(Kernels k, Bytes b, std::ptrdiff_t units) {
    double pixels = 0;
    const TestWindows windows = WeighedWindows<kCount>(b, units, &pixels);
    const double threshold = b.choice / 4 % 2 ? b.choice / 8 % 257 : 0;
    k.windows.sharpenWeighed[kCount / 4](windows.sums(), b.in[3], units,
                                         {threshold, static_cast<double>(b.choice / 64 % 1000) / 20.0}, b.out);
}

SoftWeights AnySoftWeights(std::uint32_t choice) {
    const std::uint16_t beside = static_cast<std::uint16_t>(1 + choice % 43690);
    return {static_cast<std::uint16_t>(65536 - beside), beside};
}

void SoftDown(Kernels k, Bytes b, std::ptrdiff_t units) {
    std::vector<std::uint16_t> words = NumbersOf<std::uint16_t>(b.in[3], units);
    k.windows.softDown({b.in[0], b.in[1], b.in[2]}, units, AnySoftWeights(b.choice), words.data());
    std::memcpy(b.out, words.data(), words.size() * sizeof(std::uint16_t) * (units > 0));
}

void SoftAlong(Kernels k, Bytes b, std::ptrdiff_t units) {
    const std::ptrdiff_t pixel = 1 + static_cast<std::ptrdiff_t>(b.choice % 4);
    std::vector<std::uint16_t> row = NumbersOf<std::uint16_t>(b.in[0], units + 2 * pixel);
    for (std::uint16_t& word : row) word = std::min<std::uint16_t>(word, 65280);
    k.windows.softAlong(row.data() + pixel, pixel, units, AnySoftWeights(b.choice / 4), b.out);
}

void SoftWords(Kernels k, Bytes b, std::ptrdiff_t units) {
    const std::ptrdiff_t pixel = b.choice % 2 ? 2 : 4;
    std::vector<std::uint16_t> rows[3];
    const std::uint16_t* middles[3];
    for (int r = 0; r < 3; ++r) {
        rows[r] = NumbersOf<std::uint16_t>(b.in[r], units + 2 * pixel);
        for (std::uint16_t& word : rows[r]) word = std::min<std::uint16_t>(word, 65025);
        middles[r] = rows[r].data() + pixel;
    }
    const std::uint32_t side = b.choice / 2 % 7000, corner = b.choice / 16384 % 7000;
    std::vector<std::uint32_t> sums(static_cast<std::size_t>(units) + 1, b.choice);
    k.windows.softWords(middles, pixel, units, {65536 - 4 * (side + corner), side, corner}, sums.data());
    NumbersGoOut(sums, b.out);
}

// --- geometry -------------------------------------------------------------------------------------------------------

// The same pixels from the last to the first.
PixelRun Backwards(const PixelRun& run, std::ptrdiff_t units) {
    return {run.pixels + (units - 1) * run.step, -run.step, run.channels};
}

template <int kCount>
void CopyPixelRun(Kernels k, Bytes b, std::ptrdiff_t units) {
    PixelRun dst = RunOf(b.out, kCount, b.choice);
    const PixelRun src = RunOf(b.in[0], kCount, b.choice / 32 % 2 ? b.choice : b.choice / 64);
    if (units < 1) return;
    // A target that lacks a channel has it at the place of another.
    if (b.choice / 8192 % 4 == 0) dst.channels.offset[kCount - 1] = dst.channels.offset[0];
    Start(b, units * dst.step);
    k.geometry.copy[kCount - 1](dst, b.choice / 4096 % 2 ? Backwards(src, units) : src, units);
}

// The ends of one run, as a mirror exchanges them.
template <int kCount>
void ExchangePixels(Kernels k, Bytes b, std::ptrdiff_t units) {
    const PixelRun run = RunOf(b.out, kCount, b.choice);
    Start(b, units * run.step);
    if (units < 2) return;
    k.geometry.exchange[kCount - 1](run, Backwards(run, units), units / 2);
}

// From one row or column to more than two blocks each, forwards and backwards.
template <int kCount>
void TurnTile(Kernels k, Bytes b, std::ptrdiff_t units) {
    constexpr int kMaxColumns = 40, kMaxRows = 64;
    PixelRun dst = RunOf(b.out, kCount, b.choice);
    PixelRun src = RunOf(b.in[0], kCount, b.choice / 64);
    // Up to twice as many pixels as there are units: a pixel has six bytes at most, a unit twelve.
    const std::ptrdiff_t pixels = units * KernelBytes::kMaxBytesPerUnit / 6;
    const int columns = 1 + static_cast<int>(b.choice / 4096 % kMaxColumns);
    const int rows = static_cast<int>(std::min<std::ptrdiff_t>(pixels / columns, kMaxRows));
    std::uint8_t* dstRows[kMaxColumns];
    const std::uint8_t* srcRows[kMaxRows];
    if (b.choice / 2048 % 2 && pixels > 0) src = Backwards(src, columns);
    if (b.choice / 262144 % 8 == 0) dst.channels.offset[kCount - 1] = dst.channels.offset[0];
    Start(b, pixels * dst.step);
    for (int i = 0; i < columns; ++i) dstRows[i] = dst.pixels + i * rows * dst.step;
    for (int j = 0; j < rows; ++j) {
        srcRows[j] = src.pixels + (rows - 1 - j) * columns * std::abs(src.step);
    }
    k.geometry.turn[kCount - 1]({dstRows, srcRows, dst.step, src.step, columns, rows, dst.channels, src.channels});
}

// Factors at both ends and between.
std::uint16_t AnyFactor(std::uint32_t choice) {
    return static_cast<std::uint16_t>(choice % 8 == 0 ? 0 : choice % 8 == 1 ? 65535 : choice * 2654435761u >> 16);
}

void ShearRow(Kernels k, Bytes b, std::ptrdiff_t units) {
    k.geometry.shearRow(b.in[0], 1 + static_cast<int>(b.choice / 65536 % 5), units, AnyFactor(b.choice), b.out);
}

// Low and wide, or a third as wide and higher, so that bytes of one vector come from few rows or from many.
void ShearColumns(Kernels k, Bytes b, std::ptrdiff_t units) {
    const bool isHigh = b.choice % 2;
    const std::ptrdiff_t width = isHigh ? units / 3 : units;
    const int height = 1 + static_cast<int>(b.choice / 2 % 3), reach = (isHigh ? 36 : 12) - height - 1;
    const std::uint32_t spread = 1 + b.choice / 8 % static_cast<std::uint32_t>(reach);
    static thread_local std::vector<std::uint8_t> down;
    static thread_local std::vector<std::uint16_t> factor;
    down.resize(static_cast<std::size_t>(width) + 1);
    factor.resize(static_cast<std::size_t>(width) + 1);
    for (std::size_t x = 0; x < static_cast<std::size_t>(width); ++x) {
        down[x] = static_cast<std::uint8_t>(b.choice / 256 % 2 ? b.in[1][x] % spread : x / 3 % spread);
        factor[x] = AnyFactor(b.choice + b.in[2][x]);
    }
    const std::ptrdiff_t dstRowBytes = width + static_cast<std::ptrdiff_t>(b.choice / 512 % 2 * 3);
    k.geometry.shearColumns({b.in[0], width, down.data(), factor.data(), width, height, b.out, dstRowBytes});
}

// --- cubic ----------------------------------------------------------------------------------------------------------

// Lines of every direction through a picture of eight rows, which lie over each other where there is little room.
template <int kChannels>
void SampleLine(Kernels k, Bytes b, std::ptrdiff_t units) {
    static const CubicWeights weights = MakeCubicWeights();
    constexpr int kRows = 8, kPlace = 1 << CubicLine::kPlaceBits;
    const std::ptrdiff_t rowBytes = units * KernelBytes::kMaxBytesPerUnit / kRows;
    const auto columns =
        static_cast<std::int32_t>(std::max<std::ptrdiff_t>((rowBytes - CubicLine::kMore) / kChannels, 4));
    Start(b, units * kChannels);
    const auto place = [&](std::uint32_t choice, std::int32_t pixels) {
        return static_cast<std::int32_t>(choice * 2654435761u % static_cast<std::uint32_t>(pixels)) * (kPlace / 64) +
               static_cast<std::int32_t>(choice * 40503u % (kPlace / 64));
    };
    // From one place to another, which both lie within.
    const std::int32_t width = std::min(columns - 3, 200) * 64, height = (kRows - 4) * 64;
    const std::int32_t x = place(b.choice, width), y = place(b.choice / 3, height);
    const auto steps = static_cast<std::int32_t>(std::max<std::ptrdiff_t>(units, 1));
    const CubicLine line{
        b.in[0], rowBytes, x, y, (place(b.choice / 5, width) - x) / steps, (place(b.choice / 7, height) - y) / steps,
        &weights};
    k.cubic.line[kChannels - 1](line, b.out, units);
}

// --- oil ------------------------------------------------------------------------------------------------------------

// A copy of noise, thinned out: smaller numbers, and the same ones more often.
std::vector<std::uint8_t> Thinned(const std::uint8_t* bytes, std::ptrdiff_t count, std::uint32_t below) {
    std::vector<std::uint8_t> copy(bytes, bytes + count);
    for (std::uint8_t& byte : copy) byte = static_cast<std::uint8_t>(byte * below >> 8);
    return copy;
}

void OilSlide(Kernels k, Bytes b, std::ptrdiff_t units) {
    const int classes = 1 + static_cast<int>(b.choice % KernelBytes::kMaxBytesPerUnit);
    const std::vector<std::uint8_t> leaves = Thinned(b.in[0], units, 16), enters = Thinned(b.in[1], units, 16);
    Start(b, units * classes);
    k.oil.slide({b.out, units, classes}, b.choice / 16 % 4 ? leaves.data() : nullptr,
                b.choice / 64 % 4 ? enters.data() : nullptr, units);
}

// As many columns, of one to four channels, as there is room for beside a row.
OilColumns AnyColumns(std::uint32_t choice, std::ptrdiff_t units) {
    const int count = 1 + static_cast<int>(choice % 15);
    return {count, std::min<std::ptrdiff_t>(1 + choice / 16 % 4, units / count)};
}

// Counts that make ties; columns of up to 15 of them stay below 256.
void OilMode(Kernels k, Bytes b, std::ptrdiff_t units) {
    const OilColumns columns = AnyColumns(b.choice, units);
    const int classes = 1 + static_cast<int>(b.choice / 64 % 5);
    std::vector<std::uint8_t> counts = Thinned(b.in[2], units * 10, b.choice / 512 % 2 ? 18 : 3);
    k.oil.mode({counts.data(), 2 * units, classes}, columns, units, b.out, b.out + units);
}

// Sums from none to as many as 255 samples of 255.
void OilMean(Kernels k, Bytes b, std::ptrdiff_t units) {
    OilColumns columns = AnyColumns(b.choice, units);
    const int rowCount = 1 + static_cast<int>(b.choice / 64 % 17), classes = 1 + static_cast<int>(b.choice / 2048 % 5);
    const int mostExcess = b.choice / 65536 % 2 ? 12 : 255;
    const auto classesOf = Thinned(b.in[0], units * 2, static_cast<std::uint32_t>(classes));
    const auto excess = Thinned(b.in[1], units * 2, static_cast<std::uint32_t>(mostExcess + 1));
    const auto modes = Thinned(b.in[2], units, static_cast<std::uint32_t>(classes));
    const std::vector<std::uint8_t> least(static_cast<std::size_t>(units));
    std::vector<std::uint8_t> times(static_cast<std::size_t>(units));
    const std::vector<const std::uint8_t*> classRows(static_cast<std::size_t>(rowCount), classesOf.data());
    const std::vector<const std::uint8_t*> excessRows(static_cast<std::size_t>(rowCount), excess.data());
    for (std::ptrdiff_t i = 0; i < units; ++i) {
        int most = 0;
        for (int j = 0; j < columns.count; ++j) {
            most += classesOf[static_cast<std::size_t>(i + j * columns.step)] == modes[static_cast<std::size_t>(i)];
        }
        times[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(std::max(1, most * rowCount));
    }
    const OilMeans means = b.choice / 131072 % 2 ? OilMeans::rounded : OilMeans::cut;
    k.oil.mean({classRows.data(), excessRows.data(), rowCount, mostExcess, means}, columns, units, modes.data(),
               times.data(), least.data(), b.out);
}

const std::vector<KernelCase> kCases = {
    {"bytes.map",
     [](Kernels k, Bytes b, std::ptrdiff_t n) {
         std::uint8_t table[256];
         for (int i = 0; i < 256; ++i)
             table[i] = static_cast<std::uint8_t>(i * 37 + 11 + static_cast<int>(b.choice % 251));
         k.bytes.map(b.in[0], b.out, n, table);
     }},
    {"bytes.relief", [](Kernels k, Bytes b, std::ptrdiff_t n) { k.bytes.relief(b.in[0], b.in[1], b.out, n); }},

    {"blend.mix",
     [](Kernels k, Bytes b, std::ptrdiff_t n) {
         Start(b, n);
         k.blend.mix(b.out, b.in[0], b.in[1], n);
     }},
    {"blend.addOver",
     [](Kernels k, Bytes b, std::ptrdiff_t n) {
         Start(b, n);
         k.blend.addOver(b.out, b.in[0], b.in[1], n);
     }},
    {"blend.addOverOther",
     [](Kernels k, Bytes b, std::ptrdiff_t n) { k.blend.addOverOther(b.out, b.in[0], b.in[1], b.in[2], n); }},
    {"blend.add", [](Kernels k, Bytes b, std::ptrdiff_t n) { k.blend.add(b.out, b.in[0], b.in[1], n); }},
    {"blend.replicate3", [](Kernels k, Bytes b, std::ptrdiff_t n) { k.blend.replicate3(b.out, b.in[0], n); }},
    {"blend.replicate4Opaque",
     [](Kernels k, Bytes b, std::ptrdiff_t n) {
         k.blend.replicate4Opaque(b.out, b.in[0], static_cast<int>(b.choice % 4), n);
     }},
    {"blend.replicateAlpha",
     [](Kernels k, Bytes b, std::ptrdiff_t n) {
         k.blend.replicateAlpha(b.out, b.in[0], static_cast<int>(b.choice % 4), n);
     }},

    {"matrix.convolve", Convolve},

    {"swizzle.move", Swizzled},

    {"pack.gather[0]", Gather<1>},
    {"pack.gather[1]", Gather<2>},
    {"pack.gather[2]", Gather<3>},
    {"pack.gather[3]", Gather<4>},
    {"pack.gather[4]", Gather<5>},
    {"pack.scatter[0]", Scatter<1>},
    {"pack.scatter[1]", Scatter<2>},
    {"pack.scatter[2]", Scatter<3>},
    {"pack.scatter[3]", Scatter<4>},
    {"pack.scatter[4]", Scatter<5>},

    {"convert.apart[kCopy1][0]", Convert<kCopy1, 1, 1, false>},
    {"convert.apart[kCopy1][1]", Convert<kCopy1, 1, 1, true>},
    {"convert.apart[kCopy3][0]", Convert<kCopy3, 3, 3, false>},
    {"convert.apart[kCopy3][1]", Convert<kCopy3, 3, 3, true>},
    {"convert.apart[kCopy4][0]", Convert<kCopy4, 4, 4, false>},
    {"convert.apart[kCopy4][1]", Convert<kCopy4, 4, 4, true>},
    {"convert.apart[kReplicate1To3][0]", Convert<kReplicate1To3, 1, 3, false>},
    {"convert.apart[kReplicate1To3][1]", Convert<kReplicate1To3, 1, 3, true>},
    {"convert.apart[kReplicate1To4][0]", Convert<kReplicate1To4, 1, 4, false>},
    {"convert.apart[kReplicate1To4][1]", Convert<kReplicate1To4, 1, 4, true>},
    {"convert.apart[kBlackOnly1To4][0]", Convert<kBlackOnly1To4, 1, 4, false>},
    {"convert.apart[kBlackOnly1To4][1]", Convert<kBlackOnly1To4, 1, 4, true>},
    {"convert.apart[kLuma3To1][0]", Convert<kLuma3To1, 3, 1, false>},
    {"convert.apart[kLuma3To1][1]", Convert<kLuma3To1, 3, 1, true>},

    {"scaling.alongRows[kChannels1]", AlongRows<kChannels1>},
    {"scaling.alongRows[kChannels2]", AlongRows<kChannels2>},
    {"scaling.alongRows[kChannels3]", AlongRows<kChannels3>},
    {"scaling.alongRows[kChannels4]", AlongRows<kChannels4>},
    {"scaling.alongRows[kChannels5]", AlongRows<kChannels5>},
    {"scaling.alongRows[kLumaOnly]", AlongRows<kLumaOnly>},
    {"scaling.alongRows[kLumaAndAlpha]", AlongRows<kLumaAndAlpha>},
    {"scaling.acrossRows", AcrossRows},
    {"scaling.alongFine[0]", AlongFine<1>},
    {"scaling.alongFine[1]", AlongFine<2>},
    {"scaling.alongFine[2]", AlongFine<3>},
    {"scaling.alongFine[3]", AlongFine<4>},
    {"scaling.acrossFine", AcrossFine},
    {"weighed.isOpaque[0]", IsOpaque<kGrayByAlpha>},
    {"weighed.isOpaque[1]", IsOpaque<kColoursByAlpha>},
    {"weighed.alongRows[0]", WeighedAlongRows<kGrayByAlpha>},
    {"weighed.alongRows[1]", WeighedAlongRows<kColoursByAlpha>},
    {"weighed.acrossRows[0]", WeighedAcrossRows<kGrayByAlpha>},
    {"weighed.acrossRows[1]", WeighedAcrossRows<kColoursByAlpha>},

    {"words.move", MoveWords},
    {"words.moveMasked", MoveWordsMasked},
    {"words.pack[0]", PackWords<0>},
    {"words.pack[1]", PackWords<1>},
    {"words.pack[2]", PackWords<2>},
    {"words.pack[3]", PackWords<3>},

    {"touch.store[0]", Store<1>},
    {"touch.store[1]", Store<2>},
    {"touch.store[2]", Store<3>},
    {"touch.store[3]", Store<4>},
    {"touch.store[4]", Store<5>},

    {"touch.complement[0]", Complement<1>},
    {"touch.complement[1]", Complement<2>},
    {"touch.complement[2]", Complement<3>},
    {"touch.complement[3]", Complement<4>},
    {"touch.complement[4]", Complement<5>},

    {"touch.layOver[0]", LayOver<1>},
    {"touch.layOver[1]", LayOver<2>},
    {"touch.layOver[2]", LayOver<3>},
    {"touch.layOver[3]", LayOver<4>},
    {"touch.layOver[4]", LayOver<5>},

    {"nearest.apart[kCopy1][0]", Nearest<kCopy1, 1, 1, false>},
    {"nearest.apart[kCopy1][1]", Nearest<kCopy1, 1, 1, true>},
    {"nearest.apart[kCopy3][0]", Nearest<kCopy3, 3, 3, false>},
    {"nearest.apart[kCopy3][1]", Nearest<kCopy3, 3, 3, true>},
    {"nearest.apart[kCopy4][0]", Nearest<kCopy4, 4, 4, false>},
    {"nearest.apart[kCopy4][1]", Nearest<kCopy4, 4, 4, true>},
    {"nearest.apart[kReplicate1To3][0]", Nearest<kReplicate1To3, 1, 3, false>},
    {"nearest.apart[kReplicate1To3][1]", Nearest<kReplicate1To3, 1, 3, true>},
    {"nearest.apart[kReplicate1To4][0]", Nearest<kReplicate1To4, 1, 4, false>},
    {"nearest.apart[kReplicate1To4][1]", Nearest<kReplicate1To4, 1, 4, true>},
    {"nearest.apart[kBlackOnly1To4][0]", Nearest<kBlackOnly1To4, 1, 4, false>},
    {"nearest.apart[kBlackOnly1To4][1]", Nearest<kBlackOnly1To4, 1, 4, true>},
    {"nearest.apart[kLuma3To1][0]", Nearest<kLuma3To1, 3, 1, false>},
    {"nearest.apart[kLuma3To1][1]", Nearest<kLuma3To1, 3, 1, true>},
    {"nearest.shuffle", ShuffleBytes},

    {"exports.pixels[0][0]", Export<0, 0>},
    {"exports.pixels[0][1]", Export<0, 1>},
    {"exports.pixels[0][2]", Export<0, 2>},
    {"exports.pixels[1][0]", Export<1, 0>},
    {"exports.pixels[1][1]", Export<1, 1>},
    {"exports.pixels[1][2]", Export<1, 2>},
    {"exports.pixels[2][0]", Export<2, 0>},
    {"exports.pixels[2][1]", Export<2, 1>},
    {"exports.pixels[2][2]", Export<2, 2>},
    {"exports.nativeWords",
     [](Kernels k, Bytes b, std::ptrdiff_t n) {
         k.exports.nativeWords(b.in[0], 4, ChannelsOfAWord(b.choice).offset, n, b.out);
     }},
    {"exports.argbWords",
     [](Kernels k, Bytes b, std::ptrdiff_t n) {
         k.exports.argbWords(b.in[0], 4, ChannelsOfAWord(b.choice).offset, n, b.out);
     }},
    {"tables.mapInTurn", MapInTurn},
    {"tables.combine[0]", CombineByTable<1>},
    {"tables.combine[1]", CombineByTable<2>},
    {"tables.combine[2]", CombineByTable<3>},
    {"tables.combine[3]", CombineByTable<4>},
    {"tables.combine[4]", CombineByTable<5>},

    {"tone.luminance", Luminance},
    {"tone.count", Count},
    {"tone.countAbove", CountAbove},
    {"tone.glow", Glow},
    {"tone.dither", Dither},

    {"blur.narrow.add", [](Kernels k, Bytes b, std::ptrdiff_t n) { AddSums(k.blur.narrow, b, n); }},
    {"blur.narrow.down", [](Kernels k, Bytes b, std::ptrdiff_t n) { SumsDown(k.blur.narrow, b, n); }},
    {"blur.narrow.along[0]", NarrowAlong<1>},
    {"blur.narrow.along[1]", NarrowAlong<2>},
    {"blur.narrow.along[2]", NarrowAlong<3>},
    {"blur.narrow.along[3]", NarrowAlong<4>},
    {"blur.narrow.along[4]", NarrowAlong<5>},

    {"blur.wide.add", [](Kernels k, Bytes b, std::ptrdiff_t n) { AddSums(k.blur.wide, b, n); }},
    {"blur.wide.down", [](Kernels k, Bytes b, std::ptrdiff_t n) { SumsDown(k.blur.wide, b, n); }},
    {"blur.wide.along[0]", WideAlong<1>},
    {"blur.wide.along[1]", WideAlong<2>},
    {"blur.wide.along[2]", WideAlong<3>},
    {"blur.wide.along[3]", WideAlong<4>},
    {"blur.wide.along[4]", WideAlong<5>},

    {"blur.divideTested", DivideTested},
    {"blur.slide", SlideSums},
    {"blur.taps", Taps},
    {"blur.tapsByRule", TapsByRule},
    {"blur.sharpen", Sharpen},

    {"windows.weigh[0]", WeighPixels<2>},
    {"windows.weigh[1]", WeighPixels<4>},
    {"windows.slideBytes[0]", SlideWindows<1, std::uint8_t>},
    {"windows.slideBytes[1]", SlideWindows<2, std::uint8_t>},
    {"windows.slideBytes[2]", SlideWindows<3, std::uint8_t>},
    {"windows.slideBytes[3]", SlideWindows<4, std::uint8_t>},
    {"windows.slideWords[0]", SlideWindows<1, std::uint16_t>},
    {"windows.slideWords[1]", SlideWindows<2, std::uint16_t>},
    {"windows.slideWords[2]", SlideWindows<3, std::uint16_t>},
    {"windows.slideWords[3]", SlideWindows<4, std::uint16_t>},
    {"windows.toBytes", MeansOfWindows<std::uint8_t>},
    {"windows.toWords", MeansOfWindows<std::uint16_t>},
    {"windows.unweigh[0]", UnweighPixels<2>},
    {"windows.unweigh[1]", UnweighPixels<4>},
    {"windows.sharpen", SharpenByWindows},
    {"windows.sharpenWeighed[0]", SharpenWeighed<2>},
    {"windows.sharpenWeighed[1]", SharpenWeighed<4>},
    {"windows.softDown", SoftDown},
    {"windows.softAlong", SoftAlong},
    {"windows.softWords", SoftWords},

    {"geometry.copy[0]", CopyPixelRun<1>},
    {"geometry.copy[1]", CopyPixelRun<2>},
    {"geometry.copy[2]", CopyPixelRun<3>},
    {"geometry.copy[3]", CopyPixelRun<4>},
    {"geometry.copy[4]", CopyPixelRun<5>},

    {"geometry.exchange[0]", ExchangePixels<1>},
    {"geometry.exchange[1]", ExchangePixels<2>},
    {"geometry.exchange[2]", ExchangePixels<3>},
    {"geometry.exchange[3]", ExchangePixels<4>},
    {"geometry.exchange[4]", ExchangePixels<5>},

    {"geometry.turn[0]", TurnTile<1>},
    {"geometry.turn[1]", TurnTile<2>},
    {"geometry.turn[2]", TurnTile<3>},
    {"geometry.turn[3]", TurnTile<4>},
    {"geometry.turn[4]", TurnTile<5>},

    {"geometry.shearRow", ShearRow},
    {"geometry.shearColumns", ShearColumns},

    {"cubic.line[0]", SampleLine<1>},
    {"cubic.line[1]", SampleLine<2>},
    {"cubic.line[2]", SampleLine<3>},
    {"cubic.line[3]", SampleLine<4>},

    {"oil.slide", OilSlide},
    {"oil.mode", OilMode},
    {"oil.mean", OilMean},
};

}  // namespace

const std::vector<KernelCase>& KernelCases() {
    return kCases;
}

const KernelCase* CaseOfSlot(const char* slot) {
    for (const KernelCase& each : kCases) {
        if (std::strcmp(each.slot, slot) == 0) return &each;
    }
    return nullptr;
}
