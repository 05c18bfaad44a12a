// Pictures as programs and plug-ins see them, in every kind of application.

#include "PictureHost.h"

namespace zorhost {

static constexpr World kGDWorlds[] = {World::Console, World::Web, World::None};
static constexpr World kAllWorlds[] = {World::Console, World::Web, World::Desktop, World::None};

TEST(Pictures, AreWhiteAndOfTheSizeAskedFor) {
    for (const World world : kAllWorlds) {
        Darkroom room(InWorld(world));
        {
            for (const int depth : {32, 24, 16, 8, 1}) {
                SCOPED_TRACE(depth);
                const Object mine = MakePicture(room.host, 13, 7, depth);
                const Object plugins = room.Do("NewPicture", 13, 7, depth).AsObject();
                for (const Object* const each : {&mine, &plugins}) {
                    const Object& picture = *each;
                    EXPECT_EQ(picture.ClassName(), "Picture");
                    EXPECT_EQ(picture.Get("Width").AsInt(), 13);
                    EXPECT_EQ(picture.Get("Height").AsInt(), 7);
                    EXPECT_TRUE(picture.Get("Mask").IsNil());
                    EXPECT_EQ(ReadPicture(room.host, picture), PlainRows(13, 7, {0xFFFFFF}));
                    EXPECT_EQ(picture.LockCount(), 1);
                }
                const int gdDepth = depth > 8 ? 32 : 8;
                EXPECT_EQ(mine.Get("Depth").AsInt(), world == World::Desktop ? depth : gdDepth);
            }
        }
        room.ExpectClean();
    }
}

TEST(Pictures, RefuseSizesAndDepthsThatNoneHas) {
    for (const World world : {World::Console, World::Desktop}) {
        Darkroom room(InWorld(world));
        const int sizes[][3] = {{0, 5, 32}, {5, 0, 32}, {-1, 5, 32}, {32768, 1, 32}, {1, 32768, 32},
                                {5, 5, 0},  {5, 5, 2},  {5, 5, 4},   {5, 5, 64}};
        for (const auto& [width, height, depth] : sizes) {
            EXPECT_TRUE(room.Do("NewPicture", width, height, depth).IsNil()) << width << " " << height << " " << depth;
            const std::string message =
                ErrorOf([&, w = width, h = height, d = depth] { MakePicture(room.host, w, h, d); });
            EXPECT_NE(message.find(std::to_string(width) + " x " + std::to_string(height)), std::string::npos);
        }
        EXPECT_EQ(room.Do("NewPicture", 32767, 1, 32).AsObject().Get("Width").AsInt(), 32767);
        EXPECT_EQ(room.Do("NewPicture", 1, 32767, 32).AsObject().Get("Height").AsInt(), 32767);
        room.ExpectClean();
    }
}

TEST(Pictures, DescribeThemselvesByWorld) {
    for (const World world : kAllWorlds) {
        Darkroom room(InWorld(world));
        {
            const bool isDesktop = world == World::Desktop;
            const Object picture = MakePicture(room.host, 6, 4), palette = MakePicture(room.host, 6, 4, 8);
            const Object foreign = MakeForeignPicture(room.host, 6, 4);
            EXPECT_EQ(room.Say("Lock", picture), isDesktop ? "4 6x4 data" : "10 6x4 data");
            EXPECT_EQ(room.Say("Lock", palette), isDesktop ? "4 6x4 data" : "10 6x4 data");
            EXPECT_EQ(room.Say("Lock", foreign), "3 6x4 nil");
            EXPECT_EQ(InfoOf(room.host, picture).descriptionLocks, 1);
            EXPECT_EQ(LocksHeld(room.host).descriptions, 3);
            EXPECT_EQ(room.Do("Lock", picture, 10).AsText(), isDesktop ? "refused: 0 0x0 nil" : "10 6x4 data");
            EXPECT_EQ(room.Do("Lock", picture, 4).AsText(), isDesktop ? "4 6x4 data" : "refused: 0 0x0 nil");
            EXPECT_EQ(room.Do("Lock", foreign, 10).AsText(), "refused: 0 0x0 nil");
            EXPECT_EQ(room.Do("Lock", foreign, 3).AsText(), "refused: 0 0x0 nil");
            EXPECT_EQ(InfoOf(room.host, picture).descriptionLocks, 2);
            EXPECT_EQ(InfoOf(room.host, foreign).descriptionLocks, 1);
            for (const Object& locked : {picture, picture, palette, foreign}) room.Do("Unlock", locked);
            EXPECT_EQ(LocksHeld(room.host).descriptions, 0);
        }
        room.ExpectClean();
    }
}

TEST(Pictures, KeepTheLockOfARefusalOnOldHosts) {
    for (const double version : {2009.0, 2010.028, 2011.04, 2011.999}) {
        Darkroom room({.version = version});
        const Object foreign = MakeForeignPicture(room.host, 2, 2);
        EXPECT_EQ(room.Do("Lock", foreign, 10).AsText(), "refused: 0 0x0 nil");
        EXPECT_EQ(InfoOf(room.host, foreign).descriptionLocks, 1) << version;
        room.Do("Unlock", foreign);
        EXPECT_EQ(LocksHeld(room.host).descriptions, 0);
        EXPECT_TRUE(room.host.Faults().empty());
    }
    for (const double version : {2012.0, 2020.01}) {
        Darkroom room({.version = version});
        const Object foreign = MakeForeignPicture(room.host, 2, 2);
        EXPECT_EQ(room.Do("Lock", foreign, 10).AsText(), "refused: 0 0x0 nil");
        EXPECT_EQ(InfoOf(room.host, foreign).descriptionLocks, 0) << version;
    }
}

TEST(Pictures, TellWhatWasUnlockedTooOftenOrIsNoPicture) {
    Darkroom room;
    const Object picture = MakePicture(room.host, 2, 2);
    room.Do("Lock", picture);
    room.Do("Unlock", picture);
    EXPECT_TRUE(room.host.Faults().empty());
    room.Do("Unlock", picture);
    ASSERT_EQ(room.host.Faults().size(), 1u);
    EXPECT_NE(room.host.Faults()[0].find("unlocked once too often"), std::string::npos);
    EXPECT_TRUE(room.Do("GraphicsOf", room.host.MakeMemoryBlock(4)).IsNil());
    ASSERT_EQ(room.host.Faults().size(), 2u);
    EXPECT_NE(room.host.Faults()[1].find("was given no picture"), std::string::npos);
    EXPECT_TRUE(room.Do("GraphicsOf", nullptr).IsNil());
    EXPECT_TRUE(room.Do("Mask", nullptr, 1).IsNil());
    room.Do("ClearCache", nullptr);
    EXPECT_EQ(room.Do("Lock", nullptr, 10).AsText(), "refused: 0 0x0 nil");
    EXPECT_EQ(room.host.Faults().size(), 2u);
}

TEST(Pictures, LieInMemoryAsTheGDLibraryHasThem) {
    for (const World world : kGDWorlds) {
        Darkroom room(InWorld(world));
        const Object picture = MakePicture(room.host, PixelRows{2, 1, 3, {1, 2, 3, 250, 251, 252}});
        const std::vector<unsigned char> bytes = BytesOfBlock(room.host, room.Do("GDWords", picture));
        std::uint32_t words[2];
        ASSERT_EQ(bytes.size(), sizeof words);
        std::memcpy(words, bytes.data(), sizeof words);
        EXPECT_EQ(words[0], 0x00010203u);
        EXPECT_EQ(words[1], 0x00FAFBFCu);
        EXPECT_TRUE(room.Do("GDWords", MakePicture(room.host, 2, 1, 8)).IsNil()) << "a palette has no words";
    }
}

TEST(Pictures, LieInMemoryAsQuickDrawHasThem) {
    Darkroom room(InWorld(World::Desktop));
    const PixelRows colors{2, 1, 3, {1, 2, 3, 250, 251, 252}};
    const struct {
        int depth;
        std::vector<unsigned char> bytes;
    } layouts[] = {{32, {255, 1, 2, 3, 255, 250, 251, 252}},
                   {24, {1, 2, 3, 250, 251, 252}},
                   {16, {0, 0, 0x7F, 0xFF}},
                   {8, {(77 * 1 + 151 * 2 + 28 * 3) >> 8, (77 * 250 + 151 * 251 + 28 * 252) >> 8}},
                   {1, {0x80}}};
    for (const auto& [depth, expected] : layouts) {
        SCOPED_TRACE(depth);
        const Object picture = MakePicture(room.host, 2, 1, depth);
        WritePicture(room.host, picture, colors);
        std::vector<unsigned char> bytes =
            BytesOfBlock(room.host, room.Do("WorldBytes", room.Do("WorldOf", picture), 1));
        ASSERT_GE(bytes.size(), expected.size());
        bytes.resize(expected.size());
        if (depth == 1) bytes[0] &= 0xC0;
        EXPECT_EQ(bytes, expected);
    }
    room.ExpectClean();
}

// What is left of a colour in a picture with few of them.
static Color Nearest(Color color, int depth, bool isDesktop) {
    const int red = color.rgb >> 16 & 255, green = color.rgb >> 8 & 255, blue = color.rgb & 255;
    const int gray = (77 * red + 151 * green + 28 * blue) >> 8;
    if (!isDesktop || depth >= 24) return color;
    if (depth == 8) return Color::FromRGB(gray, gray, gray);
    if (depth == 1) return {gray < 128 ? 0 : 0xFFFFFF};
    const auto five = [](int value) { return (value & 0xF8) | value >> 5; };
    return Color::FromRGB(five(red), five(green), five(blue));
}

TEST(Pictures, GiveBackWhatWasWritten) {
    for (const World world : {World::Console, World::Desktop}) {
        Darkroom room(InWorld(world));
        {
            for (const int depth : {32, 24, 16, 8, 1}) {
                if (world == World::Console && depth <= 8) continue;  // a palette is told below
                const PixelRows rows = RandomRows(19, 11, 3, 5);
                const Object picture = MakePicture(room.host, 19, 11, depth);
                WritePicture(room.host, picture, rows);
                const PixelRows read = ReadPicture(room.host, picture);
                for (int y = 0; y < 11; ++y) {
                    for (int x = 0; x < 19; ++x) {
                        EXPECT_EQ(ColorAt(read, x, y), Nearest(ColorAt(rows, x, y), depth, world == World::Desktop))
                            << x << " " << y << " " << depth;
                    }
                }
            }
        }
        room.ExpectClean();
    }
}

TEST(Pictures, WithAPaletteKeepGrays) {
    Darkroom room;
    PixelRows grays{16, 16, 3, {}};
    for (int gray = 0; gray < 256; ++gray) grays.bytes.insert(grays.bytes.end(), 3, static_cast<unsigned char>(gray));
    const Object picture = MakePicture(room.host, 16, 16, 8);
    WritePicture(room.host, picture, grays);
    EXPECT_EQ(ReadPicture(room.host, picture), grays);
}

TEST(Pictures, CarryTheirOpacityInTheMask) {
    for (const World world : {World::Console, World::Desktop}) {
        Darkroom room(InWorld(world));
        {
            const PixelRows rows = RandomRows(9, 5, 4, 1);
            const Object picture = MakePicture(room.host, rows);
            EXPECT_TRUE(InfoOf(room.host, picture).hasMask);
            EXPECT_EQ(ReadPicture(room.host, picture, 4), rows);
            const PixelRows mask = ReadPicture(room.host, MaskOf(room.host, picture));
            EXPECT_EQ(ColorAt(mask, 3, 2),
                      Color::FromRGB(rows.bytes[4 * 21 + 3], rows.bytes[4 * 21 + 3], rows.bytes[4 * 21 + 3]));
            const PixelRows inverted = ReadPicture(room.host, picture, 4, MaskSense::BlackIsOpaque);
            for (std::size_t i = 3; i < rows.bytes.size(); i += 4) EXPECT_EQ(inverted.bytes[i], 255 - rows.bytes[i]);
            WritePicture(room.host, picture, inverted, MaskSense::BlackIsOpaque);
            EXPECT_EQ(ReadPicture(room.host, picture, 4), rows);
            const Object plain = MakePicture(room.host, RandomRows(9, 5, 3, 2));
            EXPECT_FALSE(InfoOf(room.host, plain).hasMask);
            const PixelRows opaque = ReadPicture(room.host, plain, 4);
            for (std::size_t i = 3; i < opaque.bytes.size(); i += 4) EXPECT_EQ(opaque.bytes[i], 255);
        }
        room.ExpectClean();
    }
}

TEST(Pictures, RefuseRowsThatDoNotFit) {
    Darkroom room;
    const Object picture = MakePicture(room.host, 3, 2);
    EXPECT_EQ(ErrorOf([&] { WritePicture(room.host, picture, RandomRows(2, 3, 3, 1)); }),
              "pixels of 2 x 3 do not fit a picture of 3 x 2");
    EXPECT_EQ(ErrorOf([&] {
                  WritePicture(room.host, picture, PixelRows{3, 2, 3, {1, 2}});
              }),
              "found 2 bytes where pixels of 3 x 2 have 18");
    EXPECT_NE(ErrorOf([&] { ReadPicture(room.host, picture, 2); }).find("3 or 4 channels here, not 2"),
              std::string::npos);
    EXPECT_EQ(ErrorOf([&] { ReadPicture(room.host, Object()); }), "found nil where a Picture is wanted");
    EXPECT_EQ(ErrorOf([&] { InfoOf(room.host, room.host.MakeMemoryBlock(1)); }),
              "found MemoryBlock where a Picture is wanted");
    EXPECT_EQ(ErrorOf([&] { ReadPicture(room.host, room.host.New("Picture")); }), "the Picture has no pixels");
}

TEST(Masks, AreMadeOnceOnDemand) {
    for (const World world : {World::Console, World::Desktop}) {
        Darkroom room(InWorld(world));
        {
            const Object picture = MakePicture(room.host, 5, 3);
            EXPECT_TRUE(room.Do("Mask", picture, 0).IsNil());
            EXPECT_FALSE(MaskOf(room.host, picture));
            const Object mask = room.Do("Mask", picture, 1).AsObject();
            EXPECT_EQ(mask.LockCount(), 2) << "the picture's and the caller's";
            EXPECT_EQ(mask.Get("Width").AsInt(), 5);
            EXPECT_EQ(mask.Get("Height").AsInt(), 3);
            EXPECT_EQ(mask.Get("Depth").AsInt(), 32);
            EXPECT_EQ(room.Do("Mask", picture, 1).AsObject(), mask);
            EXPECT_EQ(room.Do("Mask", picture, 0).AsObject(), mask);
            EXPECT_EQ(picture.Get("Mask").AsObject(), mask);
            EXPECT_EQ(MaskOf(room.host, picture, true), mask);
            EXPECT_EQ(mask.LockCount(), 2);
        }
        room.ExpectClean();
    }
}

TEST(Masks, GoWithTheirPictureOrBeforeIt) {
    Darkroom room;
    {
        Object picture = MakePicture(room.host, 5, 3);
        Object mask = MakePicture(room.host, 2, 2);
        SetMask(room.host, picture, mask);
        EXPECT_EQ(mask.LockCount(), 2);
        picture.Set("Mask", mask);
        EXPECT_EQ(mask.LockCount(), 2);
        picture.Set("Mask", nullptr);
        EXPECT_EQ(mask.LockCount(), 1);
        SetMask(room.host, picture, mask);
        mask = Object();
        EXPECT_EQ(room.host.LiveObjects().size(), 2u);
        EXPECT_NE(room.host.LeakReport().find("Picture, 1 lock, made at PicturesTest.cpp:"), std::string::npos);
        picture = Object();
        EXPECT_EQ(room.host.LeakReport(), "");
    }
    room.ExpectClean();
}

TEST(Masks, AreNoMasksOfThemselves) {
    Darkroom room;
    {
        const Object picture = MakePicture(room.host, 2, 2), mask = MakePicture(room.host, 2, 2);
        SetMask(room.host, picture, mask);
        EXPECT_NE(ErrorOf([&] { SetMask(room.host, picture, picture); }), "");
        EXPECT_NE(ErrorOf([&] { SetMask(room.host, mask, picture); }), "");
        EXPECT_EQ(MaskOf(room.host, picture), mask);
        EXPECT_FALSE(MaskOf(room.host, mask));
        EXPECT_EQ(ErrorOf([&] { SetMask(room.host, picture, room.host.MakeMemoryBlock(1)); }),
                  "found MemoryBlock where a Picture is wanted");
    }
    room.ExpectClean();
}

TEST(Pictures, AreBuiltFromBuffersOfRedGreenAndBlue) {
    for (const World world : {World::Console, World::Desktop}) {
        Darkroom room(InWorld(world));
        {
            // Rows of 8 bytes, of which 6 are pixels.
            const unsigned char bytes[] = {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0};
            const Object block = room.host.MakeMemoryBlock(bytes);
            const Object picture = room.Do("FromBuffer", block, 2, 2, 1, 8).AsObject();
            EXPECT_EQ(ReadPicture(room.host, picture), (PixelRows{2, 2, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}}));
            EXPECT_EQ(picture.LockCount(), 1);
            EXPECT_TRUE(room.Do("FromBuffer", block, 2, 2, 2, 8).IsNil());
            EXPECT_TRUE(room.Do("FromBuffer", block, 0, 2, 1, 8).IsNil());
            EXPECT_TRUE(room.Do("FromBuffer", nullptr, 2, 2, 1, 8).IsNil());
        }
        room.ExpectClean();
    }
}

