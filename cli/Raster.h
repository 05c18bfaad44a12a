#pragma once
// The pixels of one image of the engine, as rows of bytes. All that reads or writes pixels goes through here; where the
// image lives is the engine's business.

#include <cstdint>

#include "Engine.h"
#include "PixelKind.h"

// The view that the engine makes of an image; it gives us turns as often as the image itself.
template <typename... Args>
zorhost::Object ViewOf(const zorhost::Object& image, const char* name, Args... args) {
    zorhost::Object view = image.Call(name, args...).AsObject();
    view.Set("YieldTicks", image.Get("YieldTicks"));
    return view;
}

class Raster {
public:
    // A new image, all zero. A RunError when the engine cannot make it.
    explicit Raster(const ImageShape& shape);

    // An image in memory that the engine made, in the format of the kind.
    Raster(zorhost::Object image, PixelKind kind);

    [[nodiscard]] const ImageShape& Shape() const { return shape_; }

    // Row y, 0 at the top: Width pixels of the kind's channels. Good until the next call.
    [[nodiscard]] std::uint8_t* Row(int y) { return pixels_ + y * rowBytes_; }

    // One channel of the image as a gray image over the same pixels, by the engine's name: "RedChannel".
    [[nodiscard]] zorhost::Object View(const char* name) const { return ViewOf(image_, name); }

    // The PictureZOR object.
    [[nodiscard]] const zorhost::Object& Image() const { return image_; }

private:
    void FindRows();

    ImageShape shape_;
    zorhost::Object image_;
    std::uint8_t* pixels_ = nullptr;
    std::int64_t rowBytes_ = 0;  // from one row to the next
};
