#include "filters/StampStream.h"

#include <algorithm>

#include "filters/Curves.h"

namespace zor {

namespace {

constexpr int kSteps = 3;
constexpr int kValues = 255 * BlurStream::kWordsOfLevel + 1;

BlurStreamRequest BlurOf(const StampStreamRequest& request) {
    BlurStreamRequest blur{request.width,  request.height, request.channels, request.hasAlpha, request.radius,
                           request.radius, kSteps,         request.store,    request.kernels};
    blur.toWords = true;
    return blur;
}

// Rows of alpha wait until the blur has seen what lies below them.
std::int64_t AlphaRows(const StampStreamRequest& request) {
    return request.hasAlpha ? std::min<std::int64_t>(kSteps * std::int64_t{request.radius} + 1, request.height) : 0;
}

}  // namespace

std::int64_t StampStreamRequest::waitingRows() const {
    return BlurOf(*this).waitingRows() + AlphaRows(*this);
}

std::int64_t StampStreamRequest::waitingRowBytes() const {
    return BlurOf(*this).waitingRowBytes();
}

bool StampStream::Start(const StampStreamRequest& request) {
    fed_ = next_ = 0;
    request_ = request;
    blur_ = {};
    if (request.width < 1 || request.height < 1 || request.channels < 1 || request.channels > 4) return false;
    if (!request_.store && !MakeRowStore(request.waitingRows(), request.waitingRowBytes(), &memory_, &request_.store)) {
        return false;
    }
    if (!blur_.Start(BlurOf(request_))) return false;
    const int colours = request.channels - (request.hasAlpha ? 1 : 0);
    tables_.resize(static_cast<std::size_t>(colours) * kValues);
    for (std::size_t c = 0; c < static_cast<std::size_t>(colours); ++c) {
        for (int word = 0; word < kValues; ++word) {
            const double level = word / static_cast<double>(BlurStream::kWordsOfLevel);
            const double value =
                StampValue(request.threshold, request.softness, request.black[c], request.white[c], level);
            tables_[c * kValues + static_cast<std::size_t>(word)] =
                static_cast<std::uint8_t>(static_cast<int>(value + 0.5));
        }
    }
    blurred_.resize(static_cast<std::size_t>(request.width) * static_cast<std::size_t>(request.channels));
    return true;
}

std::uint8_t* StampStream::AlphasAt(int row) const {
    return request_.store(BlurOf(request_).waitingRows() + row % AlphaRows(request_));
}

bool StampStream::Feed(const std::uint8_t* row) {
    if (!blur_.Feed(row)) return false;
    if (request_.hasAlpha) {
        std::uint8_t* const alphas = AlphasAt(fed_);
        const std::ptrdiff_t channels = request_.channels;
        for (std::ptrdiff_t x = 0; x < request_.width; ++x) alphas[x] = row[x * channels + channels - 1];
    }
    ++fed_;
    return true;
}

bool StampStream::Take(std::uint8_t* row) {
    if (!blur_.TakeWords(blurred_.data())) return false;
    const std::ptrdiff_t channels = request_.channels, colours = channels - (request_.hasAlpha ? 1 : 0);
    const std::uint16_t* const words = blurred_.data();
    for (std::ptrdiff_t x = 0; x < request_.width; ++x) {
        for (std::ptrdiff_t c = 0; c < colours; ++c) {
            row[x * channels + c] = tables_[static_cast<std::size_t>(c * kValues + words[x * channels + c])];
        }
    }
    if (request_.hasAlpha) {
        const std::uint8_t* const alphas = AlphasAt(next_);
        for (std::ptrdiff_t x = 0; x < request_.width; ++x) row[x * channels + channels - 1] = alphas[x];
    }
    ++next_;
    return true;
}

}  // namespace zor
