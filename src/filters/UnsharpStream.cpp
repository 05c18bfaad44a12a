#include "filters/UnsharpStream.h"

#include "filters/BlurStream.h"

namespace zor {

static WindowShape ShapeOf(const UnsharpStreamRequest& request) {
    const WindowSamples samples = request.hasAlpha ? WindowSamples::weighedBytes : WindowSamples::bytes;
    return {request.width, request.height, request.channels, samples, request.radius, request.radius};
}

std::int64_t UnsharpStreamRequest::waitingRows() const {
    return ShapeOf(*this).rows();
}

bool UnsharpStream::Start(const UnsharpStreamRequest& request) {
    started_ = false;
    if (request.width < 1 || request.height < 1 || request.channels < 1 || request.channels > 4 ||
        (request.hasAlpha && request.channels % 2 != 0) || request.radius < 0 ||
        request.radius > WindowShape::kMaxRadius || request.threshold < 0 || request.threshold > 256 ||
        !(request.amount >= 0)) {
        return false;
    }
    request_ = request;
    const WindowShape shape = ShapeOf(request);
    if (!request_.store && !MakeRowStore(shape.rows(), shape.rowBytes(), &memory_, &request_.store)) return false;
    started_ = window_.Start(shape, request_.store, 0, *request.kernels);
    return started_;
}

bool UnsharpStream::Feed(const std::uint8_t* row) {
    if (!started_ || !window_.WantsRow()) return false;
    window_.Feed(row);
    return true;
}

bool UnsharpStream::Take(std::uint8_t* row) {
    if (!started_ || !window_.IsWhole()) return false;
    const WindowKernels& kernels = request_.kernels->windows;
    const double factor = 4.0 * request_.amount;
    if (request_.hasAlpha) {
        kernels.sharpenWeighed[request_.channels / 4](window_.sums(), window_.middle(), request_.width,
                                                      {static_cast<double>(request_.threshold), factor}, row);
    } else {
        const auto divisor = static_cast<std::int32_t>(window_.divisor());
        const auto scale = static_cast<float>(factor / static_cast<double>(divisor));
        kernels.sharpen(window_.sums(), window_.middle(), std::ptrdiff_t{request_.width} * request_.channels,
                        {divisor, request_.threshold * divisor, scale}, row);
    }
    window_.Advance();
    return true;
}

}  // namespace zor
