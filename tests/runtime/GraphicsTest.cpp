// Drawing of pictures into pictures.

#include "PictureHost.h"

namespace zorhost {

static constexpr int kWhole = -10000;

// The drawing, pixel by pixel, in the plainest words: which source pixel lies under the middle of a pixel of the
// target.
static PixelRows DrawnByHand(PixelRows target, const PixelRows& source, const PixelRows* mask, int x, int y, int w,
                             int h, int sx, int sy, int sw, int sh) {
    if (w < 1 || h < 1 || sw < 1 || sh < 1) return target;
    for (int row = 0; row < target.height; ++row) {
        for (int column = 0; column < target.width; ++column) {
            if (column < x || column >= x + w || row < y || row >= y + h) continue;
            const int fromX = sx + static_cast<int>((column - x + 0.5) * sw / w);
            const int fromY = sy + static_cast<int>((row - y + 0.5) * sh / h);
            if (fromX < 0 || fromY < 0 || fromX >= source.width || fromY >= source.height) continue;
            for (int c = 0; c < 3; ++c) {
                unsigned char& below = target.bytes[static_cast<std::size_t>((row * target.width + column) * 3 + c)];
                const int above = source.bytes[static_cast<std::size_t>((fromY * source.width + fromX) * 3 + c)];
                int m = 0;
                if (mask && fromX < mask->width && fromY < mask->height) {
                    m = mask->bytes[static_cast<std::size_t>((fromY * mask->width + fromX) * 3 + c)];
                }
                below = static_cast<unsigned char>((m * below + (255 - m) * above) / 255);
            }
        }
    }
    return target;
}

struct DrawCase {
    const char* what;
    int x, y, w, h, sx, sy, sw, sh;
};
static const DrawCase kDrawCases[] = {
    {"whole, in place", 0, 0, 8, 6, 0, 0, 8, 6},
    {"moved", 3, 2, 8, 6, 0, 0, 8, 6},
    {"part", 1, 1, 3, 2, 4, 3, 3, 2},
    {"enlarged", 0, 0, 12, 9, 0, 0, 8, 6},
    {"shrunk", 2, 2, 3, 2, 0, 0, 8, 6},
    {"part enlarged", 1, 0, 10, 7, 2, 1, 3, 2},
    {"left and above", -4, -3, 8, 6, 0, 0, 8, 6},
    {"right and below", 9, 7, 8, 6, 0, 0, 8, 6},
    {"source begins outside", 0, 0, 8, 6, -3, -2, 8, 6},
    {"source ends outside", 0, 0, 8, 6, 5, 4, 8, 6},
    {"nowhere", 100, 100, 8, 6, 0, 0, 8, 6},
    {"wider only", 0, 0, 11, 6, 0, 0, 8, 6},
    {"no width", 0, 0, 0, 6, 0, 0, 8, 6},
    {"negative height", 0, 0, 8, -6, 0, 0, 8, 6},
    {"no source width", 0, 0, 8, 6, 0, 0, 0, 6},
    {"huge", -100000, -70000, 400000, 300000, 0, 0, 8, 6},
};

TEST(Graphics, DrawPicturesAtAnySize) {
    for (const World world : {World::Console, World::Desktop}) {
        Darkroom room(InWorld(world));
        {
            const PixelRows below = RandomRows(12, 9, 3, 1), above = RandomRows(8, 6, 3, 2),
                            gray = RandomRows(7, 6, 3, 3);
            const Object source = MakePicture(room.host, above), masked = MakePicture(room.host, above);
            SetMask(room.host, masked, MakePicture(room.host, gray));
            for (const DrawCase& c : kDrawCases) {
                for (const bool withMask : {false, true}) {
                    SCOPED_TRACE(std::string(c.what) + (withMask ? " with a mask" : ""));
                    const Object picture = MakePicture(room.host, below);
                    const Object graphics = room.Do("GraphicsOf", picture).AsObject();
                    EXPECT_EQ(picture.LockCount(), 2) << "the graphics object holds its picture";
                    EXPECT_TRUE(room.Do("Draw", graphics, withMask ? masked : source, c.x, c.y, c.w, c.h, c.sx, c.sy,
                                        c.sw, c.sh)
                                    .AsBool());
                    EXPECT_EQ(ReadPicture(room.host, picture), DrawnByHand(below, above, withMask ? &gray : nullptr,
                                                                           c.x, c.y, c.w, c.h, c.sx, c.sy, c.sw, c.sh));
                }
            }
            EXPECT_EQ(ReadPicture(room.host, source), above);
            EXPECT_EQ(LocksHeld(room.host).descriptions, 0);
        }
        room.ExpectClean();
    }
}

TEST(Graphics, TakeLeftOutSizesForAllThatIsThere) {
    Darkroom room;
    const PixelRows below = RandomRows(12, 9, 3, 1), above = RandomRows(8, 6, 3, 2);
    const Object source = MakePicture(room.host, above);
    const auto draw = [&](auto... args) {
        const Object picture = MakePicture(room.host, below);
        picture.Get("Graphics").AsObject().Call("DrawPicture", source, args...);
        return ReadPicture(room.host, picture);
    };
    EXPECT_EQ(draw(1, 1, 8, 6), DrawnByHand(below, above, nullptr, 1, 1, 8, 6, 0, 0, 8, 6));
    EXPECT_EQ(draw(1, 1, 10, 7), DrawnByHand(below, above, nullptr, 1, 1, 10, 7, 0, 0, 8, 6));
    EXPECT_EQ(draw(1, 1, 5, 4, 3, 2), DrawnByHand(below, above, nullptr, 1, 1, 5, 4, 3, 2, 5, 4));
    EXPECT_EQ(draw(1, 1, kWhole, kWhole, 3, 2, kWhole, kWhole),
              DrawnByHand(below, above, nullptr, 1, 1, 5, 4, 3, 2, 5, 4));
    EXPECT_EQ(draw(0, 0, kWhole, kWhole, 3, 2, 2, 1), DrawnByHand(below, above, nullptr, 0, 0, 2, 1, 3, 2, 2, 1));
    EXPECT_EQ(draw(0, 0, 5, 5, 8, 0), below) << "nothing of the source is left";
}

TEST(Graphics, ShowWhatIsBlackInTheMask) {
    Darkroom room;
    const Object source = MakePicture(room.host, PixelRows{3, 1, 3, {10, 20, 30, 10, 20, 30, 10, 20, 30}});
    SetMask(room.host, source, MakePicture(room.host, PixelRows{3, 1, 3, {0, 0, 0, 255, 255, 255, 0, 255, 128}}));
    const Object target = MakePicture(room.host, PlainRows(3, 1, Color::FromRGB(100, 110, 120)));
    target.Get("Graphics").AsObject().Call("DrawPicture", source, 0, 0, 3, 1);
    const PixelRows drawn = ReadPicture(room.host, target);
    EXPECT_EQ(ColorAt(drawn, 0, 0), Color::FromRGB(10, 20, 30));
    EXPECT_EQ(ColorAt(drawn, 1, 0), Color::FromRGB(100, 110, 120));
    EXPECT_EQ(ColorAt(drawn, 2, 0), Color::FromRGB(10, 110, (128 * 120 + 127 * 30) / 255));
}

TEST(Graphics, DrawAPictureOverItself) {
    for (const World world : {World::Console, World::Desktop}) {
        Darkroom room(InWorld(world));
        const PixelRows rows = RandomRows(9, 7, 3, 4);
        const Object picture = MakePicture(room.host, rows);
        picture.Get("Graphics").AsObject().Call("DrawPicture", picture, 2, 1, 9, 7);
        EXPECT_EQ(ReadPicture(room.host, picture), DrawnByHand(rows, rows, nullptr, 2, 1, 9, 7, 0, 0, 9, 7));
    }
}

TEST(Graphics, DrawAPictureIntoItsOwnMask) {
    Darkroom room;
    {
        const PixelRows rows = RandomRows(9, 7, 3, 4), gray = RandomRows(9, 7, 3, 5);
        const Object picture = MakePicture(room.host, rows), mask = MakePicture(room.host, gray);
        SetMask(room.host, picture, mask);
        mask.Get("Graphics").AsObject().Call("DrawPicture", picture, 2, 1, 9, 7);
        EXPECT_EQ(ReadPicture(room.host, mask), DrawnByHand(gray, rows, &gray, 2, 1, 9, 7, 0, 0, 9, 7));
    }
    room.ExpectClean();
}

TEST(Graphics, RasterisePicturesThatPluginsCannotReach) {
    for (const World world : {World::Console, World::Desktop}) {
        Darkroom room(InWorld(world));
        const PixelRows rows = RandomRows(6, 5, 3, 9);
        const Object foreign = MakeForeignPicture(room.host, 6, 5);
        WritePicture(room.host, foreign, rows);
        const Object target = MakePicture(room.host, 6, 5);
        EXPECT_TRUE(room.Do("Draw", target.Get("Graphics"), foreign, 0, 0, 6, 5, 0, 0, 6, 5).AsBool());
        EXPECT_EQ(ReadPicture(room.host, target), rows);
    }
}

TEST(Graphics, BelongToPicturesWithPixels) {
    Darkroom room;
    {
        EXPECT_TRUE(room.Do("GraphicsOf", room.host.New("Picture")).IsNil());
        const Object picture = MakePicture(room.host, 2, 2), graphics = picture.Get("Graphics").AsObject();
        EXPECT_FALSE(room.Do("Draw", picture, picture, 0, 0, 2, 2, 0, 0, 2, 2).AsBool()) << "no graphics object";
        EXPECT_TRUE(room.host.Faults().empty());
        room.Do("Draw", graphics, nullptr, 0, 0, 2, 2, 0, 0, 2, 2);
        ASSERT_EQ(room.host.Faults().size(), 1u);
        EXPECT_NE(ErrorOf([&] { graphics.Call("DrawPicture", "text", 0, 0, 2, 2); }), "");
        EXPECT_NE(ErrorOf([&] { graphics.Call("DrawLine", 0, 0, 2, 2); }), "");
        room.host.New("Graphics").Call("DrawPicture", picture, 0, 0, 2, 2);
        EXPECT_EQ(room.host.Faults().size(), 2u);
    }
    EXPECT_EQ(room.host.LeakReport(), "");
}

TEST(Graphics, KeepTheirPictureAlive) {
    Darkroom room;
    Object picture = MakePicture(room.host, 2, 2);
    Object graphics = picture.Get("Graphics").AsObject();
    picture = Object();
    EXPECT_EQ(room.host.LiveObjects().size(), 2u);
    graphics.Call("DrawPicture", MakePicture(room.host, 2, 2), 0, 0, 2, 2);
    graphics = Object();
    room.ExpectClean();
}

}  // namespace zorhost
