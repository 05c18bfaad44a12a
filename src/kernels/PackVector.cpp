// Pixels to packed samples and back, pictures of the host from channels, and words to three bytes: all of it is bytes
// that move.

#include "kernels/Export.h"
#include "kernels/Pack.h"
#include "kernels/Swizzle.h"
#include "kernels/Vector.h"
#include "kernels/Words.h"

namespace zor {

namespace {

constexpr signed char kInOrder[ChannelSet::kMax] = {0, 1, 2, 3, 4};
constexpr std::uint8_t kNoFlips[ChannelSet::kMax] = {};

void Move(const SwizzleRun& run, std::ptrdiff_t count) {
    ZOR_TIER_FUNCTION(MoveBytes)(run.swizzle, run.dst, run.src, count);
}

PixelRun PackedRun(const std::uint8_t* packed, int count) {
    return {const_cast<std::uint8_t*>(packed), count, {count, {0, 1, 2, 3, 4}}};
}

// --- packed samples -------------------------------------------------------------------------------------------------

// In order, a channel after the other, for pixels that are too large for anything else.
void CopyPixels(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        for (int c = 0; c < dst.channels.count; ++c) {
            dst.pixels[i * dst.step + dst.channels.offset[c]] = src.pixels[i * src.step + src.channels.offset[c]];
        }
    }
}

void MoveOrCopy(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count) {
    SwizzleRun run;
    if (MakeSwizzle(dst, src, kInOrder, kNoFlips, &run)) {
        Move(run, count);
    } else {
        CopyPixels(dst, src, count);
    }
}

void Gather(const PixelRun& src, std::ptrdiff_t count, std::uint8_t* packed) {
    MoveOrCopy(PackedRun(packed, src.channels.count), src, count);
}

void Scatter(const PixelRun& dst, std::ptrdiff_t count, const std::uint8_t* packed) {
    MoveOrCopy(dst, PackedRun(packed, dst.channels.count), count);
}

// --- pictures of the host -------------------------------------------------------------------------------------------

// Where red, green, blue and the fourth byte lie, on processors that store the low byte of a word first.
constexpr ChannelSet kPicture[kPicturePixels] = {{4, {2, 1, 0, 3}}, {3, {0, 1, 2}}, {4, {1, 2, 3, 0}}};
constexpr std::uint8_t kFourth[kPicturePixels] = {0, 0, 255};

template <bool kGray, PicturePixel kPixel>
void Export(const std::uint8_t* src, std::ptrdiff_t pixelSize, const std::ptrdiff_t* offset, std::ptrdiff_t count,
            std::uint8_t* dst) {
    constexpr int kWhich = static_cast<int>(kPixel);
    constexpr signed char kFrom[] = {0, kGray ? 0 : 1, kGray ? 0 : 2, Swizzle::kConstant};
    constexpr std::uint8_t kFlips[] = {0, 0, 0, kFourth[kWhich]};
    PixelRun from{const_cast<std::uint8_t*>(src), pixelSize, {kGray ? 1 : 3, {}}};
    for (int c = 0; c < from.channels.count; ++c) from.channels.offset[c] = offset[c];
    const PixelRun to{dst, kPixel == PicturePixel::rgb24 ? 3 : kPictureWord, kPicture[kWhich]};
    SwizzleRun run;
    if (MakeSwizzle(to, from, kFrom, kFlips, &run)) return Move(run, count);
    for (std::ptrdiff_t i = 0; i < count; ++i, src += pixelSize, dst += to.step) {
        for (int c = 0; c < to.channels.count; ++c) {
            dst[to.channels.offset[c]] = kFrom[c] < 0 ? kFlips[c] : src[offset[kFrom[c]]];
        }
    }
}

// Slots of their own, which callers tell from those above.
template <PicturePixel kPixel>
void ExportWords(const std::uint8_t* src, std::ptrdiff_t, const std::ptrdiff_t* offset, std::ptrdiff_t count,
                 std::uint8_t* dst) {
    Export<false, kPixel>(src, kPictureWord, offset, count, dst);
}

// --- words ----------------------------------------------------------------------------------------------------------

// Three bytes of every four, from `kFirst` on or, reversed, up to it.
template <int kFirst, bool kReversed>
void PackWords(const WordMove&, std::uint8_t* dst, const std::uint8_t* src, const std::uint8_t*, std::ptrdiff_t count) {
    constexpr Swizzle kSwizzle = {4, 3, 3, 3, {kReversed ? 2 : 0, 1, kReversed ? 0 : 2}, {}};
    ZOR_TIER_FUNCTION(MoveBytes)(kSwizzle, dst, src + kFirst, count);
}

}  // namespace

void ZOR_TIER_FUNCTION(InitPack)(PackKernels* kernels) {
    for (int i = 0; i < ChannelSet::kMax; ++i) {
        kernels->gather[i] = Gather;
        kernels->scatter[i] = Scatter;
    }
}

// Not those from CMYK, which are arithmetic.
void ZOR_TIER_FUNCTION(InitExport)(ExportKernels* kernels) {
    ExportRowFunction* const gray = kernels->pixels[static_cast<int>(ExportColours::gray)];
    ExportRowFunction* const rgb = kernels->pixels[static_cast<int>(ExportColours::rgb)];
#define EXPORTS(pixel)                                                               \
    gray[static_cast<int>(PicturePixel::pixel)] = Export<true, PicturePixel::pixel>; \
    rgb[static_cast<int>(PicturePixel::pixel)] = Export<false, PicturePixel::pixel>
    EXPORTS(native32);
    EXPORTS(rgb24);
    EXPORTS(argb32);
    kernels->nativeWords = ExportWords<PicturePixel::native32>;
    kernels->argbWords = ExportWords<PicturePixel::argb32>;
}

void ZOR_TIER_FUNCTION(InitWords)(WordsKernels* kernels) {
    kernels->pack[0] = PackWords<0, false>;
    kernels->pack[1] = PackWords<1, false>;
    kernels->pack[2] = PackWords<1, true>;
    kernels->pack[3] = PackWords<0, true>;
}

}  // namespace zor
