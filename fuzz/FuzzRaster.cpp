#include "FuzzRaster.h"

#include <sanitizer/asan_interface.h>

#include <memory>
#include <utility>
#include <vector>

#include "Expect.h"
#include "Raster.h"

namespace {

constexpr std::size_t kPoisonBytes = 16;  // at least so many behind each row

std::vector<std::unique_ptr<std::uint8_t[]>>& Blocks() {
    static std::vector<std::unique_ptr<std::uint8_t[]>> blocks;
    return blocks;
}

}  // namespace

void ForgetRasters() {
    Blocks().clear();
}

Raster::Raster(const ImageShape& shape) : shape_(shape) {
    const auto height = static_cast<std::size_t>(shape.height);
    const std::size_t used =
        static_cast<std::size_t>(shape.width) * static_cast<std::size_t>(Describe(shape.kind).channels);
    const std::size_t row = (used + kPoisonBytes + 7) / 8 * 8;
    Blocks().push_back(std::make_unique<std::uint8_t[]>(row * height));
    pixels_ = Blocks().back().get();
    rowBytes_ = static_cast<std::int64_t>(row);
    for (std::size_t y = 0; y < height; ++y) ASAN_POISON_MEMORY_REGION(pixels_ + y * row + used, row - used);
}

// The rest of the header, which no reader has a use for.

void CheckWindow(const zorhost::Object&) {
    Expect(false, "readers make no views");
}

Raster::Raster(zorhost::Object image, PixelKind kind) : shape_{0, 0, kind}, image_(std::move(image)) {
    Expect(false, "readers take no images of the engine");
}

std::uint8_t* Raster::MappedRow(int) {
    Expect(false, "rows lie in memory");
    return nullptr;
}

void Raster::WidenWindow(std::int64_t) {}

Raster Raster::Part(int, int, int, int) {
    Expect(false, "readers take no parts");
    return Raster(shape_);
}

void Raster::CopyArea(Raster&, int, int, int, int, Raster*, int, int) {
    Expect(false, "readers copy no areas");
}

void Raster::FindRows() {}
