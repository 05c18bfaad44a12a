#include "exchange/ExportRows.h"

#include <algorithm>
#include <bit>
#include <iterator>

#include "exchange/PictureEditor.h"

namespace {

struct Colour {
    std::uint32_t red;
    std::uint32_t green;
    std::uint32_t blue;
};

// --- reading a pixel ------------------------------------------------------------------------------------------------

template <ExportColours kColours>
constexpr int kChannels = kColours == ExportColours::gray  ? 1
                          : kColours == ExportColours::rgb ? 3
                                                           : 4;

template <ExportColours kColours>
Colour Read(const std::uint8_t* pixel, const std::ptrdiff_t* offset) {
    const auto sample = [&](int channel) { return std::uint32_t{pixel[offset[channel]]}; };
    if constexpr (kColours == ExportColours::gray) {
        return {sample(0), sample(0), sample(0)};
    } else if constexpr (kColours == ExportColours::rgb) {
        return {sample(0), sample(1), sample(2)};
    } else {
        const std::uint32_t light = 255 - sample(3);
        const auto without = [&](int channel) { return light - sample(channel) * light / 255; };
        return {without(0), without(1), without(2)};
    }
}

// --- storing one ----------------------------------------------------------------------------------------------------

constexpr bool kLittleEndian = std::endian::native == std::endian::little;
constexpr std::ptrdiff_t kWord = 4;

void StoreWord(std::uint8_t* dst, std::uint32_t word) {
    std::memcpy(dst, &word, sizeof word);
}

template <int kPixelType>
constexpr std::ptrdiff_t kPictureSize = kPixelType == PixelTypeRGB24 ? 3 : kWord;

template <int kPixelType>
void Store(std::uint8_t* dst, Colour colour) {
    if constexpr (kPixelType == PixelTypeNative32) {
        StoreWord(dst, colour.red << 16 | colour.green << 8 | colour.blue);
    } else if constexpr (kPixelType == PixelTypeARGB32 && kLittleEndian) {
        StoreWord(dst, 255u | colour.red << 8 | colour.green << 16 | colour.blue << 24);
    } else if constexpr (kPixelType == PixelTypeARGB32) {
        StoreWord(dst, 255u << 24 | colour.red << 16 | colour.green << 8 | colour.blue);
    } else {
        dst[0] = static_cast<std::uint8_t>(colour.red);
        dst[1] = static_cast<std::uint8_t>(colour.green);
        dst[2] = static_cast<std::uint8_t>(colour.blue);
    }
}

// --- rows -----------------------------------------------------------------------------------------------------------

template <ExportColours kColours, int kPixelType>
void ExportRow_Plain(const std::uint8_t* src, std::ptrdiff_t pixelSize, const std::ptrdiff_t* offsets,
                     std::ptrdiff_t count, std::uint8_t* dst) {
    std::ptrdiff_t offset[kChannels<kColours>];
    std::copy_n(offsets, kChannels<kColours>, offset);
    for (std::ptrdiff_t i = 0; i < count; ++i, src += pixelSize, dst += kPictureSize<kPixelType>) {
        Store<kPixelType>(dst, Read<kColours>(src, offset));
    }
}

// The word of a pixel in which the byte at an offset of 0 or more lies.
std::ptrdiff_t WordOf(std::ptrdiff_t offset) {
    return offset / kWord * kWord;
}

std::uint32_t ShiftOf(std::ptrdiff_t offset) {
    const std::ptrdiff_t byte = offset % kWord;
    return static_cast<std::uint32_t>(kLittleEndian ? byte : kWord - 1 - byte) * 8;
}

// Red, green and blue from one word of every pixel: shifts by the same amounts all along the row, of which the compiler
// makes vectors.
template <int kPixelType>
void ExportRow_Words(const std::uint8_t* src, std::ptrdiff_t, const std::ptrdiff_t* offset, std::ptrdiff_t count,
                     std::uint8_t* dst) {
    const std::uint32_t red = ShiftOf(offset[0]), green = ShiftOf(offset[1]), blue = ShiftOf(offset[2]);
    src += WordOf(offset[0]);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint32_t word;
        std::memcpy(&word, src + i * kWord, sizeof word);
        Store<kPixelType>(dst + i * kWord, {word >> red & 255, word >> green & 255, word >> blue & 255});
    }
}

