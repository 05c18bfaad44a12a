#include "exchange/PictureRows.h"

#include <algorithm>
#include <bit>

ChannelSet ColoursOfPixelType(int pixelType) {
    switch (pixelType) {
        case PixelTypeRGB24:
            return {3, {0, 1, 2}};
        case PixelTypeARGB32:
            return {3, {1, 2, 3}};
        default:  // PixelTypeNative32
            if constexpr (std::endian::native == std::endian::little) return {3, {2, 1, 0}};
            return {3, {1, 2, 3}};
    }
}

namespace {

bool NeedsMask(ImportRule rule) {
    return rule == ImportRule::maskToAlpha || rule == ImportRule::blend;
}

// --- pixel by pixel -------------------------------------------------------------------------------------------------

// picture(c), mask(c) and image(c) read channel c of the plan's set, store(c, value) writes channel c of the image's.
template <ImportRule kRule, int kColours, class Picture, class Mask, class Image, class Store>
inline void ImportPixel(std::uint8_t invert, Picture picture, Mask mask, Image image, Store store) {
    std::uint8_t sample[kColours];
    for (int c = 0; c < kColours; ++c) sample[c] = picture(c);
    if constexpr (kRule == ImportRule::blend) {
        unsigned part[kColours];
        for (int c = 0; c < kColours; ++c) part[c] = mask(c) ^ invert;
        for (int c = 0; c < kColours; ++c) {
            store(c, static_cast<std::uint8_t>((part[c] * image(c) + (255 - part[c]) * sample[c]) / 255));
        }
    } else if constexpr (kRule == ImportRule::colours) {
        for (int c = 0; c < kColours; ++c) store(c, sample[c]);
    } else {
        const std::uint8_t alpha = kRule == ImportRule::constant ? 255 : mask(0);
        store(0, static_cast<std::uint8_t>(alpha ^ invert));
        for (int c = 0; c < kColours; ++c) store(c + 1, sample[c]);
    }
}

// Pixels of which some bytes may lie outside.
template <ImportRule kRule, int kColours>
void ImportByByte(const ImportPlan& plan, const ImportRows& rows, PixelRange run) {
    for (std::ptrdiff_t i = run.first; i < run.last; ++i) {
        const std::ptrdiff_t to = (rows.imageX + i) * plan.imageSize;
        const std::ptrdiff_t from = (rows.pictureX + i) * plan.pictureSize;
        const std::ptrdiff_t through = (rows.pictureX + i) * plan.maskSize;
        ImportPixel<kRule, kColours>(
            plan.invert, [&](int c) { return rows.picture.Load(from + plan.picture.offset[c]); },
            [&](int c) { return rows.mask.Load(through + plan.mask.offset[c]); },
            [&](int c) { return rows.image.Load(to + plan.image.offset[c]); },
            [&](int c, std::uint8_t value) { rows.image.Store(to + plan.image.offset[c], value); });
    }
}

// Pixels that lie inside the storage on all sides.
template <ImportRule kRule, int kColours>
void ImportInside(const ImportPlan& given, const ImportRows& rows, PixelRange run) {
    const ImportPlan plan = given;  // the stores below cannot change a copy
    constexpr bool kMask = kRule == ImportRule::maskToAlpha || kRule == ImportRule::blend;
    std::uint8_t* to = rows.image.data + (rows.imageX + run.first) * plan.imageSize;
    const std::uint8_t* from = rows.picture.data + (rows.pictureX + run.first) * plan.pictureSize;
    const std::uint8_t* through = kMask ? rows.mask.data + (rows.pictureX + run.first) * plan.maskSize : nullptr;
    for (std::ptrdiff_t i = run.first; i < run.last; ++i) {
        ImportPixel<kRule, kColours>(
            plan.invert, [&](int c) { return from[plan.picture.offset[c]]; },
            [&](int c) { return through[plan.mask.offset[c]]; }, [&](int c) { return to[plan.image.offset[c]]; },
            [&](int c, std::uint8_t value) { to[plan.image.offset[c]] = value; });
        to += plan.imageSize;
        from += plan.pictureSize;
        if constexpr (kMask) through += plan.maskSize;
    }
}

// Of the pixels of a row, those that lie inside on all sides.
PixelRange InsideAll(const ImportPlan& plan, const ImportRows& rows) {
    PixelRange inside = PixelsInside(rows.image, plan.imageSize, plan.image, rows.imageX, rows.width);
    const auto cut = [&](PixelRange other) {
        inside.first = std::clamp(other.first, inside.first, inside.last);
        inside.last = std::clamp(other.last, inside.first, inside.last);
    };
    cut(PixelsInside(rows.picture, plan.pictureSize, plan.picture, rows.pictureX, rows.width));
    if (NeedsMask(plan.rule)) cut(PixelsInside(rows.mask, plan.maskSize, plan.mask, rows.pictureX, rows.width));
    return inside;
}

using InsideFn = void (*)(const ImportPlan& plan, const ImportRows& rows, PixelRange run);

template <ImportRule kRule, int kColours>
void ImportCut(const ImportPlan& plan, const ImportRows& rows, PixelRange inside) {
    const PixelRange reached = PixelsReached(rows.image, plan.imageSize, plan.image, rows.imageX, rows.width);
    ImportByByte<kRule, kColours>(plan, rows, {reached.first, inside.first});
    if (inside.first < inside.last) ImportInside<kRule, kColours>(plan, rows, inside);
    ImportByByte<kRule, kColours>(plan, rows, {inside.last, reached.last});
}

InsideFn PickRow(const ImportPlan& plan) {
    switch (plan.rule) {
        case ImportRule::constant:
            return ImportCut<ImportRule::constant, 3>;
        case ImportRule::maskToAlpha:
            return ImportCut<ImportRule::maskToAlpha, 3>;
        case ImportRule::blend:
            return ImportCut<ImportRule::blend, 3>;
        default:
            return plan.picture.count == 1 ? ImportCut<ImportRule::colours, 1> : ImportCut<ImportRule::colours, 3>;
    }
}

bool HasRows(const ImportPlan& plan, const ImportRows& rows) {
    return rows.image && rows.picture && (rows.mask || !NeedsMask(plan.rule));
}

// --- whole words ----------------------------------------------------------------------------------------------------

constexpr bool kLittleEndian = std::endian::native == std::endian::little;

constexpr int ShiftOfByte(std::ptrdiff_t offset) {
    return static_cast<int>(kLittleEndian ? 8 * offset : 24 - 8 * offset);
}

std::uint32_t LoadWord(const std::uint8_t* from) {
    std::uint32_t word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

void StoreWord(std::uint8_t* to, std::uint32_t word) {
    std::memcpy(to, &word, sizeof word);
}

// How the bytes of a pixel of four bytes come to their places in one of the same size.
struct WordMove {
    std::uint32_t keep;  // bytes of the image that stay
    std::uint32_t fill;  // a constant alpha, or what the mask's sample is exclusive-or'ed with, in its place
    int from[3];         // shifts of the colours
    int to[3];
    int maskFrom;
    int maskTo;

    std::uint32_t Colours(std::uint32_t word) const {
        return (word >> from[0] & 255) << to[0] | (word >> from[1] & 255) << to[1] | (word >> from[2] & 255) << to[2];
    }
};

template <bool kMask>
void MoveWords(const WordMove& given, std::uint8_t* __restrict to, const std::uint8_t* __restrict from,
               const std::uint8_t* __restrict through, std::ptrdiff_t count) {
    const WordMove move = given;
    for (std::ptrdiff_t i = 0; i < 4 * count; i += 4) {
        std::uint32_t word = (LoadWord(to + i) & move.keep) | move.Colours(LoadWord(from + i));
        if constexpr (kMask) word |= (LoadWord(through + i) >> move.maskFrom & 255) << move.maskTo;
        StoreWord(to + i, word ^ move.fill);
    }
}

std::uint32_t Reversed(std::uint32_t word) {
    return word << 24 | (word & 0xFF00) << 8 | (word >> 8 & 0xFF00) | word >> 24;
}

// Four words become three. Little-endian only. The colours stand in the word side by side, in the image's order or,
// reversed, in the other.
template <bool kReversed, int kShift>
void PackWords(const WordMove&, std::uint8_t* __restrict to, const std::uint8_t* __restrict from, const std::uint8_t*,
               std::ptrdiff_t count) {
    const auto load = [from](std::ptrdiff_t pixel) {
        const std::uint32_t word = LoadWord(from + 4 * pixel);
        return (kReversed ? Reversed(word) : word) >> kShift & 0xFFFFFF;
    };
    std::ptrdiff_t i = 0;
    for (; i + 4 <= count; i += 4, to += 12) {
        const std::uint32_t a = load(i), b = load(i + 1), c = load(i + 2), d = load(i + 3);
        StoreWord(to, a | b << 24);
        StoreWord(to + 4, b >> 8 | c << 16);
        StoreWord(to + 8, c >> 16 | d << 8);
    }
    for (; i < count; ++i, to += 3) {
        const std::uint32_t word = load(i);
        for (int byte = 0; byte < 3; ++byte) to[byte] = static_cast<std::uint8_t>(word >> 8 * byte);
    }
}

void CopyPixelBytes(const WordMove&, std::uint8_t* to, const std::uint8_t* from, const std::uint8_t*,
                    std::ptrdiff_t count) {
    std::memcpy(to, from, static_cast<std::size_t>(count) * 3);
}

using MoveFn = void (*)(const WordMove& move, std::uint8_t* to, const std::uint8_t* from, const std::uint8_t* through,
                        std::ptrdiff_t count);

// For an image of three bytes: those orders that pictures and images have; nil for others.
MoveFn PickPack(const WordMove& move) {
    const auto shiftsBy = [&move](bool reversed, int shift) {
        for (int c = 0; c < 3; ++c) {
            const int from = reversed ? 24 - move.from[c] : move.from[c];
            if (from - shift != move.to[c]) return false;
        }
        return true;
    };
    if (!kLittleEndian) return nullptr;
    if (shiftsBy(false, 0)) return PackWords<false, 0>;
    if (shiftsBy(false, 8)) return PackWords<false, 8>;
    if (shiftsBy(true, 0)) return PackWords<true, 0>;
    return shiftsBy(true, 8) ? PackWords<true, 8> : nullptr;
}

// The fast form of a plan and the numbers for it; nil where there is none. It needs whole pixels inside the storage,
// and an image whose bytes are none of the picture's and the mask's.
MoveFn PickMove(const ImportPlan& plan, WordMove* move) {
    if (plan.rule == ImportRule::blend || plan.picture.count != 3) return nullptr;
    const bool withAlpha = plan.rule != ImportRule::colours;
    const std::ptrdiff_t* const to = plan.image.offset + withAlpha;
    // An alpha on the byte of a colour is replaced by it.
    const bool alphaStays = withAlpha && std::find(to, to + 3, plan.image.offset[0]) == to + 3;
    const auto isInside = [&](std::ptrdiff_t offset) { return offset >= 0 && offset < plan.imageSize; };
    if (!std::all_of(plan.image.offset, plan.image.offset + plan.image.count, isInside)) return nullptr;
    if (plan.pictureSize == 3 && plan.imageSize == 3) {
        return std::equal(to, to + 3, plan.picture.offset) ? CopyPixelBytes : nullptr;
    }
    if (plan.pictureSize != 4 || plan.imageSize < 3 || plan.imageSize > 4) return nullptr;
    *move = {};
    for (int c = 0; c < 3; ++c) {
        move->from[c] = ShiftOfByte(plan.picture.offset[c]);
        move->to[c] = ShiftOfByte(to[c]);
    }
    if (plan.imageSize == 3) return PickPack(*move);
    const bool maskCounts = alphaStays && plan.rule == ImportRule::maskToAlpha;
    if (maskCounts && plan.maskSize != 4) return nullptr;
    std::uint32_t written = 0;
    for (const int shift : move->to) written |= std::uint32_t{255} << shift;
    if (alphaStays) {
        move->maskTo = ShiftOfByte(plan.image.offset[0]);
        written |= std::uint32_t{255} << move->maskTo;
        const unsigned constant = plan.rule == ImportRule::constant ? 255 : 0;
        move->fill = (constant ^ plan.invert) << move->maskTo;
    }
    move->keep = ~written;
    if (!maskCounts) return MoveWords<false>;
    move->maskFrom = ShiftOfByte(plan.mask.offset[0]);
    return MoveWords<true>;
}

// Whole pixels, whatever their channels.
ChannelSet WholePixel(int pixelSize) {
    return {2, {0, pixelSize - 1}};
}

bool Disjoint(const std::uint8_t* a, std::ptrdiff_t sizeOfA, const std::uint8_t* b, std::ptrdiff_t sizeOfB) {
    const std::uintptr_t firstA = reinterpret_cast<std::uintptr_t>(a), firstB = reinterpret_cast<std::uintptr_t>(b);
    return firstA + static_cast<std::uintptr_t>(sizeOfA) <= firstB ||
           firstB + static_cast<std::uintptr_t>(sizeOfB) <= firstA;
}

// The pixels of a row as one run of bytes on each side.
struct PixelRuns {
    std::uint8_t* image;
    const std::uint8_t* picture;
    const std::uint8_t* mask;  // nil without
};

PixelRuns RunsAt(const ImportPlan& plan, const ImportRows& rows, std::ptrdiff_t first) {
    return {rows.image.data + (rows.imageX + first) * plan.imageSize,
            rows.picture.data + (rows.pictureX + first) * plan.pictureSize,
            NeedsMask(plan.rule) ? rows.mask.data + (rows.pictureX + first) * plan.maskSize : nullptr};
}

ImportRows Part(const ImportRows& rows, std::ptrdiff_t first, std::ptrdiff_t last) {
    return {rows.image, rows.picture, rows.mask, rows.imageX + first, rows.pictureX + first, last - first};
}

}  // namespace

void ImportRow_Plain(const ImportPlan& plan, const ImportRows& rows) {
    if (HasRows(plan, rows) && rows.width > 0) PickRow(plan)(plan, rows, InsideAll(plan, rows));
}

void ImportRow(const ImportPlan& plan, const ImportRows& rows) {
    if (!HasRows(plan, rows) || rows.width <= 0) return;
    WordMove move{};
    const MoveFn moveRun = PickMove(plan, &move);
    if (!moveRun) return ImportRow_Plain(plan, rows);
    ImportPlan whole = plan;
    whole.image = WholePixel(plan.imageSize);
    whole.picture = WholePixel(plan.pictureSize);
    if (NeedsMask(plan.rule)) whole.mask = WholePixel(plan.maskSize);
    const PixelRange run = InsideAll(whole, rows);
    const std::ptrdiff_t count = run.last - run.first;
    if (count == 0) return ImportRow_Plain(plan, rows);
    const PixelRuns runs = RunsAt(plan, rows, run.first);
    if (!Disjoint(runs.image, count * plan.imageSize, runs.picture, count * plan.pictureSize) ||
        (runs.mask && !Disjoint(runs.image, count * plan.imageSize, runs.mask, count * plan.maskSize))) {
        return ImportRow_Plain(plan, rows);
    }
    ImportRow_Plain(plan, Part(rows, 0, run.first));
    moveRun(move, runs.image, runs.picture, runs.mask, count);
    ImportRow_Plain(plan, Part(rows, run.last, rows.width));
}
