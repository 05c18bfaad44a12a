#include "filters/MatrixStream.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zor {

bool MatrixStream::Start(const MatrixStreamRequest& request) {
    started_ = false;
    fed_ = next_ = 0;
    if (request.width < 1 || request.height < 1 || request.channels < 1 || request.channels > 4 ||
        (request.hasAlpha && request.channels % 2 != 0) || request.side < 1 || !std::isfinite(request.factor)) {
        return false;
    }
    request_ = request;
    ReadCells();
    constexpr double kRounds = 0.5;
    finish_ = {request.delta, request.factor, kRounds};
    std::int64_t most = request.delta;
    for (const Cell& cell : cells_) most += 255 * std::int64_t{std::max(cell.weight, 0)};
    finish_.wordScale = FindWordScale(finish_, most);

    const std::int64_t edges = (std::int64_t{left_} + right_) * request.channels;
    rows_ = HeapArray<std::uint8_t>(std::int64_t{above_} + 1 + below_,
                                    std::int64_t{request.width} * request.channels + edges);
    notOpaque_ = HeapArray<std::uint8_t>(request.hasAlpha ? request.width : 0);
    started_ = rows_ && notOpaque_;
    return started_;
}

// Farther away than the picture is wide or high there are edge pixels only.
void MatrixStream::ReadCells() {
    cells_.clear();
    above_ = below_ = left_ = right_ = 0;
    const int side = request_.side, mostColumns = request_.width - 1, mostRows = request_.height - 1;
    for (int i = 0; i < static_cast<int>(request_.weights.size()) && i / side < side; ++i) {
        const int weight = request_.weights[static_cast<std::size_t>(i)];
        if (weight == 0) continue;
        const int row = std::clamp(i / side - side / 2, -mostRows, mostRows);
        const int column = std::clamp(i % side - side / 2, -mostColumns, mostColumns);
        cells_.push_back({row, column, weight});
        above_ = std::max(above_, -row);
        below_ = std::max(below_, row);
        left_ = std::max(left_, -column);
        right_ = std::max(right_, column);
    }
}

std::uint8_t* MatrixStream::RowAt(int y) const {
    const std::ptrdiff_t channels = request_.channels, slots = std::ptrdiff_t{above_} + 1 + below_;
    const std::ptrdiff_t rowBytes = samples() + (left_ + right_) * channels;
    return rows_.get() + std::clamp(y, 0, request_.height - 1) % slots * rowBytes + left_ * channels;
}

bool MatrixStream::Feed(const std::uint8_t* row) {
    if (!started_ || !WantsRow()) return false;
    const std::size_t pixel = static_cast<std::size_t>(request_.channels);
    std::uint8_t* const first = RowAt(fed_++);
    std::memcpy(first, row, static_cast<std::size_t>(samples()));
    std::uint8_t* const behind = first + samples();
    for (std::ptrdiff_t i = 1; i <= left_; ++i) std::memcpy(first - i * request_.channels, first, pixel);
    for (std::ptrdiff_t i = 0; i < right_; ++i) {
        std::memcpy(behind + i * request_.channels, behind - pixel, pixel);
    }
    return true;
}

bool MatrixStream::Take(std::uint8_t* row) {
    if (!started_ || next_ == request_.height || WantsRow()) return false;
    const std::ptrdiff_t channels = request_.channels, width = request_.width;
    taps_.clear();
    for (const Cell& cell : cells_) {
        taps_.push_back({RowAt(next_ + cell.row) + cell.column * channels, cell.weight});
    }
    request_.kernels->matrix.convolve(taps_.data(), static_cast<int>(taps_.size()), finish_, samples(), row);
    if (request_.hasAlpha) {
        const std::uint8_t* const own = RowAt(next_);
        for (std::ptrdiff_t i = channels - 1; i < samples(); i += channels) row[i] = own[i];
        if (FindClearPixels()) {
            const std::uint8_t* const flags = notOpaque_.get();
            std::ptrdiff_t lastFlag = -1;  // the last marked pixel of those looked at
            for (std::ptrdiff_t x = 0, known = 0; x < width; ++x) {
                for (; known < width && known <= x + right_; ++known) {
                    if (flags[known]) lastFlag = known;
                }
                if (lastFlag >= 0 && lastFlag >= x - left_) Weigh(x, row + x * channels);
            }
        }
    }
    ++next_;
    return true;
}

// Marks the pixels over and under which one is not opaque. False where there is none.
bool MatrixStream::FindClearPixels() {
    const std::ptrdiff_t channels = request_.channels, width = request_.width;
    std::uint8_t* const flags = notOpaque_.get();
    std::memset(flags, 0, static_cast<std::size_t>(width));
    for (int y = next_ - above_; y <= next_ + below_; ++y) {
        const std::uint8_t* const alphas = RowAt(y) + channels - 1;
        for (std::ptrdiff_t x = 0; x < width; ++x) flags[x] |= static_cast<std::uint8_t>(255 - alphas[x * channels]);
    }
    return std::any_of(flags, flags + width, [](std::uint8_t flag) { return flag != 0; });
}

// A pixel of the result, where not all neighbours are opaque.
void MatrixStream::Weigh(std::ptrdiff_t x, std::uint8_t* pixel) const {
    const std::ptrdiff_t channels = request_.channels, alpha = channels - 1;
    const std::uint8_t* const own = RowAt(next_) + x * channels;
    if (own[alpha] == 0) {
        std::memcpy(pixel, own, static_cast<std::size_t>(channels));
        return;
    }
    for (std::ptrdiff_t c = 0; c < alpha; ++c) {
        std::int64_t sum = 0;  // of 255 times as much
        for (const MatrixTap& tap : taps_) {
            const std::uint8_t* const neighbour = tap.samples + x * channels;
            sum += std::int64_t{tap.weight} * (255 * own[c] + neighbour[alpha] * (neighbour[c] - own[c]));
        }
        const double value = (static_cast<double>(sum) / 255.0 + request_.delta) * request_.factor;
        pixel[c] = static_cast<std::uint8_t>(static_cast<int>(std::clamp(value, 0.0, 255.0) + 0.5));
    }
}

}  // namespace zor
