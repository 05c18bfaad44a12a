// The plug-in itself with pictures of the host, opened as programs open it, in every kind of application.

#include <unistd.h>

#include "EngineHost.h"

namespace zorhost {

static std::filesystem::path ScratchPath(const std::string& name) {
    return std::filesystem::temp_directory_path() / ("zorhost-" + std::to_string(getpid()) + " " + name);
}

static constexpr World kBothKinds[] = {World::Console, World::Desktop};
static constexpr World kAllWorlds[] = {World::Console, World::Web, World::Desktop, World::None};

TEST(EnginePictures, GoOutAndComeBackWithTheSamePixelsAndAlpha) {
    for (const World world : kAllWorlds) {
        EngineHost engine({.world = world});
        {
            const PixelRows rows = RandomRows(23, 9, 4, 1);
            const Object image = engine.ImageOf("ImageFormatRGBA", 23, 9, 4, rows.bytes);
            const Object picture = image.Call("CopyPictureWithMask").AsObject();
            ASSERT_TRUE(picture);
            EXPECT_EQ(ReadPicture(engine.host, picture, 4), rows);
            const Object back = engine.Blank("ImageFormatRGBA", 23, 9, 4);
            back.Call("DrawMaskedPictureRGB", picture);
            EXPECT_EQ(engine.BytesOf(back), rows.bytes);
            // The reference to the mask that the import got stays.
            EXPECT_EQ(MaskOf(engine.host, picture).LockCount(), 3);
        }
        EXPECT_TRUE(engine.host.Faults().empty());
    }
}

struct Layout {
    const char* format;
    int pixelSize, red, green, blue, alpha;  // alpha -1: none
};
static const Layout kLayouts[] = {{"ImageFormatRGB", 3, 0, 1, 2, -1}, {"ImageFormatBGR", 3, 2, 1, 0, -1},
                                  {"ImageFormatRGBA", 4, 0, 1, 2, 3}, {"ImageFormatARGB", 4, 1, 2, 3, 0},
                                  {"ImageFormatBGRA", 4, 2, 1, 0, 3}, {"ImageFormatABGR", 4, 3, 2, 1, 0},
                                  {"ImageFormatG", 1, 0, 0, 0, -1},   {"ImageFormatGA", 2, 0, 0, 0, 1}};

TEST(EnginePictures, ShowTheColoursAndTheAlphaOfEveryFormat) {
    for (const World world : kBothKinds) {
        EngineHost engine({.world = world});
        {
            for (const Layout& layout : kLayouts) {
                SCOPED_TRACE(layout.format);
                std::vector<unsigned char> bytes = RandomRows(7, 5, 4, 3).bytes;
                bytes.resize(static_cast<std::size_t>(7 * 5 * layout.pixelSize));
                const Object image = engine.ImageOf(layout.format, 7, 5, layout.pixelSize, bytes);
                const PixelRows colours = ReadPicture(engine.host, image.Call("CopyPicture").AsObject());
                const Object mask = image.Call("CopyMask").AsObject();
                EXPECT_EQ(static_cast<bool>(mask), layout.alpha >= 0);
                const PixelRows alphas = mask ? ReadPicture(engine.host, mask) : PixelRows{};
                for (int i = 0; i < 7 * 5; ++i) {
                    const unsigned char* const pixel = bytes.data() + i * layout.pixelSize;
                    EXPECT_EQ(ColorAt(colours, i % 7, i / 7),
                              Color::FromRGB(pixel[layout.red], pixel[layout.green], pixel[layout.blue]));
                    if (!mask) continue;
                    const int a = pixel[layout.alpha];
                    EXPECT_EQ(ColorAt(alphas, i % 7, i / 7), Color::FromRGB(a, a, a));
                }
                EXPECT_EQ(engine.BytesOf(image), bytes);
            }
        }
        engine.ExpectClean();
    }
}

TEST(EnginePictures, AreDrawnFromPicturesOfEveryDepth) {
    for (const World world : kBothKinds) {
        EngineHost engine({.world = world});
        {
            for (const int depth : {32, 24, 16, 8, 1}) {
                SCOPED_TRACE(depth);
                const Object picture = MakePicture(engine.host, 10, 6, depth);
                WritePicture(engine.host, picture, RandomRows(10, 6, 3, 7));
                const PixelRows seen = ReadPicture(engine.host, picture);
                const Object image = engine.Blank("ImageFormatRGB", 10, 6, 3);
                const std::vector<unsigned char> before = engine.BytesOf(image);
                image.Call("DrawPictureRGB", picture);
                const bool isPalette = world == World::Console && depth <= 8;
                EXPECT_EQ(engine.BytesOf(image), isPalette ? before : seen.bytes);
                EXPECT_EQ(picture.LockCount(), 1);
            }
        }
        engine.ExpectClean();
    }
}

TEST(EnginePictures, AreRasterisedWhereTheyCannotBeRead) {
    EngineHost engine({.world = World::Desktop});
    {
        const Object foreign = MakeForeignPicture(engine.host, 10, 6);
        const PixelRows rows = RandomRows(10, 6, 3, 8);
        WritePicture(engine.host, foreign, rows);
        const Object image = engine.Blank("ImageFormatRGB", 10, 6, 3);
        image.Call("DrawPictureRGB", foreign);
        EXPECT_EQ(engine.BytesOf(image), rows.bytes);
        EXPECT_EQ(InfoOf(engine.host, foreign).descriptionLocks, 1) << "that of the attempt stays";
        EXPECT_EQ(foreign.LockCount(), 1);
    }
    engine.ExpectClean();
}

TEST(EnginePictures, AreRefusedOfAnotherKindInTheConsole) {
    for (const double version : {2011.0, 2012.0}) {
        EngineHost engine({.version = version});
        {
            const Object foreign = MakeForeignPicture(engine.host, 10, 6);
            const Object image = engine.Blank("ImageFormatRGB", 10, 6, 3);
            const std::vector<unsigned char> before = engine.BytesOf(image);
            image.Call("DrawPictureRGB", foreign);
            EXPECT_EQ(engine.BytesOf(image), before);
            EXPECT_FALSE(engine.host.New("PictureZOR", foreign).Get("Valid").AsBool());
            EXPECT_EQ(InfoOf(engine.host, foreign).descriptionLocks, 0)
                << "the refusal's lock is repaired on old hosts";
        }
        engine.ExpectClean();
    }
}

TEST(EnginePictures, HoldImages) {
    for (const World world : kAllWorlds) {
        EngineHost engine({.world = world});
        {
            const PixelRows rows = RandomRows(9, 4, 3, 9);
            const Object picture = MakePicture(engine.host, rows);
            const Object image = engine.host.New("PictureZOR", picture);
            ASSERT_TRUE(image.Get("Valid").AsBool());
            EXPECT_EQ(image.Get("Target").AsObject(), picture);
            EXPECT_EQ(picture.LockCount(), 2);
            EXPECT_EQ(InfoOf(engine.host, picture).descriptionLocks, 0);
            EXPECT_FALSE(image.Get("HasAlpha").AsBool());
            EXPECT_EQ(ReadPicture(engine.host, image.Call("CopyPicture").AsObject()), rows);
            image.Call("FillRectRGB", Color::FromRGB(1, 2, 3));
            EXPECT_EQ(ReadPicture(engine.host, picture), PlainRows(9, 4, Color::FromRGB(1, 2, 3)));
            image.Call("Close");
            EXPECT_EQ(picture.LockCount(), 1);
            EXPECT_TRUE(engine.host.New("PictureZOR", picture, true).Get("HasAlpha").AsBool());
        }
        engine.ExpectClean();
    }
}

TEST(EnginePictures, HoldImagesOf32And24BitsOnTheDesktop) {
    EngineHost engine({.world = World::Desktop});
    {
        for (const int depth : {32, 24, 16, 8, 1}) {
            const Object picture = MakePicture(engine.host, 9, 4, depth);
            const Object image = engine.host.New("PictureZOR", picture);
            EXPECT_EQ(image.Get("Valid").AsBool(), depth >= 24) << depth;
            EXPECT_EQ(picture.LockCount(), depth >= 24 ? 2 : 1);
            EXPECT_EQ(InfoOf(engine.host, picture).descriptionLocks, 0);
            EXPECT_EQ(image.Get("PixelSize").AsInt(), depth == 32 ? 4 : depth == 24 ? 3 : 0);
        }
        EXPECT_FALSE(engine.host.New("PictureZOR", MakeForeignPicture(engine.host, 2, 2)).Get("Valid").AsBool());
    }
    engine.ExpectClean();
}

TEST(EnginePictures, AreNotHeldByAPaletteInTheConsole) {
    EngineHost engine;
    {
        const Object palette = MakePicture(engine.host, 9, 4, 8);
        EXPECT_FALSE(engine.host.New("PictureZOR", palette).Get("Valid").AsBool());
        EXPECT_EQ(palette.LockCount(), 1);
        EXPECT_EQ(InfoOf(engine.host, palette).descriptionLocks, 0);
    }
    engine.ExpectClean();
}

TEST(EnginePictures, ComeFromImagesOfEveryStorage) {
    const std::filesystem::path scratch = ScratchPath("pictures.raw");
    for (const World world : kBothKinds) {
        EngineHost engine({.world = world});
        {
            const PixelRows rows = RandomRows(20, 12, 3, 11);
            const Object source = MakePicture(engine.host, rows);
            const Value format = engine.host.Constant("PictureZOR", "ImageFormatRGB");
            const Object item = engine.host.MakeFolderItem(scratch);
            const Object images[] = {
                engine.Blank("ImageFormatRGB", 20, 12, 3),
                engine.host.New("PictureZOR", 20, 12, format),
                engine.host.New("PictureZOR", 20, 12, format, 0, item),
                engine.host.New("PictureZOR", MakePicture(engine.host, 20, 12)),
            };
            for (const Object& image : images) {
                SCOPED_TRACE(&image - images);
                ASSERT_TRUE(image.Get("Valid").AsBool());
                image.Call("DrawPictureRGB", source);
                EXPECT_EQ(ReadPicture(engine.host, image.Call("CopyPicture").AsObject()), rows);
                // Views of an image in a console picture have no rows.
                if (world == World::Console && !image.Get("Target").IsNil()) continue;
                const Object red = image.Call("RedChannel").AsObject();
                const PixelRows reds = ReadPicture(engine.host, red.Call("CopyPicture").AsObject());
                for (int i = 0; i < 20 * 12; ++i) {
                    const int level = ColorAt(rows, i % 20, i / 20).rgb >> 16;
                    EXPECT_EQ(ColorAt(reds, i % 20, i / 20), Color::FromRGB(level, level, level));
                }
                // The window of a file's clip is placed by the clip's height, and finds no place in a file this small.
                if (image.Get("IsMapping").AsBool()) continue;
                const Object clip = image.Call("ClipImage", 3, 2, 5, 4).AsObject();
                const PixelRows part = ReadPicture(engine.host, clip.Call("CopyPicture").AsObject());
                for (int i = 0; i < 5 * 4; ++i) {
                    EXPECT_EQ(ColorAt(part, i % 5, i / 5), ColorAt(rows, i % 5 + 3, i / 5 + 2));
                }
            }
        }
        engine.ExpectClean();
    }
}

TEST(EnginePictures, HaveAPreviewForDebuggers) {
    for (const World world : kBothKinds) {
        EngineHost engine({.world = world});
        {
            const PixelRows rows = RandomRows(30, 20, 4, 12);
            const Object image = engine.ImageOf("ImageFormatRGBA", 30, 20, 4, rows.bytes);
            EXPECT_TRUE(image.Get("DebugPicture").IsNil());
            image.Set("DebugPictureEnabled", true);
            const Object preview = image.Get("DebugPicture").AsObject();
            ASSERT_TRUE(preview);
            EXPECT_EQ(preview.LockCount(), 1);
            const PixelRows seen = ReadPicture(engine.host, preview);
            EXPECT_EQ(seen.width, 30);
            EXPECT_EQ(seen.height, 20);
            for (int y = 0; y < 20; ++y) {
                for (int x = 0; x < 30; ++x) EXPECT_EQ(ColorAt(seen, x, y), ColorAt(rows, x, y));
            }
        }
        engine.ExpectClean();
    }
}

// Where no application class exists both kinds of picture are tried.
TEST(EnginePictures, ComeAndGoWithoutAnApplication) {
    for (const PictureStorage storage : {PictureStorage::GD, PictureStorage::GWorld}) {
        EngineHost engine({.world = World::None, .pictures = storage});
        {
            const PixelRows rows = RandomRows(9, 4, 3, 9);
            const Object picture = MakePicture(engine.host, rows);
            const Object image = engine.host.New("PictureZOR", picture);
            EXPECT_TRUE(image.Get("Valid").AsBool());
            EXPECT_EQ(InfoOf(engine.host, picture).descriptionLocks, 0);
            EXPECT_EQ(ReadPicture(engine.host, image.Call("CopyPicture").AsObject()), rows);
            const Object back = engine.Blank("ImageFormatRGB", 9, 4, 3);
            back.Call("DrawPictureRGB", picture);
            EXPECT_EQ(engine.BytesOf(back), rows.bytes);
            EXPECT_EQ(InfoOf(engine.host, picture).descriptionLocks, 0);
        }
        engine.ExpectClean();
    }
}

TEST(EnginePictures, HaveNoSideAboveTheLongest) {
    for (const World world : kBothKinds) {
        EngineHost engine({.world = world});
        {
            const struct {
                int width, height;
                bool fits;
            } sizes[] = {{32767, 1, true}, {1, 32767, true}, {32768, 1, false}, {1, 32768, false}};
            for (const auto& [width, height, fits] : sizes) {
                const Object image = engine.Blank("ImageFormatG", width, height, 1);
                engine.host.FailCall("newPicture", 0);
                const Object picture = image.Call("CopyPicture").AsObject();
                EXPECT_EQ(static_cast<bool>(picture), fits) << width << " x " << height;
                EXPECT_EQ(engine.host.CallsOf("newPicture"), fits ? 1 : 0);
            }
        }
        engine.ExpectClean();
    }
}

TEST(EnginePictures, TellTheHostOfNewPixels) {
    for (const World world : kBothKinds) {
        EngineHost engine({.world = world});
        const Object picture = engine.Blank("ImageFormatRGB", 3, 3, 3).Call("CopyPicture").AsObject();
        EXPECT_EQ(InfoOf(engine.host, picture).cacheClears, 2) << "at closing, and when it is handed out";
        engine.Blank("ImageFormatRGB", 3, 3, 3).Call("DrawPictureRGB", picture);
        EXPECT_EQ(InfoOf(engine.host, picture).cacheClears, 2) << "a reader changes nothing";
    }
}

TEST(EnginePictures, GoOutWithoutADrawingMethodInTheConsole) {
    for (const std::string missing : {"REALLoadObjectMethod", "pluginPictureGraphicsGetter"}) {
        for (const double version : {2011.0, 2020.01}) {
            EngineHost engine({.version = version, .missing = {missing}});
            {
                const PixelRows rows = RandomRows(8, 8, 4, 2);
                const Object image = engine.ImageOf("ImageFormatRGBA", 8, 8, 4, rows.bytes);
                EXPECT_EQ(ReadPicture(engine.host, image.Call("CopyPictureWithMask").AsObject(), 4), rows)
                    << missing << " on " << version;
            }
            engine.ExpectClean();
        }
    }
}

// --- CopyGWorld ----------------------------------------------------------------------------------------------------

TEST(EngineGWorlds, AreOwnedByTheirObjectWithTheirPixelsLocked) {
    EngineHost engine({.world = World::Desktop, .hasGWorldClass = true});
    {
        for (const Layout& layout : kLayouts) {
            SCOPED_TRACE(layout.format);
            std::vector<unsigned char> bytes = RandomRows(7, 5, 4, 3).bytes;
            bytes.resize(static_cast<std::size_t>(7 * 5 * layout.pixelSize));
            const Object image = engine.ImageOf(layout.format, 7, 5, layout.pixelSize, bytes);
            const Object owner = image.Call("CopyGWorld").AsObject();
            ASSERT_TRUE(owner);
            EXPECT_EQ(owner.ClassName(), "GWorldZOR");
            const bool isGray = image.Get("IsGray").AsBool();
            EXPECT_EQ(owner.Get("Depth").AsInt(), isGray ? 8 : layout.alpha >= 0 ? 32 : 24);
            EXPECT_EQ(LocksHeld(engine.host).pixels, 1);
            EXPECT_EQ(LocksHeld(engine.host).gworlds, 1);
            const PixelRows seen = ReadPicture(engine.host, owner);
            for (int i = 0; i < 7 * 5; ++i) {
                const unsigned char* const pixel = bytes.data() + i * layout.pixelSize;
                EXPECT_EQ(ColorAt(seen, i % 7, i / 7),
                          Color::FromRGB(pixel[layout.red], pixel[layout.green], pixel[layout.blue]));
            }
        }
    }
    EXPECT_EQ(LocksHeld(engine.host), LockBalance{});
    engine.ExpectClean();
}

TEST(EngineGWorlds, OfNarrowImagesAreReadAsTheyAreLaidOut) {
    for (const bool wide : {false, true}) {
        EngineHost engine({.world = World::Desktop, .hasGWorldClass = true, .wideGWorlds = wide});
        for (int width = 1; width <= 9; ++width) {
            const PixelRows rows = RandomRows(width, 3, 3, 6);
            const Object image = engine.ImageOf("ImageFormatRGB", width, 3, 3, rows.bytes);
            EXPECT_EQ(ReadPicture(engine.host, image.Call("CopyGWorld").AsObject()), rows) << width;
        }
        engine.ExpectClean();
    }
}

TEST(EngineGWorlds, AreNotMadeWithoutTheirClassOrQuickDraw) {
    for (const HostOptions& options :
         {HostOptions{.world = World::Desktop}, HostOptions{.world = World::Console, .hasGWorldClass = true}}) {
        EngineHost engine(options);
        EXPECT_TRUE(engine.Blank("ImageFormatRGB", 4, 4, 3).Call("CopyGWorld").IsNil());
        EXPECT_TRUE(engine.Blank("ImageFormatG", 4, 4, 1).Call("CopyGWorld").IsNil());
        EXPECT_EQ(LocksHeld(engine.host).gworlds, 0);
        engine.ExpectClean();
    }
    EngineHost engine({.world = World::Desktop, .hasGWorldClass = true});
    EXPECT_TRUE(engine.Blank("ImageFormatCMYK", 4, 4, 4).Call("CopyGWorld").IsNil());
    engine.ExpectClean();
}

// --- versions ------------------------------------------------------------------------------------------------------

TEST(EngineVersions, OfferPicturesToTheConsoleFrom2010_029On) {
    for (const double version : {2009.0, 2010.028, 2010.029, 2011.0, 2012.0, 2013.0}) {
        for (const World world : kAllWorlds) {
            SCOPED_TRACE(std::to_string(version) + " in world " + std::to_string(static_cast<int>(world)));
            EngineHost engine({.world = world, .version = version});
            const bool offered = version >= 2010.029 || world == World::Desktop || world == World::None;
            const ClassDescription& about = engine.host.Describe("PictureZOR");
            int pictureRows = 0;
            for (const MethodDescription& method : about.methods) {
                const bool dealsInPictures = (method.flags & 0x40000) != 0;
                pictureRows += dealsInPictures;
                if (dealsInPictures) {
                    EXPECT_EQ(method.available, offered) << method.declaration;
                }
            }
            EXPECT_GE(pictureRows, 25);
            for (const PropertyDescription& property : about.properties) {
                EXPECT_TRUE(property.available == offered || (property.flags & 0x40000) == 0) << property.declaration;
            }
            const PixelRows rows = RandomRows(6, 5, 4, 1);
            const Object image = engine.ImageOf("ImageFormatRGBA", 6, 5, 4, rows.bytes);
            if (offered) {
                const Object picture = image.Call("CopyPictureWithMask").AsObject();
                EXPECT_EQ(ReadPicture(engine.host, picture, 4), rows);
                EXPECT_TRUE(engine.host.New("PictureZOR", picture).Get("Valid").AsBool());
            } else {
                EXPECT_NE(ErrorOf([&] { image.Call("CopyPicture"); }).find("not available in "), std::string::npos);
                EXPECT_NE(ErrorOf([&] { image.Get("Target"); }).find("not available in "), std::string::npos);
                EXPECT_NE(ErrorOf([&] { engine.host.New("PictureZOR", MakePicture(engine.host, 2, 2)); }), "");
            }
            EXPECT_TRUE(engine.host.Faults().empty());
        }
    }
}

// Strings are read as the version demands: from their record on old hosts, by the service for that on newer ones.
TEST(EngineVersions, TellExceptionsAndFindFilesOnEveryHost) {
    const std::filesystem::path scratch = ScratchPath("\xC3\xA4 scratch");
    for (const double version : {2009.0, 2010.028, 2010.029, 2011.0, 2012.0, 2013.0}) {
        for (const bool hasStringData : {true, false}) {
            SCOPED_TRACE(version);
            std::set<std::string> missing;
            if (!hasStringData) missing = {"PluginGetStringData", "PluginDisposeStringData"};
            EngineHost engine({.version = version, .missing = missing});
            {
                const Object image = engine.Blank("ImageFormatRGB", 4, 4, 3);
                try {
                    image.Call("Channel", 3);
                    ADD_FAILURE() << "nothing was thrown";
                } catch (const HostException& exception) {
                    EXPECT_EQ(exception.ClassName(), "OutOfBoundsException");
                    EXPECT_EQ(exception.Message(),
                              "Parameter index to method Channel is too big. Range is 0 to 2, but value is 3.");
                }
                EXPECT_EQ(image.Get("ImageFormatString").AsText(), "RGB");
                const Object item = engine.host.MakeFolderItem(scratch);
                const Object mapped = engine.host.New("PictureZOR", 10, 10, 1, 0, item);
                EXPECT_TRUE(mapped.Get("Valid").AsBool());
                EXPECT_TRUE(std::filesystem::exists(scratch));
                mapped.Call("Close");
                EXPECT_FALSE(std::filesystem::exists(scratch));
            }
            engine.ExpectClean();
        }
    }
}

}  // namespace zorhost
