#pragma once
// The pixels of one image of the engine, as rows of bytes. All that reads or writes pixels goes through here; where the
// image lives is the engine's business.

#include <cstdint>

#include "Engine.h"
#include "PixelKind.h"

// Throws a RunError where a file-backed image has found no addresses for its window.
void CheckWindow(const zorhost::Object& image);

// The view that the engine makes of an image; it gives us turns as often as the image itself. Of file-backed images
// only views of whole rows: those of the rows of a part do not reach all of them.
template <typename... Args>
zorhost::Object ViewOf(const zorhost::Object& image, const char* name, Args... args) {
    zorhost::Object view = image.Call(name, args...).AsObject();
    view.Set("YieldTicks", image.Get("YieldTicks"));
    CheckWindow(view);
    return view;
}

class Raster {
public:
    // A new image, all zero. A RunError when the engine cannot make it.
    explicit Raster(const ImageShape& shape);

    // An image that the engine made, in the format of the kind.
    Raster(zorhost::Object image, PixelKind kind);

    [[nodiscard]] const ImageShape& Shape() const { return shape_; }

    // Row y, 0 at the top: Width pixels of the kind's channels. Good until the next call. A RunError where a
    // file-backed image finds no addresses for its window; from top to bottom the window moves seldom.
    [[nodiscard]] std::uint8_t* Row(int y) { return pixels_ != nullptr ? pixels_ + y * rowBytes_ : MappedRow(y); }

    // Bytes from one row to the next where all of them lie in memory; 0 where the image is file-backed.
    [[nodiscard]] std::int64_t RowDistance() const { return pixels_ != nullptr ? rowBytes_ : 0; }

    // For what jumps among so many rows: where the image is file-backed, its window holds them all from now on, and so
    // do those of views made later; but no more than 64 MiB.
    void WidenWindow(std::int64_t rows);

    // A new image that holds a rectangle of this one.
    [[nodiscard]] Raster Part(int x, int y, int width, int height);

    // Puts a whole image of the same kind there. It must lie within this one.
    void Put(Raster& part, int x, int y) { CopyArea(part, 0, 0, part.shape_.width, part.shape_.height, this, x, y); }

    // One channel of the image as a gray image over the same pixels, by the engine's name: "RedChannel".
    [[nodiscard]] zorhost::Object View(const char* name) const { return ViewOf(image_, name); }

    // The PictureZOR object.
    [[nodiscard]] const zorhost::Object& Image() const { return image_; }

    // Copies a rectangle from one image to a place on another of the same kind; it must lie within both.
    static void CopyArea(Raster& from, int x, int y, int width, int height, Raster* to, int toX, int toY);

private:
    void FindRows();
    std::uint8_t* MappedRow(int y);

    ImageShape shape_;
    zorhost::Object image_;
    std::uint8_t* pixels_ = nullptr;  // null: file-backed
    std::int64_t rowBytes_ = 0;       // from one row to the next
};
