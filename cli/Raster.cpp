#include "Raster.h"

#include <utility>

#include "Errors.h"

namespace {

constexpr int kYieldTicks = 6;  // sixtieths of a second between two turns that a long operation gives us

}  // namespace

Raster::Raster(const ImageShape& shape) : shape_(shape) {
    zorhost::Host& host = Engine();
    image_ = host.New("PictureZOR", shape.width, shape.height, EngineConstant(Describe(shape.kind).constant));
    if (!image_.Get("Valid").AsBool())
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
    pixels_ = Engine().MemoryBlockBytes(image_.Get("Memory").AsObject()).data;
    rowBytes_ = image_.Get("RowSize").AsInt();
}
