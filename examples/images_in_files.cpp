// Lets the engine make its images in files, stops a method while it works, and looks at what went wrong:
//
//     images_in_files FOLDER [path of libPictureZOR.so]
//
// Without a path the plug-in is the one beside the program.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

#include "zorhost/Host.h"

static void Run(const std::filesystem::path& folder, const std::filesystem::path& plugin) {
    zorhost::Host host({.plugin = plugin});

    // Whenever a method needs a new image, this makes it in a file, which goes with the image.
    int made = 0;
    const zorhost::Object factory = host.MakeFactory([&](int width, int height, int format) {
        const zorhost::Object file = host.MakeFolderItem(folder / ("image" + std::to_string(++made)));
        return host.New("PictureZOR", width, height, format, 0, file);
    });
    host.CallShared("PictureFactoryZOR", "SetFactory", factory);

    const zorhost::Value format = host.Constant("PictureZOR", "ImageFormatRGB");
    const zorhost::Object image = host.CallShared("PictureZOR", "CreatePictureZOR", 600, 400, format).AsObject();
    image.Call("FillRectRGB", zorhost::Color::FromRGB(255, 128, 0));
    const zorhost::Object turned = image.Call("Rotate", 30.0).AsObject();
    std::printf("%d x %d, the last of %d images in files\n", turned.Get("Width").AsInt(), turned.Get("Height").AsInt(),
                made);

    // A long method gives the host a turn now and then; what is thrown there ends the method.
    host.SetYield([] { throw zorhost::Cancelled(); });
    turned.Set("YieldTicks", 1);
    try {
        turned.Call("Invert");
    } catch (const zorhost::Cancelled&) {
        std::printf("stopped before it was done\n");
    }
    host.SetYield({});

    // What a method raises in the host language.
    try {
        turned.Call("Row", -1);
    } catch (const zorhost::HostException& error) {
        std::printf("%s: %s\n", error.ClassName().c_str(), error.Message().c_str());
    }
}

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: images_in_files FOLDER [path of libPictureZOR.so]\n");
        return 2;
    }
    try {
        const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
        Run(argv[1], argc > 2 ? std::filesystem::path(argv[2]) : program.parent_path() / "libPictureZOR.so");
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "images_in_files: %s\n", error.what());
        return 1;
    }
}