TEST(Pictures, TellTheirSidesToPlugins) {
    Darkroom room;
    const Object picture = MakePicture(room.host, 12, 34);
    EXPECT_EQ(room.Do("Side", picture, "Width").AsInt(), 12);
    EXPECT_EQ(room.Do("Side", picture, "height").AsInt(), 34);
    EXPECT_EQ(room.Do("Side", picture, "Depth").AsInt(), 32);
    EXPECT_EQ(room.Do("Side", picture, "Mask").AsInt(), -2) << "no number";
    EXPECT_EQ(room.Do("Side", picture, "Weight").AsInt(), -2);
    EXPECT_EQ(room.Do("Side", nullptr, "Width").AsInt(), -2);
    EXPECT_EQ(room.Do("Side", room.host.New("Picture"), "Width").AsInt(), 0);
}

TEST(Pictures, CountTheClearingOfTheirCache) {
    Darkroom room;
    const Object picture = MakePicture(room.host, 1, 1);
    EXPECT_EQ(InfoOf(room.host, picture).cacheClears, 0);
    room.Do("ClearCache", picture);
    room.Do("ClearCache", picture);
    EXPECT_EQ(InfoOf(room.host, picture).cacheClears, 2);
}

TEST(Pictures, AreReportedWhereTheyLeak) {
    std::string report;
    {
        Darkroom room(InWorld(World::Desktop));
        Object picture = room.Do("NewPicture", 3, 3, 32).AsObject();
        const Object graphics = picture.Get("Graphics").AsObject();
        report = room.host.LeakReport();
    }
    EXPECT_NE(report.find("Picture, 2 locks, made by Darkroom.NewPicture at PictureHost.h:"), std::string::npos)
        << report;
    EXPECT_NE(report.find("Graphics, 1 lock, made by Picture.Graphics at PicturesTest.cpp:"), std::string::npos)
        << report;
    EXPECT_EQ(report.find("GWorld"), std::string::npos) << "a picture's own goes with the picture: " << report;
}

TEST(Pictures, MayBeOfAnotherStorageThanTheWorldHas) {
    for (const PictureStorage storage : {PictureStorage::GD, PictureStorage::GWorld}) {
        for (const World world : kAllWorlds) {
            Darkroom room({.world = world, .pictures = storage});
            const bool areGWorlds = storage == PictureStorage::GWorld;
            EXPECT_EQ(InfoOf(room.host, MakePicture(room.host, 1, 1)).kind, areGWorlds ? 4 : 10);
            EXPECT_EQ(room.Do("MakeWorld", 32, 1, 1).AsInt64() > 1000, areGWorlds);
        }
    }
}

}  // namespace zorhost
