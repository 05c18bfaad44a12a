// A host inside of a library that a program opens for itself alone, as scripting languages open their modules.

#include <cstdio>

#include "zorhost/Pictures.h"

// 0 where a plug-in finds QuickDraw and reads a picture of the desktop; otherwise what went wrong is told.
extern "C" __attribute__((visibility("default"))) int RunInModule(const char* plugin) {
    try {
        zorhost::Host host({.plugin = plugin, .world = zorhost::World::Desktop});
        const zorhost::Object picture = zorhost::MakePicture(host, 5, 4);
        const zorhost::Object image = host.New("PictureZOR", picture);
        if (!image.Get("Valid").AsBool()) return 1;
        image.Call("FillRectRGB", zorhost::Color::FromRGB(1, 2, 3));
        const zorhost::Object copy = image.Call("CopyPicture").AsObject();
        return copy && zorhost::ReadPicture(host, copy) == zorhost::ReadPicture(host, picture) ? 0 : 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 3;
    }
}