// Clips move the offsets by whole pixels, so the word need not be the pixel's own.
bool LieInOneWord(const ChannelSet& channels, std::ptrdiff_t pixelSize) {
    return pixelSize == kWord && channels.lowest() >= 0 && WordOf(channels.lowest()) == WordOf(channels.highest());
}

template <ExportColours kColours, int kPixelType>
ExportPlan PlanFor(const ChannelSet& source, std::ptrdiff_t sourceSize) {
    const ExportRowFunction plain = ExportRow_Plain<kColours, kPixelType>;
    ExportPlan plan = {plain, plain, source.lowest(), source.highest() + 1, sourceSize, kPictureSize<kPixelType>,
                       source};
    if constexpr (kColours == ExportColours::rgb && kPictureSize<kPixelType> == kWord) {
        if (LieInOneWord(source, sourceSize)) {
            plan.quick = ExportRow_Words<kPixelType>;
            plan.first = WordOf(source.lowest());
            plan.last = plan.first + kWord;
        }
    }
    return plan;
}

template <ExportColours kColours>
ExportPlan PlanForType(const ChannelSet& source, std::ptrdiff_t sourceSize, int pixelType) {
    switch (pixelType) {
        case PixelTypeRGB24:
            return PlanFor<kColours, PixelTypeRGB24>(source, sourceSize);
        case PixelTypeARGB32:
            return PlanFor<kColours, PixelTypeARGB32>(source, sourceSize);
        default:
            return PlanFor<kColours, PixelTypeNative32>(source, sourceSize);
    }
}

// A row that lies partly outside the storage goes by way of a buffer with zeros in the places of what is missing.
void ExportGathered(const ExportPlan& plan, const RowSpan& row, std::ptrdiff_t x, std::ptrdiff_t width,
                    std::uint8_t* dst) {
    constexpr std::ptrdiff_t kAtOnce = 1024;
    constexpr std::ptrdiff_t kPackedOffsets[] = {0, 1, 2, 3};
    std::uint8_t packed[kAtOnce * std::size(kPackedOffsets)];
    for (std::ptrdiff_t done = 0, count; done < width; done += count) {
        count = std::min(kAtOnce, width - done);
        GatherPixels(row, static_cast<int>(plan.sourceSize), plan.source, x + done, count, packed);
        plan.plain(packed, plan.source.count, kPackedOffsets, count, dst + done * plan.pictureSize);
    }
}

}  // namespace

ExportPlan MakeExportPlan(ExportColours colours, const ChannelSet& source, int sourceSize, int pixelType) {
    switch (colours) {
        case ExportColours::rgb:
            return PlanForType<ExportColours::rgb>(source, sourceSize, pixelType);
        case ExportColours::cmyk:
            return PlanForType<ExportColours::cmyk>(source, sourceSize, pixelType);
        default:
            return PlanForType<ExportColours::gray>(source, sourceSize, pixelType);
    }
}

void ExportRow(const ExportPlan& plan, const RowSpan& row, std::ptrdiff_t x, std::ptrdiff_t width, std::uint8_t* dst) {
    if (!row || width < 1) return;
    const std::ptrdiff_t start = x * plan.sourceSize;
    if (row.Covers(start + plan.first, start + (width - 1) * plan.sourceSize + plan.last)) {
        plan.quick(row.data + start, plan.sourceSize, plan.source.offset, width, dst);
    } else {
        ExportGathered(plan, row, x, width, dst);
    }
}
