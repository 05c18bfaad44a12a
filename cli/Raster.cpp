#include "Raster.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "Errors.h"
#include "files/Scratch.h"

namespace {

constexpr int kYieldTicks = 6;  // sixtieths of a second between two turns that a long operation gives us

[[noreturn]] void FailWindow() {
    throw RunError("not enough addresses for a window on an image in " + ScratchDirectory());
}

}  // namespace

void CheckWindow(const zorhost::Object& image) {
    if (image.Get("IsMapping").AsBool() && !image.Call("RawRow", 0).AsObject()) FailWindow();
}

Raster::Raster(const ImageShape& shape) : shape_(shape) {
    // Through the factory, as the engine makes its own.
    image_ = Engine()
                 .CallShared("PictureZOR", "CreatePictureZOR", shape.width, shape.height,
                             EngineConstant(Describe(shape.kind).constant))
                 .AsObject();
    if (!image_)
        throw RunError("no memory for an image of " + std::to_string(shape.width) + " x " +
                       std::to_string(shape.height) + " pixels");
    FindRows();
}

Raster::Raster(zorhost::Object image, PixelKind kind)
    : shape_{image.Get("Width").AsInt(), image.Get("Height").AsInt(), kind}, image_(std::move(image)) {
    FindRows();
}

void Raster::FindRows() {
    image_.Set("YieldTicks", kYieldTicks);
    rowBytes_ = image_.Get("RowSize").AsInt();
    pixels_ =
        image_.Get("IsMapping").AsBool() ? nullptr : Engine().MemoryBlockBytes(image_.Get("Memory").AsObject()).data;
}

std::uint8_t* Raster::MappedRow(int y) {
    const zorhost::Object row = image_.Call("RawRow", y).AsObject();
    if (!row) FailWindow();
    return Engine().MemoryBlockBytes(row).data;
}

void Raster::WidenWindow(std::int64_t rows) {
    constexpr std::int64_t kWidest = std::int64_t{64} << 20;
    if (pixels_ != nullptr) return;
    const std::int64_t wish = std::min(std::min<std::int64_t>(rows, shape_.height) * rowBytes_, kWidest);
    if (wish <= image_.Get("MappingBlockSize").AsInt()) return;
    image_.Set("MappingBlockSize", static_cast<int>(wish));
    if (!image_.Call("RawRow", 0).AsObject()) FailWindow();
}

Raster Raster::Part(int x, int y, int width, int height) {
    Raster part({width, height, shape_.kind});
    CopyArea(*this, x, y, width, height, &part, 0, 0);
    return part;
}

void Raster::CopyArea(Raster& from, int x, int y, int width, int height, Raster* to, int toX, int toY) {
    const auto bytes = [channels = Describe(from.shape_.kind).channels](int pixels) {
        return static_cast<std::size_t>(pixels) * static_cast<std::size_t>(channels);
    };
    for (int i = 0; i < height; ++i)
        std::memcpy(to->Row(toY + i) + bytes(toX), from.Row(y + i) + bytes(x), bytes(width));
}
