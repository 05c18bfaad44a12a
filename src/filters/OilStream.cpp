#include "filters/OilStream.h"

#include <algorithm>
#include <cstring>

#include "filters/OilClasses.h"
#include "filters/PixelSide.h"

namespace zor {

namespace {

// A window whose samples count as much as the alpha that stands behind their colours.
template <int kColours>
struct WeighedWindow {
    LargeClasses channel[kColours];
    std::int64_t weight;

    void Clear() {
        for (LargeClasses& each : channel) each.Clear();
        weight = 0;
    }
    void Count(const std::uint8_t* pixel, const std::uint8_t* classOf, std::uint32_t sign) {
        const std::uint32_t alpha = pixel[kColours];
        if (alpha == 0) return;
        weight += static_cast<std::int32_t>(sign * alpha);
        for (int c = 0; c < kColours; ++c) {
            const std::uint8_t k = classOf[pixel[c]];
            channel[c].count[k] += sign * alpha;
            channel[c].sum[k] += sign * alpha * pixel[c];
        }
    }
};

}  // namespace

bool OilStream::Start(const OilStreamRequest& request) {
    started_ = false;
    fed_ = next_ = 0;
    if (request.width < 1 || request.height < 1 || request.channels < 1 || request.channels > 4 ||
        (request.hasAlpha && request.channels % 2 != 0) || request.classes < 1 || request.classes > 256 ||
        request.range < 0 || request.range > OilStreamRequest::kMaxRange) {
        return false;
    }
    request_ = request;
    for (int i = 0; i < 256; ++i) classOf_[i] = static_cast<std::uint8_t>(i * request.classes / 256);
    slots_ = std::min(2 * request.range + 1, request.height);
    rows_ = HeapArray<std::uint8_t>(slots_, samples());
    opaque_.assign(static_cast<std::size_t>(slots_), true);
    window_.reserve(static_cast<std::size_t>(slots_));
    constexpr std::int64_t kMostBytes = std::int64_t{1} << 30;
    byVectors_ = ProcessKernels().tier != CpuTier::plain &&
                 OilRing::Serves(request.width, request.channels, request.classes, request.range, kMostBytes);
    if (byVectors_) ring_ = OilRing(request.width, request.channels, request.classes, request.range);
    byVectors_ = byVectors_ && ring_;
    started_ = static_cast<bool>(rows_);
    return started_;
}

std::uint8_t* OilStream::RowAt(int y) const {
    return rows_.get() + y % slots_ * samples();
}

bool OilStream::Feed(const std::uint8_t* row) {
    if (!started_ || !WantsRow()) return false;
    std::memcpy(RowAt(fed_), row, static_cast<std::size_t>(samples()));
    if (request_.hasAlpha) {
        const WeighedShape shape = request_.channels == 2 ? kGrayByAlpha : kColoursByAlpha;
        opaque_[static_cast<std::size_t>(fed_ % slots_)] =
            request_.kernels->weighed.isOpaque[shape](row, request_.width);
    }
    if (byVectors_) {
        ring_.Bring(fed_, row);
        if (fed_ < request_.range) ring_.Slide(OilRing::kNone, fed_, 0, samples());
    }
    ++fed_;
    return true;
}

bool OilStream::Take(std::uint8_t* row) {
    if (!started_ || next_ == request_.height || WantsRow()) return false;
    window_.clear();
    bool opaque = true;
    for (int y = std::max(next_ - request_.range, 0); y <= std::min(next_ + request_.range, request_.height - 1); ++y) {
        window_.push_back(RowAt(y));
        opaque = opaque && opaque_[static_cast<std::size_t>(y % slots_)];
    }
    if (byVectors_) {
        SlideAndPaint(row);
    } else if (opaque) {
        WithChannelCount(request_.channels, [&](auto kCount) { PaintOpaque<kCount>(row); });
    }
    if (!opaque) {
        request_.channels == 2 ? PaintWeighed<1>(row) : PaintWeighed<3>(row);
    }
    ++next_;
    return true;
}

void OilStream::SlideAndPaint(std::uint8_t* row) {
    const std::int64_t y = next_, range = request_.range, last = request_.height - 1;
    const std::int64_t above = y - range - 1, below = y + range <= last ? y + range : OilRing::kNone;
    ring_.SlideAndPaint(above, below, std::max<std::int64_t>(y - range, 0), std::min(y + range, last),
                        OilMeans::rounded, row);
}

template <int kCount>
void OilStream::PaintOpaque(std::uint8_t* row) {
    const auto paint = [&](auto window) {
        window.classOf = classOf_;
        window.classes = request_.classes;
        window.rows = window_.data();
        window.rowCount = static_cast<int>(window_.size());
        window.PaintRow(request_.width, request_.range, row);
    };
    // One column more than the window has: a new one comes before the old one goes.
    const std::int64_t most = std::int64_t{slots_} * std::min(2 * request_.range + 2, request_.width);
    if (most <= kMaxSmall) {
        paint(OilWindow<kCount, SmallClasses, RoundedMean>());
    } else if (most <= kMaxMedium) {
        paint(OilWindow<kCount, MediumClasses, RoundedMean>());
    } else {
        paint(OilWindow<kCount, LargeClasses, RoundedMean>());
    }
}

template <int kColours>
void OilStream::PaintWeighed(std::uint8_t* row) {
    constexpr int kChannels = kColours + 1;
    const int width = request_.width, range = request_.range;
    const std::uint8_t* const own = RowAt(next_);
    WeighedWindow<kColours> window;
    window.Clear();
    const auto countColumn = [&](int x, std::uint32_t sign) {
        for (const std::uint8_t* pixels : window_) window.Count(pixels + std::ptrdiff_t{x} * kChannels, classOf_, sign);
    };
    for (int x = 0; x < std::min(range, width); ++x) countColumn(x, 1);
    for (int x = 0; x < width; ++x) {
        if (x + range < width) countColumn(x + range, 1);
        if (x - range > 0) countColumn(x - range - 1, ~std::uint32_t{0});
        const std::uint8_t* const pixel = own + std::ptrdiff_t{x} * kChannels;
        std::uint8_t* const out = row + std::ptrdiff_t{x} * kChannels;
        std::memcpy(out, pixel, kChannels);
        if (pixel[kColours] == 0) continue;
        for (int c = 0; c < kColours; ++c) {
            LargeClasses& classes = window.channel[c];
            out[c] = RoundedMean::Of(classes, classes.Mode(request_.classes, window.weight));
        }
    }
}

}  // namespace zor
