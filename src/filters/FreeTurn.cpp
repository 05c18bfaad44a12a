#include "filters/FreeTurn.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zor {

namespace {

constexpr int kPlace = 1 << CubicLine::kPlaceBits;
// Places are rounded to phases, not cut off.
constexpr int kHalfPhase = 1 << (CubicLine::kPlaceBits - CubicWeights::kPhaseBits - 1);

// Rows and columns around a place that its weights need, and one for rounding.
constexpr int kBefore = 1, kBehind = 3;

std::uint8_t Rounded(double value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0) + 0.5);
}

int PhaseOf(std::int32_t place) {
    return place >> (CubicLine::kPlaceBits - CubicWeights::kPhaseBits) & (CubicWeights::kPhases - 1);
}

}  // namespace

bool FreeTurn::Start(const FreeTurnRequest& request) {
    constexpr double kPi = 3.141592653589793;
    request_ = request;
    weights_ = MakeCubicWeights();
    cosine_ = std::cos(request.degrees * kPi / 180);
    sine_ = std::sin(request.degrees * kPi / 180);
    side_ = static_cast<int>(kTile * (std::fabs(cosine_) + std::fabs(sine_))) + kBefore + kBehind + 2;
    rowBytes_ = std::ptrdiff_t{side_} * request.channels;
    part_ = HeapArray<std::uint8_t>(side_ * rowBytes_ + CubicLine::kMore);
    if (request.hasAlpha) multiplied_ = HeapArray<Sample>(side_, side_);
    return part_ && (!request.hasAlpha || multiplied_);
}

// Where the middle of a pixel of the result comes from.
FreeTurn::Place FreeTurn::PlaceOf(double x, double y) const {
    const double right = x - (request_.width - 1) / 2.0, down = y - (request_.height - 1) / 2.0;
    return {right * cosine_ - down * sine_ + (request_.srcWidth - 1) / 2.0,
            right * sine_ + down * cosine_ + (request_.srcHeight - 1) / 2.0};
}

// How much of a pixel around the place lies within the picture.
double FreeTurn::CoverOf(const Place& place) const {
    const auto along = [](double at, int length) { return std::clamp(std::min(at + 1, length - at), 0.0, 1.0); };
    return along(place.x, request_.srcWidth) * along(place.y, request_.srcHeight);
}

// False: nothing of the picture is there.
bool FreeTurn::Find(const PixelRect& result, Tile* tile) const {
    const std::int64_t right = result.x + result.width - 1, bottom = result.y + result.height - 1;
    Place low = PlaceOf(static_cast<double>(result.x), static_cast<double>(result.y)), high = low;
    for (const auto& [x, y] : {std::pair{right, result.y}, {result.x, bottom}, {right, bottom}}) {
        const Place corner = PlaceOf(static_cast<double>(x), static_cast<double>(y));
        low = {std::min(low.x, corner.x), std::min(low.y, corner.y)};
        high = {std::max(high.x, corner.x), std::max(high.y, corner.y)};
    }
    if (high.x <= -1 || high.y <= -1 || low.x >= request_.srcWidth || low.y >= request_.srcHeight) return false;
    const auto floor = [](double value) { return static_cast<std::int64_t>(std::floor(value)); };
    tile->result = result;
    tile->source.x = floor(low.x) - kBefore;
    tile->source.y = floor(low.y) - kBefore;
    tile->source.width = floor(high.x) + kBehind - tile->source.x + 1;
    tile->source.height = floor(high.y) + kBehind - tile->source.y + 1;
    tile->touchesEdge = low.x < 0 || low.y < 0 || high.x > request_.srcWidth - 1 || high.y > request_.srcHeight - 1;
    return true;
}

PixelRect FreeTurn::SourceOf(const PixelRect& block) const {
    Tile tile{};
    if (!Find(block, &tile)) return {};
    const auto cut = [](std::int64_t first, std::int64_t count, int length, auto* start, auto* rest) {
        *start = std::clamp<std::int64_t>(first, 0, length - 1);
        *rest = std::clamp<std::int64_t>(first + count, *start + 1, length) - *start;
    };
    PixelRect part{};
    cut(tile.source.x, tile.source.width, request_.srcWidth, &part.x, &part.width);
    cut(tile.source.y, tile.source.height, request_.srcHeight, &part.y, &part.height);
    return part;
}

