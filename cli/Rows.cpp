#include "Rows.h"

#include <cstring>
#include <utility>

namespace {

class RowsOfImage : public RowSource {
public:
    explicit RowsOfImage(Raster image) : RowSource(image.Shape()), image_(std::move(image)) {}
    const std::uint8_t* Next() override { return image_.Row(next_++); }
    Raster* Whole() override { return &image_; }

private:
    Raster image_;
    int next_ = 0;
};

}  // namespace

std::unique_ptr<RowSource> RowsOf(Raster image) {
    return std::make_unique<RowsOfImage>(std::move(image));
}

Raster Collect(RowSource& rows) {
    if (Raster* whole = rows.Whole()) return std::move(*whole);
    const ImageShape& shape = rows.Shape();
    Raster image(shape);
    const std::size_t bytes =
        static_cast<std::size_t>(shape.width) * static_cast<std::size_t>(Describe(shape.kind).channels);
    for (int y = 0; y < shape.height; ++y) std::memcpy(image.Row(y), rows.Next(), bytes);
    return image;
}
