#pragma once
// Generated pictures to measure on: the same bytes on every machine, in integers only.

#include <cstdint>
#include <string_view>
#include <vector>

namespace bench {

enum class Scene : unsigned char {
    photo,   // objects before one another with soft edges, shading, texture, clipped lights and the noise of a sensor
    smooth,  // slow gradients only: samples repeat for many pixels
    flat,    // hard-edged shapes of a few colours on white
};

enum class Layout : unsigned char {
    gray,
    rgb,
    rgba,           // mostly opaque, with soft edges to clear regions
    premultiplied,  // the same, colours multiplied by alpha
    cmyk,
    alpha,  // one channel: the alpha of rgba
};
int ChannelsOf(Layout layout);

struct Picture {
    int width;
    int height;
    int channels;
    std::vector<std::uint8_t> bytes;  // rows without padding

    const std::uint8_t* row(int y) const { return bytes.data() + static_cast<std::ptrdiff_t>(y) * rowBytes(); }
    std::uint8_t* row(int y) { return bytes.data() + static_cast<std::ptrdiff_t>(y) * rowBytes(); }
    std::ptrdiff_t rowBytes() const { return static_cast<std::ptrdiff_t>(width) * channels; }
};

// Made at the first call and kept. Another size shows the same scene, with texture and noise by pixel.
const Picture& PictureOf(Scene scene, Layout layout, int width, int height);

inline constexpr int kWidth = 6000, kHeight = 4000;
inline const Picture& PictureOf(Scene scene, Layout layout) {
    return PictureOf(scene, layout, kWidth, kHeight);
}

}  // namespace bench