// Beyond the edges the outermost pixels go on.
void FreeTurn::Load(const SourcePixels& source, const Tile& tile) {
    const std::ptrdiff_t channels = request_.channels;
    const auto repeat = [channels](const std::uint8_t* pixel, std::uint8_t* to, std::int64_t count) {
        for (std::int64_t i = 0; i < count; ++i, to += channels) std::copy_n(pixel, channels, to);
    };
    const PixelRect& whole = tile.source;
    const PixelRect there = SourceOf(tile.result);
    const std::int64_t before = std::clamp<std::int64_t>(there.x - whole.x, 0, whole.width - 1);
    const std::int64_t within = std::min(there.width, whole.width - before), behind = whole.width - before - within;
    std::uint8_t* dst = part_.get();
    for (std::int64_t y = whole.y; y < whole.y + whole.height; ++y, dst += rowBytes_) {
        const std::uint8_t* const from =
            source(static_cast<int>(there.x), static_cast<int>(std::clamp(y, there.y, there.y + there.height - 1)));
        repeat(from, dst, before);
        std::memcpy(dst + before * channels, from, static_cast<std::size_t>(within * channels));
        repeat(from + (within - 1) * channels, dst + (before + within) * channels, behind);
    }
}

bool FreeTurn::IsOpaque(const Tile& tile) const {
    int all = 255;
    for (std::int64_t y = 0; y < tile.source.height; ++y) {
        const std::uint8_t* const alpha = part_.get() + y * rowBytes_ + request_.channels - 1;
        for (std::int64_t x = 0; x < tile.source.width; ++x) all &= alpha[x * request_.channels];
    }
    return all == 255;
}

void FreeTurn::Multiply(const Tile& tile) {
    const int colours = request_.channels - 1;
    for (std::int64_t y = 0; y < tile.source.height; ++y) {
        const std::uint8_t* pixel = part_.get() + y * rowBytes_;
        Sample* sample = multiplied_.get() + y * side_;
        for (std::int64_t x = 0; x < tile.source.width; ++x, pixel += request_.channels, ++sample) {
            for (int c = 0; c < colours; ++c) sample->channel[c] = static_cast<float>(pixel[c] * pixel[colours]);
            sample->channel[3] = pixel[colours];
        }
    }
}

// Places are fixed before they are counted from the part that was loaded, so that no other part would change them.
CubicLine FreeTurn::LineOf(const Tile& tile, int row) const {
    const Place place =
        PlaceOf(static_cast<double>(tile.result.x), static_cast<double>(tile.result.y) + static_cast<double>(row));
    const auto fixed = [](double at) { return std::llround(at * kPlace); };
    const auto within = [&](double at, std::int64_t first) {
        return static_cast<std::int32_t>(fixed(at) - (first + 1) * kPlace + kHalfPhase);
    };
    return {part_.get(),
            rowBytes_,
            within(place.x, tile.source.x),
            within(place.y, tile.source.y),
            static_cast<std::int32_t>(fixed(cosine_)),
            static_cast<std::int32_t>(fixed(sine_)),
            &weights_};
}

double FreeTurn::CoverAt(const Tile& tile, int column, int row) const {
    return CoverOf(PlaceOf(static_cast<double>(tile.result.x + column), static_cast<double>(tile.result.y + row)));
}

void FreeTurn::SampleRow(const Tile& tile, int row, std::uint8_t* dst) const {
    Kernels().cubic.line[request_.channels - 1](LineOf(tile, row), dst, static_cast<std::ptrdiff_t>(tile.result.width));
}

