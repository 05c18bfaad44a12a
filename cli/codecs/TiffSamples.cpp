#include "codecs/TiffSamples.h"

#include <algorithm>
#include <cstring>

#include "codecs/Samples.h"

namespace {

// Samples of any depth from 1 to 16 bits, packed from the highest bit on.
void Unpack(const std::uint8_t* packed, int bits, std::size_t count, std::uint16_t* out) {
    std::uint32_t window = 0;
    int held = 0;
    const std::uint32_t mask = (1U << bits) - 1;
    for (std::size_t i = 0; i < count; ++i) {
        for (; held < bits; held += 8) window = window << 8 | *packed++;
        held -= bits;
        out[i] = static_cast<std::uint16_t>(window >> held & mask);
    }
}

// Divides 8-bit colours by the alpha that stands behind them.
void DivideByAlpha(int channels, int width, std::uint8_t* row) {
    for (int x = 0; x < width; ++x, row += channels) {
        const std::uint8_t alpha = row[channels - 1];
        for (int c = 0; c < channels - 1; ++c)
            row[c] = alpha == 0 ? std::uint8_t{0} : SampleIn8Bits(std::min(row[c], alpha), alpha);
    }
}

}  // namespace

TiffRowConverter::TiffRowConverter(const TiffSamples& layout)
    : layout_(layout), channels_(Describe(layout.kind).channels), most_((1U << layout.bits) - 1) {
    for (std::uint32_t i = 0; i <= std::min(most_, 255U); ++i)
        levels_[i] = SampleIn8Bits(layout_.whiteIsZero ? most_ - i : i, most_);
}

template <typename Sample>
std::uint8_t TiffRowConverter::Level(Sample sample) const {
    if constexpr (sizeof(Sample) == 1) return levels_[sample];
    if (most_ <= 255) return levels_[sample & 255U];
    const std::uint32_t value = layout_.whiteIsZero ? most_ - sample : sample;
    return most_ == 65535 ? SampleIn8Bits(value, 65535) : SampleIn8Bits(value, most_);
}

void TiffRowConverter::Convert(int plane, const std::uint8_t* packed, int width, std::uint8_t* out) {
    // However many samples a pixel has, those at work stay few. Eight pixels always fill whole bytes.
    constexpr int kMaxSamples = 1 << 16;
    const int stored = layout_.planes ? 1 : layout_.samples;
    const std::int64_t most = std::max(kMaxSamples / stored / 8, 1) * 8;
    for (std::int64_t x = 0; x < width; x += most)
        ConvertPiece(plane, packed + x * stored / 8 * layout_.bits, static_cast<int>(std::min(most, width - x)),
                     out + x * channels_);
}

void TiffRowConverter::ConvertPiece(int plane, const std::uint8_t* packed, int width, std::uint8_t* out) {
    const auto count = static_cast<std::size_t>(width) * static_cast<unsigned>(layout_.planes ? 1 : layout_.samples);
    const bool asTheyAre = layout_.bits == 8 && !layout_.planes && layout_.samples == channels_ &&
                           !layout_.associated && !layout_.whiteIsZero && layout_.palette.empty();
    if (asTheyAre) {
        std::memcpy(out, packed, count);
    } else if (layout_.bits == 8) {
        ConvertSamples(plane, packed, width, out);
    } else {
        unpacked_.resize(std::max(unpacked_.size(), count));
        if (layout_.bits == 16)
            std::memcpy(unpacked_.data(), packed, count * 2);
        else
            Unpack(packed, layout_.bits, count, unpacked_.data());
        ConvertSamples(plane, unpacked_.data(), width, out);
    }
}

template <typename Sample>
void TiffRowConverter::ConvertSamples(int plane, const Sample* in, int width, std::uint8_t* out) const {
    if (layout_.associated && !layout_.planes && layout_.palette.empty()) {
        DivideRow(in, width, out);
        return;
    }
    const int step = layout_.planes ? 1 : layout_.samples;
    const int first = layout_.planes ? plane : 0;
    const auto holds = [&](int sample) { return sample >= first && sample < first + step; };
    if (!layout_.palette.empty()) {
        if (holds(0))
            for (int x = 0; x < width; ++x) std::memcpy(out + x * channels_, layout_.palette[in[x * step]].data(), 3);
    } else {
        for (int c = 0; c < layout_.colours; ++c)
            if (holds(c))
                for (int x = 0; x < width; ++x) out[x * channels_ + c] = Level(in[x * step + c - first]);
    }
    // Alpha is never ink, so that it is not turned over with gray that is.
    if (layout_.alphaAt >= 0 && holds(layout_.alphaAt))
        for (int x = 0; x < width; ++x)
            out[x * channels_ + channels_ - 1] = SampleIn8Bits(in[x * step + layout_.alphaAt - first], most_);
    const bool last = !layout_.planes || plane == layout_.alphaAt;
    if (layout_.associated && last) DivideByAlpha(channels_, width, out);
}

// The colour that was multiplied is v of a where the file says v of all: it is divided before bits are lost.
template <typename Sample>
void TiffRowConverter::DivideRow(const Sample* in, int width, std::uint8_t* out) const {
    for (int x = 0; x < width; ++x, in += layout_.samples, out += channels_) {
        const std::uint32_t alpha = in[layout_.alphaAt];
        for (int c = 0; c < layout_.colours; ++c) {
            const std::uint32_t value = layout_.whiteIsZero ? most_ - in[c] : in[c];
            out[c] = alpha == 0 ? std::uint8_t{0} : SampleIn8Bits(std::min(value, alpha), alpha);
        }
        out[channels_ - 1] = SampleIn8Bits(alpha, most_);
    }
}
