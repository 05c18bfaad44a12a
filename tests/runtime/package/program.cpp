#include <cstdio>

#include "zorhost/Host.h"

int main() {
    zorhost::Host host({.plugin = PLUGIN});
    const int format = host.Constant("PictureZOR", "ImageFormatRGB").AsInt();
    const zorhost::Object image = host.New("PictureZOR", 30, 20, format);
    std::printf("%d x %d\n", image.Get("Width").AsInt(), image.Get("Height").AsInt());
}
