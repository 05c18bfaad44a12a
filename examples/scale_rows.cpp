// Scales one image into another and prints a row of the result:
//
//     scale_rows [path of libPictureZOR.so]
//
// Without a path the plug-in is the one beside the program.

#include <cstdio>
#include <exception>
#include <filesystem>

#include "zorhost/Host.h"

// A gray image over a memory block, so that the program reaches the pixels without a copy.
static zorhost::Object NewGray(zorhost::Host& host, const zorhost::Object& block, int width, int height) {
    return host.New("PictureZOR", block, width, height, host.Constant("PictureZOR", "ImageFormatG"), width);
}

static void Run(const std::filesystem::path& plugin) {
    zorhost::Host host({.plugin = plugin});

    // A ramp of eight grays from black to white, two rows high, and room for half of it.
    const zorhost::Object rampBytes = host.MakeMemoryBlock(8 * 2);
    for (int i = 0; i < 16; ++i) host.MemoryBlockBytes(rampBytes).data[i] = static_cast<unsigned char>(i % 8 * 255 / 7);
    const zorhost::Object halfBytes = host.MakeMemoryBlock(4);
    const zorhost::Object ramp = NewGray(host, rampBytes, 8, 2);
    const zorhost::Object half = NewGray(host, halfBytes, 4, 1);

    const zorhost::Value mode = host.Constant("PictureZOR", "ScaleBox");
    if (!half.Call("Scale", ramp, nullptr, mode, 4, 1).AsBool()) throw zorhost::Error("the image cannot be scaled");

    const zorhost::BlockBytes row = host.MemoryBlockBytes(halfBytes);
    for (int x = 0; x < row.size; ++x) std::printf("%d%c", row.data[x], x + 1 < row.size ? ' ' : '\n');
}

int main(int argc, char** argv) {
    try {
        const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
        Run(argc > 1 ? std::filesystem::path(argv[1]) : program.parent_path() / "libPictureZOR.so");
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "scale_rows: %s\n", error.what());
        return 1;
    }
}
