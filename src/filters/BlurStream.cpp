#include "filters/BlurStream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zor {

namespace {

WindowShape ShapeOf(const BlurStreamRequest& request) {
    const WindowSamples samples = request.iterations > 1 || request.toWords ? WindowSamples::words
                                  : request.hasAlpha                        ? WindowSamples::weighedBytes
                                                                            : WindowSamples::bytes;
    return {request.width, request.height, request.channels, samples, request.across, request.down};
}

bool IsInRange(const BlurStreamRequest& request) {
    const auto isRadius = [](int radius) { return radius >= 0 && radius <= WindowShape::kMaxRadius; };
    return request.width >= 1 && request.height >= 1 && request.channels >= 1 && request.channels <= 4 &&
           (!request.hasAlpha || request.channels % 2 == 0) && isRadius(request.across) && isRadius(request.down) &&
           request.iterations >= 1;
}

// Sums of weighed pixels as pixels; colours of clear ones are 0.
template <int kChannels>
void Unweigh(const WindowSums& sums, std::ptrdiff_t pixels, double alphaScale, std::uint16_t* words) {
    constexpr double kMost = 255.0 * BlurStream::kWordsOfLevel;
    for (std::ptrdiff_t i = 0; i < pixels * kChannels; i += kChannels) {
        const auto sum = [&](int c) {
            return static_cast<double>(static_cast<std::int32_t>(sums.last[i + c] - sums.first[i + c]));
        };
        const double alpha = sum(kChannels - 1), scale = kMost / std::max(alpha, 1.0);
        for (int c = 0; c < kChannels - 1; ++c) {
            words[i + c] = static_cast<std::uint16_t>(static_cast<int>(std::min(sum(c) * scale, kMost) + 0.5));
        }
        words[i + kChannels - 1] = static_cast<std::uint16_t>(static_cast<int>(alpha * alphaScale + 0.5));
    }
}

}  // namespace

bool MakeRowStore(std::int64_t rows, std::int64_t rowBytes, HeapArray<std::uint8_t>* memory, RowStore* store) {
    *memory = HeapArray<std::uint8_t>(rows, rowBytes);
    *store = [bytes = memory->get(), rowBytes](std::int64_t row) { return bytes + row * rowBytes; };
    return static_cast<bool>(*memory);
}

std::int64_t BlurStreamRequest::waitingRows() const {
    return ShapeOf(*this).rows() * iterations;
}

std::int64_t BlurStreamRequest::waitingRowBytes() const {
    return ShapeOf(*this).rowBytes();
}

bool BlurStream::Start(const BlurStreamRequest& request) {
    steps_.clear();
    if (!IsInRange(request)) return false;
    request_ = request;
    if (!request_.store && !MakeRowStore(request.waitingRows(), request.waitingRowBytes(), &memory_, &request_.store)) {
        return false;
    }
    const WindowShape shape = ShapeOf(request);
    const bool words = shape.samples == WindowSamples::words;
    const std::int64_t samples = std::int64_t{shape.width} * shape.channels;
    std::vector<Step> steps(static_cast<std::size_t>(request.iterations));
    for (std::size_t i = 0; i < steps.size(); ++i) {
        Step& step = steps[i];
        step.words = HeapArray<std::uint16_t>(words ? samples : 0);
        const std::int64_t firstRow = static_cast<std::int64_t>(i) * shape.rows();
        if (!step.words || !step.window.Start(shape, request_.store, firstRow, *request.kernels)) return false;
        const bool bytesOfWords = words && i + 1 == steps.size() && !request.toWords;
        step.mean = MakeWindowMean(step.window.divisor() * (bytesOfWords ? kWordsOfLevel : 1));
    }
    steps_ = std::move(steps);
    return true;
}

bool BlurStream::Feed(const std::uint8_t* row) {
    if (steps_.empty() || !steps_[0].window.WantsRow()) return false;
    const WindowShape shape = ShapeOf(request_);
    if (shape.samples != WindowSamples::words) {
        steps_[0].window.Feed(row);
        return true;
    }
    std::uint16_t* const words = steps_[0].words.get();
    if (request_.hasAlpha) {
        request_.kernels->windows.weigh[shape.channels / 4](row, shape.width, words);
    } else {
        const std::ptrdiff_t samples = std::ptrdiff_t{shape.width} * shape.channels;
        for (std::ptrdiff_t i = 0; i < samples; ++i) words[i] = static_cast<std::uint16_t>(row[i] * kWordsOfLevel);
    }
    steps_[0].window.Feed(reinterpret_cast<const std::uint8_t*>(words));
    return true;
}

bool BlurStream::Take(std::uint8_t* row) {
    return !steps_.empty() && !request_.toWords && MakeRow(steps_.size() - 1, row);
}

bool BlurStream::TakeWords(std::uint16_t* row) {
    return !steps_.empty() && request_.toWords && MakeRow(steps_.size() - 1, reinterpret_cast<std::uint8_t*>(row));
}

// The next row of a step: what is asked for of the last one, words of all others. It takes what it needs from the step
// before.
bool BlurStream::MakeRow(std::size_t index, std::uint8_t* row) {
    Step& step = steps_[index];
    while (step.window.WantsRow()) {
        std::uint8_t* const words = reinterpret_cast<std::uint8_t*>(step.words.get());
        if (index == 0 || !MakeRow(index - 1, words)) return false;
        step.window.Feed(words);
    }
    if (!step.window.IsWhole()) return false;
    const std::ptrdiff_t samples = std::ptrdiff_t{request_.width} * request_.channels;
    if (index + 1 < steps_.size()) {
        request_.kernels->windows.toWords(step.window.sums(), samples, step.mean,
                                          reinterpret_cast<std::uint16_t*>(row));
    } else {
        Finish(step, row);
    }
    step.window.Advance();
    return true;
}

// The result, out of the sums of the last step.
void BlurStream::Finish(const Step& step, std::uint8_t* row) const {
    const WindowKernels& kernels = request_.kernels->windows;
    const std::ptrdiff_t width = request_.width, samples = width * request_.channels;
    const WindowSums sums = step.window.sums();
    std::uint16_t* const words = reinterpret_cast<std::uint16_t*>(row);
    const double wordScale = 1.0 / static_cast<double>(step.window.divisor());
    if (!request_.hasAlpha) {
        request_.toWords ? kernels.toWords(sums, samples, step.mean, words)
                         : kernels.toBytes(sums, samples, step.mean, row);
    } else if (request_.toWords) {
        (request_.channels == 2 ? Unweigh<2> : Unweigh<4>)(sums, width, wordScale, words);
    } else {
        kernels.unweigh[request_.channels / 4](sums, width, wordScale / kWordsOfLevel, row);
    }
}

}  // namespace zor
