#include "PictureHost.h"

namespace zorhost {

Darkroom::Darkroom(HostOptions options) : FreshHost(PICTURE_PLUGIN, std::move(options)) {}

HostOptions InWorld(World world) {
    return {.world = world};
}

PixelRows RandomRows(int width, int height, int channels, unsigned seed) {
    PixelRows rows{width, height, channels, {}};
    std::mt19937 random(seed);
    const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    rows.bytes.resize(count * static_cast<std::size_t>(channels));
    for (unsigned char& byte : rows.bytes) byte = static_cast<unsigned char>(random() >> 7);
    return rows;
}

PixelRows PlainRows(int width, int height, Color color) {
    PixelRows rows{width, height, 3, {}};
    for (int i = 0; i < width * height; ++i) {
        for (const int shift : {16, 8, 0}) rows.bytes.push_back(static_cast<unsigned char>(color.rgb >> shift));
    }
    return rows;
}

Color ColorAt(const PixelRows& rows, int x, int y) {
    const auto index = static_cast<std::size_t>((y * rows.width + x) * rows.channels);
    return Color::FromRGB(rows.bytes.at(index), rows.bytes.at(index + 1), rows.bytes.at(index + 2));
}

std::vector<unsigned char> BytesOfBlock(const Host& host, const Value& block) {
    const BlockBytes bytes = host.MemoryBlockBytes(block.AsObject());
    return std::vector<unsigned char>(bytes.data, bytes.data + bytes.size);
}

}  // namespace zorhost
