#include "effects/Filters.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "Errors.h"

namespace {

// Null stands for the image itself.
std::vector<const char*> Views(PixelKind kind, FilterPart part) {
    const bool coloursOnly = part == FilterPart::Colours || part == FilterPart::Light;
    if (kind == PixelKind::CMYK && part != FilterPart::Whole)
        return {"CyanChannel", "MagentaChannel", "YellowChannel", "BlackChannel"};
    if (kind == PixelKind::GrayAlpha && coloursOnly) return {"GrayChannel"};
    if (kind == PixelKind::RGBA && coloursOnly) return {"RGBChannels"};
    return {nullptr};
}

std::size_t RowBytes(const ImageShape& shape) {
    return static_cast<std::size_t>(shape.width) * static_cast<std::size_t>(Describe(shape.kind).channels);
}

void Invert(Raster* image) {
    for (int y = 0; y < image->Shape().height; ++y) {
        std::uint8_t* row = image->Row(y);
        std::transform(row, row + RowBytes(image->Shape()), row,
                       [](std::uint8_t byte) { return static_cast<std::uint8_t>(255 - byte); });
    }
}

}  // namespace

void RunFilter(Raster* image, const char* effect, FilterPart part, const Filter& filter) {
    const ImageShape shape = image->Shape();
    const bool asLight = part == FilterPart::Light && shape.kind == PixelKind::CMYK;
    Raster target(shape);
    if (asLight) Invert(image);
    // Carries over the alpha that the filter does not see.
    if (part != FilterPart::Whole && Describe(shape.kind).hasAlpha)
        for (int y = 0; y < shape.height; ++y) std::memcpy(target.Row(y), image->Row(y), RowBytes(shape));
    for (const char* view : Views(shape.kind, part)) {
        const zorhost::Object to = view == nullptr ? target.Image() : target.View(view);
        const zorhost::Object result = filter(view == nullptr ? image->Image() : image->View(view), to, view);
        if (!result || (!(result == to) && !to.Call("CopyPixels", result).AsBool()))
            throw RunError(std::string(effect) + ": not enough memory");
    }
    *image = std::move(target);
    if (asLight) Invert(image);
}
