#pragma once
// A picture turned by any angle as people expect it: sampled once, by cubic weights, from the pixels as they are;
// rounded, with colours weighed by alpha, and with smooth edges. No images, no host.

#include <cstdint>
#include <functional>

#include "core/HeapArray.h"
#include "core/Rectangles.h"
#include "kernels/KernelTable.h"

namespace zor {

struct FreeTurnRequest {
    int srcWidth;  // pixels, at least 1, like the others
    int srcHeight;
    int width;  // of the result, whose middle is that of the source
    int height;
    int channels;            // 1 to 4 bytes a pixel
    bool hasAlpha;           // the last of them
    double degrees;          // counter-clockwise
    std::uint8_t ground[4];  // what lies beside the picture, alpha too
};

// The work of one thread.
class FreeTurn {
public:
    // Pixel (x, y) of the source, those right of it behind it; good until the next call.
    using SourcePixels = std::function<const std::uint8_t*(int x, int y)>;

    // The result is made in squares of that side, whose part of the source stays in the nearest cache.
    static constexpr int kTile = 64;

    // False for want of memory; it holds the part of the source that a square needs.
    [[nodiscard]] bool Start(const FreeTurnRequest& request);

    // A block of the result that begins at a corner of squares. It comes out the same whatever the blocks.
    void Turn(const SourcePixels& source, const PixelRect& block, std::uint8_t* dst, std::ptrdiff_t dstRowBytes);

    // The part of the source that a block is made of; without pixels where there is none.
    [[nodiscard]] PixelRect SourceOf(const PixelRect& block) const;

private:
    struct Tile {
        PixelRect result;
        PixelRect source;  // beyond its edges too
        bool touchesEdge;
    };
    struct Place {
        double x, y;
    };
    struct Sample {
        float channel[4];
    };

    Place PlaceOf(double x, double y) const;
    bool Find(const PixelRect& result, Tile* tile) const;
    void Load(const SourcePixels& source, const Tile& tile);
    bool IsOpaque(const Tile& tile) const;
    void Multiply(const Tile& tile);
    CubicLine LineOf(const Tile& tile, int row) const;
    double CoverOf(const Place& place) const;
    void SampleRow(const Tile& tile, int row, std::uint8_t* dst) const;
    void SampleMixedRow(const Tile& tile, int row, std::uint8_t* dst) const;
    void CoverRow(const Tile& tile, int row, std::uint8_t* dst) const;
    double CoverAt(const Tile& tile, int column, int row) const;
    void Fill(std::uint8_t* dst, std::int64_t count) const;
    void TurnTile(const SourcePixels& source, const PixelRect& result, std::uint8_t* dst, std::ptrdiff_t dstRowBytes);

    FreeTurnRequest request_{};
    CubicWeights weights_{};
    double cosine_ = 1, sine_ = 0;
    int side_ = 0;  // of the part of the source that a square needs
    std::ptrdiff_t rowBytes_ = 0;
    HeapArray<std::uint8_t> part_;
    HeapArray<Sample> multiplied_;  // where there is alpha: colours times alpha, and alpha last
};

}  // namespace zor
