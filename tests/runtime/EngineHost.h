#pragma once
// Hosts with the plug-in itself, for the tests of its pictures.

#include "PictureHost.h"

namespace zorhost {

struct EngineHost : FreshHost {
    explicit EngineHost(HostOptions options = {}) : FreshHost(ENGINE, std::move(options)) {}

    // An image over a block of its own that holds the pixels in the format's own order of bytes.
    Object ImageOf(const char* format, int width, int height, int pixelSize, const std::vector<unsigned char>& bytes) {
        return host.New("PictureZOR", host.MakeMemoryBlock(bytes), width, height, host.Constant("PictureZOR", format),
                        width * pixelSize);
    }
    // One of a single level in every byte.
    Object Blank(const char* format, int width, int height, int pixelSize) {
        const auto size = static_cast<std::size_t>(width * height * pixelSize);
        return ImageOf(format, width, height, pixelSize, std::vector<unsigned char>(size, 90));
    }
    std::vector<unsigned char> BytesOf(const Object& image) { return BytesOfBlock(host, image.Get("MemoryTarget")); }
};

}  // namespace zorhost
