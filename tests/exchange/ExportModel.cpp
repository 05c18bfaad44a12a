#include "exchange/ExportModel.h"

#include <cstring>

using namespace zor;

std::string TextOf(const ExportRect& rect) {
    return std::to_string(rect.x) + ", " + std::to_string(rect.y) + ", " + std::to_string(rect.w) + ", " +
           std::to_string(rect.h);
}

std::vector<int> ModelCut(int start, int extent, int side) {
    const std::int64_t end = static_cast<std::int64_t>(start) + extent;
    std::vector<int> inside;
    for (int at = 0; at < side; ++at) {
        if (extent >= 0 ? at >= start && at < end : at >= end && at < start) inside.push_back(at);
    }
    return inside;
}

std::vector<std::uint8_t> ModelPixel(int pixelType, int red, int green, int blue) {
    const auto byte = [](int value) { return static_cast<std::uint8_t>(value); };
    if (pixelType == PixelTypeARGB32) return {255, byte(red), byte(green), byte(blue)};
    if (pixelType == PixelTypeRGB24) return {byte(red), byte(green), byte(blue)};
    const int word = red * 65536 + green * 256 + blue;
    std::vector<std::uint8_t> bytes(4);
    std::memcpy(bytes.data(), &word, 4);
    return bytes;
}

static std::vector<std::uint8_t> PixelOf(const ImageClassData* record, ExportWhat what, int pixelType,
                                         const Storage& storage, std::int64_t place) {
    const auto at = [&](int offset) { return static_cast<int>(storage.At(place + offset)); };
    if (what == ExportWhat::alpha) {
        const int a = at(record->AlphaOffset);
        return ModelPixel(pixelType, a, a, a);
    }
    if (record->IsGray) {
        const int g = at(record->GrayOffset);
        return ModelPixel(pixelType, g, g, g);
    }
    if (record->IsRGB) {
        return ModelPixel(pixelType, at(record->RedOffset), at(record->GreenOffset), at(record->BlueOffset));
    }
    const int k = at(record->BlackOffset);
    const auto ink = [&](int offset) { return (255 - k) - (at(offset) * (255 - k)) / 255; };
    return ModelPixel(pixelType, ink(record->CyanOffset), ink(record->MagentaOffset), ink(record->YellowOffset));
}

std::vector<std::uint8_t> ModelExport(const TestImage& image, const Storage& storage, ExportWhat what,
                                      const ExportRect& rect, int pixelType, int padding) {
    const ImageClassData* const record = image.record();
    const bool has = what == ExportWhat::alpha ? record->HasAlpha : record->IsGray || record->IsRGB || record->IsCMYK;
    const std::vector<int> columns = ModelCut(rect.x, rect.w, record->Width);
    if (!has || columns.empty()) return {};
    std::vector<std::uint8_t> bytes;
    for (const int y : ModelCut(rect.y, rect.h, record->Height)) {
        for (const int x : columns) {
            const std::vector<std::uint8_t> pixel = PixelOf(record, what, pixelType, storage, PlaceOf(image, x, y));
            bytes.insert(bytes.end(), pixel.begin(), pixel.end());
        }
        bytes.insert(bytes.end(), static_cast<std::size_t>(padding), 0x5A);
    }
    return bytes;
}
