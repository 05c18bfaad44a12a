#pragma once
// WebP files made and read back by the tests themselves.

#include "TestPictures.h"

struct WebpFile {
    Pixels pixels;  // RGB or RGB + alpha
    bool lossless = true;
    float quality = 75;
    std::vector<std::uint8_t> profile;
    std::vector<std::uint8_t> exif;
};

void SaveWebp(const std::string& path, const WebpFile& file);
WebpFile LoadWebp(const std::string& path);  // throws for a file that is none or is damaged

// A frame of an animation, and where it lies; the places are even numbers.
struct WebpFrame {
    Pixels pixels;
    int x = 0;
    int y = 0;
};
void SaveWebpAnimation(const std::string& path, int width, int height, const std::vector<WebpFrame>& frames);

// An EXIF block as WebP holds it: orientation, and pixels per inch (unit 2) or centimetre (3).
std::vector<std::uint8_t> MakeExifBlock(int orientation, int x, int y, int unit);
