// Halves a photograph, keeps the result in a file, and reads that back:
//
//     picture_round_trip photo.png half.png [path of libPictureZOR.so]
//
// Without a path the plug-in is the one beside the program.

#include <cstdio>
#include <exception>
#include <filesystem>

#include "zorhost/Pictures.h"

static void Run(const std::filesystem::path& photo, const std::filesystem::path& result,
                const std::filesystem::path& plugin) {
    zorhost::Host host({.plugin = plugin});

    // The image lies in the picture that was read: nothing is copied.
    const zorhost::Object picture = zorhost::LoadPicture(host, photo);
    const zorhost::Object image = host.New("PictureZOR", picture);
    const int width = image.Get("Width").AsInt(), height = image.Get("Height").AsInt();

    const zorhost::Object half =
        host.New("PictureZOR", width / 2, height / 2, host.Constant("PictureZOR", "ImageFormatRGB"));
    const zorhost::Value mode = host.Constant("PictureZOR", "ScaleLanczos3");
    if (!half.Call("Scale", image, nullptr, mode, width / 2, height / 2).AsBool()) {
        throw zorhost::Error(photo.string() + ": the picture cannot be scaled");
    }

    const zorhost::Object made = half.Call("CopyPicture").AsObject();
    zorhost::SavePicture(host, made, result);
    const zorhost::Object readBack = zorhost::LoadPicture(host, result);
    const bool isSame = zorhost::ReadPicture(host, readBack) == zorhost::ReadPicture(host, made);
    std::printf("%d x %d halved to %d x %d, and read back %s\n", width, height, width / 2, height / 2,
                isSame ? "without a change" : "with losses");
}

int main(int argc, char** argv) {
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: picture_round_trip photo.png half.png [path of libPictureZOR.so]\n");
        return 2;
    }
    try {
        const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
        Run(argv[1], argv[2], argc > 3 ? std::filesystem::path(argv[3]) : program.parent_path() / "libPictureZOR.so");
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "picture_round_trip: %s\n", error.what());
        return 1;
    }
}
