#include "filters/NeonStream.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zor {

namespace {

std::uint8_t Glow(double squares) {
    return static_cast<std::uint8_t>(static_cast<int>(std::min(std::sqrt(2.0 * squares), 255.0) + 0.5));
}

// By whole squares; from the last one on, half of 255 squared, the glow is full.
constexpr int kFullGlow = 32513;
struct GlowTable {
    std::uint8_t glow[kFullGlow + 1];
    GlowTable() {
        for (int squares = 0; squares <= kFullGlow; ++squares) glow[squares] = Glow(squares);
    }
};
const GlowTable& Glows() {
    static const GlowTable table;
    return table;
}

}  // namespace

bool NeonStream::Start(const NeonStreamRequest& request) {
    started_ = false;
    fed_ = next_ = 0;
    if (request.width < 1 || request.height < 1 || request.channels < 1 || request.channels > 4 ||
        (request.hasAlpha && request.channels % 2 != 0)) {
        return false;
    }
    request_ = request;
    rows_ = HeapArray<std::uint8_t>(2, (std::int64_t{request.width} + 1) * request.channels);
    started_ = static_cast<bool>(rows_);
    return started_;
}

std::uint8_t* NeonStream::RowAt(int y) const {
    return rows_.get() + std::min(y, request_.height - 1) % 2 * (samples() + request_.channels);
}

bool NeonStream::Feed(const std::uint8_t* row) {
    if (!started_ || !WantsRow()) return false;
    std::uint8_t* const copy = RowAt(fed_++);
    std::memcpy(copy, row, static_cast<std::size_t>(samples()));
    std::copy_n(copy + samples() - request_.channels, request_.channels, copy + samples());
    return true;
}

bool NeonStream::Take(std::uint8_t* row) {
    if (!started_ || next_ == request_.height || WantsRow()) return false;
    const std::uint8_t *const here = RowAt(next_), *const below = RowAt(next_ + 1);
    const auto isOpaque = [this](const std::uint8_t* pixels) {
        return request_.kernels->weighed.isOpaque[request_.channels == 2 ? kGrayByAlpha : kColoursByAlpha](
            pixels, request_.width);
    };
    if (request_.hasAlpha && !(isOpaque(here) && isOpaque(below))) {
        GlowByAlpha(here, below, row);
    } else {
        const GlowTable& table = Glows();
        const std::uint8_t* const aside = here + request_.channels;
        for (std::ptrdiff_t i = 0; i < samples(); ++i) {
            const int across = here[i] - aside[i], down = here[i] - below[i];
            row[i] = table.glow[std::min(across * across + down * down, kFullGlow)];
        }
        if (request_.hasAlpha) {
            for (std::ptrdiff_t i = request_.channels - 1; i < samples(); i += request_.channels) row[i] = 255;
        }
    }
    ++next_;
    return true;
}

void NeonStream::GlowByAlpha(const std::uint8_t* here, const std::uint8_t* below, std::uint8_t* row) const {
    const std::ptrdiff_t channels = request_.channels, alpha = channels - 1;
    for (std::ptrdiff_t i = 0; i < samples(); i += channels) {
        const std::uint8_t* const aside = here + i + channels;
        std::memcpy(row + i, here + i, static_cast<std::size_t>(channels));
        if (here[i + alpha] == 0) continue;
        for (std::ptrdiff_t c = 0; c < alpha; ++c) {
            const double across = (here[i + c] - aside[c]) * (aside[alpha] / 255.0);
            const double down = (here[i + c] - below[i + c]) * (below[i + alpha] / 255.0);
            row[i + c] = Glow(across * across + down * down);
        }
    }
}

}  // namespace zor