// Colours by their alpha, and at edges by how much of the picture is there.
void FreeTurn::SampleMixedRow(const Tile& tile, int row, std::uint8_t* dst) const {
    const CubicLine line = LineOf(tile, row);
    const int colours = request_.channels - 1;
    const float groundAlpha = request_.ground[colours];
    constexpr float kWhole = 1 << CubicWeights::kBits;
    std::int32_t x = line.x, y = line.y;
    for (int i = 0; i < tile.result.width; ++i, x += line.dx, y += line.dy, dst += request_.channels) {
        const std::int16_t* const across = weights_.weight[PhaseOf(x)];
        const std::int16_t* const down = weights_.weight[PhaseOf(y)];
        const Sample* from =
            multiplied_.get() + std::ptrdiff_t{y >> CubicLine::kPlaceBits} * side_ + (x >> CubicLine::kPlaceBits);
        float sum[4] = {};
        for (int j = 0; j < 4; ++j, from += side_) {
            float rowSum[4] = {};
            for (int k = 0; k < 4; ++k)
                for (int c = 0; c < 4; ++c) rowSum[c] += from[k].channel[c] * (static_cast<float>(across[k]) / kWhole);
            for (int c = 0; c < 4; ++c) sum[c] += rowSum[c] * (static_cast<float>(down[j]) / kWhole);
        }
        // Past its neighbours the sum of alpha leads nowhere.
        const float scale = sum[3] > 255 ? 255 / sum[3] : sum[3] < 0 ? 0 : 1;
        sum[3] *= scale;
        for (int c = 0; c < colours; ++c) sum[c] = std::clamp(sum[c] * scale, 0.0f, 255 * sum[3]);
        if (tile.touchesEdge) {
            const auto cover = static_cast<float>(CoverAt(tile, i, row));
            const float ground = groundAlpha * (1 - cover);
            for (int c = 0; c < colours; ++c) sum[c] = sum[c] * cover + request_.ground[c] * ground;
            sum[3] = sum[3] * cover + ground;
        }
        for (int c = 0; c < colours; ++c) dst[c] = sum[3] > 0 ? Rounded(sum[c] / sum[3]) : std::uint8_t{0};
        dst[colours] = Rounded(sum[3]);
    }
}

// Opaque samples at edges.
void FreeTurn::CoverRow(const Tile& tile, int row, std::uint8_t* dst) const {
    const int colours = request_.channels - (request_.hasAlpha ? 1 : 0);
    const double groundAlpha = request_.hasAlpha ? request_.ground[colours] : 255;
    for (int i = 0; i < tile.result.width; ++i, dst += request_.channels) {
        const double cover = CoverAt(tile, i, row);
        if (cover == 1) continue;
        const double ground = groundAlpha * (1 - cover), alpha = 255 * cover + ground;
        for (int c = 0; c < colours; ++c)
            dst[c] =
                alpha > 0 ? Rounded((dst[c] * 255 * cover + request_.ground[c] * ground) / alpha) : std::uint8_t{0};
        if (request_.hasAlpha) dst[colours] = Rounded(alpha);
    }
}

void FreeTurn::Fill(std::uint8_t* dst, std::int64_t count) const {
    for (std::int64_t i = 0; i < count; ++i, dst += request_.channels)
        std::copy_n(request_.ground, request_.channels, dst);
}

void FreeTurn::TurnTile(const SourcePixels& source, const PixelRect& result, std::uint8_t* dst,
                        std::ptrdiff_t dstRowBytes) {
    Tile tile{};
    if (!Find(result, &tile)) {
        for (std::int64_t row = 0; row < result.height; ++row, dst += dstRowBytes) Fill(dst, result.width);
        return;
    }
    Load(source, tile);
    const bool opaque = !request_.hasAlpha || IsOpaque(tile);
    if (!opaque) Multiply(tile);
    for (int row = 0; row < result.height; ++row, dst += dstRowBytes) {
        if (!opaque) {
            SampleMixedRow(tile, row, dst);
        } else {
            SampleRow(tile, row, dst);
            if (tile.touchesEdge) CoverRow(tile, row, dst);
        }
    }
}

void FreeTurn::Turn(const SourcePixels& source, const PixelRect& block, std::uint8_t* dst, std::ptrdiff_t dstRowBytes) {
    for (std::int64_t y = 0; y < block.height; y += kTile)
        for (std::int64_t x = 0; x < block.width; x += kTile)
            TurnTile(source,
                     {block.x + x, block.y + y, std::min<std::int64_t>(kTile, block.width - x),
                      std::min<std::int64_t>(kTile, block.height - y)},
                     dst + y * dstRowBytes + x * request_.channels, dstRowBytes);
}

}  // namespace zor
