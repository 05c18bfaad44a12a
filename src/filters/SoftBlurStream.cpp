#include "filters/SoftBlurStream.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zor {

// The two neighbours on an axis get 2 * radius / (1 + 2 * radius) of what all three weigh.
bool SoftBlurStream::Start(const SoftBlurStreamRequest& request) {
    started_ = false;
    fed_ = next_ = 0;
    if (request.width < 1 || request.height < 1 || request.channels < 1 || request.channels > 4 ||
        (request.hasAlpha && request.channels % 2 != 0) || !(request.radius >= 0 && request.radius <= 1)) {
        return false;
    }
    request_ = request;
    constexpr double kAll = 65536;
    const double side = 1 + 2 * request.radius;
    const int beside = static_cast<int>(std::lround(kAll * 2 * request.radius / side));
    copies_ = beside == 0;
    weights_ = {static_cast<std::uint16_t>(static_cast<int>(kAll) - beside), static_cast<std::uint16_t>(beside)};
    nine_.side = static_cast<std::uint32_t>(std::lround(kAll * request.radius / (side * side)));
    nine_.corner = static_cast<std::uint32_t>(std::lround(kAll * request.radius * request.radius / (side * side)));
    nine_.middle = static_cast<std::uint32_t>(kAll) - 4 * (nine_.side + nine_.corner);

    const std::int64_t samples = std::int64_t{request.width} * request.channels;
    const std::int64_t withEdges = samples + 2 * request.channels;
    const bool weighs = request.hasAlpha && !copies_;
    bytes_ = HeapArray<std::uint8_t>(kRows, weighs ? 0 : samples);
    words_ = HeapArray<std::uint16_t>(weighs ? kRows : 1, withEdges);
    sums_ = HeapArray<std::uint32_t>(weighs ? samples : 0);
    zeros_ = HeapArray<std::uint32_t>(weighs ? samples : 0);
    started_ = bytes_ && words_ && sums_ && zeros_;
    return started_;
}

const std::uint8_t* SoftBlurStream::BytesAt(int row) const {
    return bytes_.get() + std::clamp(row, 0, request_.height - 1) % kRows * samples();
}

std::uint16_t* SoftBlurStream::WordsAt(int row) const {
    const std::ptrdiff_t channels = request_.channels, slot = std::clamp(row, 0, request_.height - 1) % kRows;
    return words_.get() + slot * (samples() + 2 * channels) + channels;
}

void SoftBlurStream::RepeatEdges(std::uint16_t* words) const {
    const std::ptrdiff_t channels = request_.channels;
    std::copy_n(words, channels, words - channels);
    std::copy_n(words + samples() - channels, channels, words + samples());
}

bool SoftBlurStream::Feed(const std::uint8_t* row) {
    if (!started_ || !WantsRow()) return false;
    if (request_.hasAlpha && !copies_) {
        std::uint16_t* const words = WordsAt(fed_);
        request_.kernels->windows.weigh[request_.channels / 4](row, request_.width, words);
        RepeatEdges(words);
    } else {
        std::memcpy(bytes_.get() + fed_ % kRows * samples(), row, static_cast<std::size_t>(samples()));
    }
    ++fed_;
    return true;
}

bool SoftBlurStream::Take(std::uint8_t* row) {
    if (!started_ || next_ == request_.height || WantsRow()) return false;
    if (copies_) {
        std::memcpy(row, BytesAt(next_), static_cast<std::size_t>(samples()));
    } else if (request_.hasAlpha) {
        SoftenWeighed(row);
    } else {
        SoftenBytes(row);
    }
    ++next_;
    return true;
}

void SoftBlurStream::SoftenBytes(std::uint8_t* row) {
    const WindowKernels& kernels = request_.kernels->windows;
    std::uint16_t* const words = words_.get() + request_.channels;
    kernels.softDown({BytesAt(next_), BytesAt(next_ - 1), BytesAt(next_ + 1)}, samples(), weights_, words);
    RepeatEdges(words);
    kernels.softAlong(words, request_.channels, samples(), weights_, row);
}

void SoftBlurStream::SoftenWeighed(std::uint8_t* row) {
    constexpr double kAlphaScale = 1.0 / (255.0 * 32768);  // of halved sums
    const WindowKernels& kernels = request_.kernels->windows;
    const std::uint16_t* const rows[kRows] = {WordsAt(next_ - 1), WordsAt(next_), WordsAt(next_ + 1)};
    kernels.softWords(rows, request_.channels, samples(), nine_, sums_.get());
    kernels.unweigh[request_.channels / 4]({zeros_.get(), sums_.get()}, request_.width, kAlphaScale, row);
}

}  // namespace zor
