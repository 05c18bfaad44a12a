// The layout of GD images, held against the library that makes them.

#include "host/GDImage.h"

#include <gd.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

using namespace zor;

namespace {

#define SAME_PLACE(ours, theirs)                                         \
    static_assert(offsetof(GDImage, ours) == offsetof(gdImage, theirs)); \
    static_assert(sizeof(GDImage::ours) == sizeof(gdImage::theirs))

SAME_PLACE(pixels, pixels);
SAME_PLACE(width, sx);
SAME_PLACE(height, sy);
SAME_PLACE(colorsTotal, colorsTotal);
SAME_PLACE(red, red);
SAME_PLACE(green, green);
SAME_PLACE(blue, blue);
SAME_PLACE(open, open);
SAME_PLACE(transparent, transparent);
SAME_PLACE(polyInts, polyInts);
SAME_PLACE(polyAllocated, polyAllocated);
SAME_PLACE(brush, brush);
SAME_PLACE(tile, tile);
SAME_PLACE(brushColorMap, brushColorMap);
SAME_PLACE(tileColorMap, tileColorMap);
SAME_PLACE(styleLength, styleLength);
SAME_PLACE(stylePos, stylePos);
SAME_PLACE(style, style);
SAME_PLACE(interlace, interlace);
SAME_PLACE(thick, thick);
SAME_PLACE(alpha, alpha);
SAME_PLACE(trueColor, trueColor);
SAME_PLACE(tpixels, tpixels);
static_assert(sizeof(GDImage) <= sizeof(gdImage));
static_assert(std::is_same_v<decltype(GDImage::pixels), decltype(gdImage::pixels)>);
static_assert(std::is_same_v<decltype(GDImage::tpixels), decltype(gdImage::tpixels)>);

TEST(GDImageRecord, ReadsImagesOfTheLibrary) {
    gdImage* const trueColor = gdImageCreateTrueColor(5, 3);
    gdImageSetPixel(trueColor, 4, 2, 0x123456);
    const GDImage* const image = reinterpret_cast<const GDImage*>(trueColor);
    EXPECT_EQ(image->pixels, nullptr);
    EXPECT_EQ(image->width, 5);
    EXPECT_EQ(image->height, 3);
    EXPECT_NE(image->trueColor, 0);
    ASSERT_NE(image->tpixels, nullptr);
    EXPECT_EQ(image->tpixels[2][4], 0x123456);
    gdImageDestroy(trueColor);

    gdImage* const palette = gdImageCreate(10, 10);
    const GDImage* const refused = reinterpret_cast<const GDImage*>(palette);
    EXPECT_NE(refused->pixels, nullptr);
    EXPECT_EQ(refused->trueColor, 0);
    EXPECT_EQ(refused->tpixels, nullptr);
    gdImageDestroy(palette);
}

}  // namespace
