// The plug-in itself, opened as programs open it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "TestHost.h"

namespace zorhost {

static HostOptions Engine() {
    return {.plugin = ENGINE};
}

static void ExpectClean(const Host& host) {
    EXPECT_EQ(host.LeakReport(), "");
    EXPECT_EQ(host.Faults(), std::vector<std::string>());
}

static Object NewImage(Host& host, int width, int height, const char* format) {
    return host.New("PictureZOR", width, height, host.Constant("PictureZOR", format));
}

TEST(Engine, RegistersItsTwoClasses) {
    const Host host(Engine());
    ASSERT_EQ(host.Classes().size(), 2u);
    EXPECT_EQ(host.Classes()[0].name, "PictureZOR");
    EXPECT_EQ(host.Classes()[0].properties.size(), 41u);
    EXPECT_EQ(host.Classes()[0].constants.size(), 79u);
    EXPECT_EQ(host.Classes()[0].sharedMethods.size(), 3u);
    EXPECT_EQ(host.Classes()[1].name, "PictureFactoryZOR");
    EXPECT_EQ(host.Classes()[1].events.size(), 1u);
    EXPECT_EQ(host.Constant("PictureZOR", "ImageFormatXBGR").AsInt(), 10);
    EXPECT_EQ(host.PluginVersion(), 9);
}

TEST(Engine, MakesScalesAndLooksThroughImages) {
    Host host(Engine());
    {
        const Object source = NewImage(host, 30, 20, "ImageFormatRGB"), target = NewImage(host, 7, 5, "ImageFormatRGB");
        EXPECT_EQ(source.Get("RowSize").AsInt(), 128);
        EXPECT_EQ(source.Get("TotalSize").AsInt64(), 2560);
        EXPECT_EQ(source.Get("ImageFormatString").AsText(), "RGB");
        std::memset(host.MemoryBlockBytes(source.Get("Memory").AsObject()).data, 200, 2560);
        EXPECT_TRUE(target.Call("Scale", source, nullptr, 3, 7, 5).AsBool());
        // Each of the two passes truncates.
        EXPECT_NEAR(host.MemoryBlockBytes(target.Get("Memory").AsObject()).data[3 * 6 + 2], 200, 2);
        EXPECT_TRUE(target.Call("ScaleMT", 4, source, nullptr, 3, 7, 5).AsBool());
        const Object view = source.Call("RedChannel").AsObject();
        EXPECT_EQ(view.Get("Parent").AsObject(), source);
        EXPECT_EQ(source.LockCount(), 2);
        EXPECT_TRUE(source.Call("AlphaChannel").IsNil());
        EXPECT_EQ(host.CallShared("PictureZOR", "CalculateMemory", 100, 100, 1).TypeName(), "Int64");
    }
    ExpectClean(host);
}

TEST(Engine, RaisesExceptionsWithTheirMessage) {
    Host host(Engine());
    {
        const Object image = NewImage(host, 4, 4, "ImageFormatRGB");
        try {
            image.Call("Channel", 3);
            FAIL() << "nothing was thrown";
        } catch (const HostException& exception) {
            EXPECT_EQ(exception.ClassName(), "OutOfBoundsException");
            EXPECT_EQ(exception.Message(),
                      "Parameter index to method Channel is too big. Range is 0 to 2, but value is 3.");
        }
        EXPECT_THROW(host.New("PictureZOR", nullptr, 4, 4, 1, 12), HostException);
    }
    ExpectClean(host);
}

TEST(Engine, LeavesStandardInputAloneAfterAFileBackedImage) {
    Host host(Engine());
    const auto folder = std::filesystem::temp_directory_path();
    const auto input = folder / ("engine-input-" + std::to_string(getpid()));
    const auto scratch = folder / ("engine-scratch-" + std::to_string(getpid()));
    const int saved = fcntl(0, F_DUPFD_CLOEXEC, 10);
    const int file = open(input.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
    ASSERT_EQ(write(file, "kept", 4), 4);
    dup2(file, 0);
    close(file);
    {
        const Object image = host.New("PictureZOR", 100, 64, 1, 0, host.MakeFolderItem(scratch));
        EXPECT_TRUE(image.Get("Valid").AsBool());
        EXPECT_TRUE(image.Get("IsMapping").AsBool());
        EXPECT_TRUE(std::filesystem::exists(scratch));
        image.Call("Close");
        EXPECT_FALSE(std::filesystem::exists(scratch));
        image.Call("Close");
    }
    struct stat status {};
    ASSERT_EQ(fstat(0, &status), 0);
    EXPECT_EQ(status.st_size, 4);
    dup2(saved, 0);
    close(saved);
    std::filesystem::remove(input);
    ExpectClean(host);
}

TEST(Engine, AsksFactoriesForNewImages) {
    Host host(Engine());
    {
        int asked = 0;
        const Object given = NewImage(host, 50, 50, "ImageFormatRGBA");
        const Object factory = host.MakeFactory([&](int width, int height, int format) {
            asked = width * 10000 + height * 100 + format;
            return width > 40 ? Object() : given;
        });
        const Object image = NewImage(host, 8, 8, "ImageFormatRGB");
        image.Set("Factory", factory);
        EXPECT_EQ(image.Call("CreatePictureZOR", 9, 10, 2).AsObject(), given);
        EXPECT_EQ(asked, 91002);
        EXPECT_EQ(host.CallShared("PictureZOR", "CreatePictureZOR", 9, 10, 2).AsObject().Get("Width").AsInt(), 9);
        host.CallShared("PictureFactoryZOR", "SetFactory", factory);
        EXPECT_EQ(host.CallShared("PictureZOR", "CreatePictureZOR", 9, 10, 2).AsObject(), given);
        EXPECT_EQ(image.Call("CreatePictureZOR", 41, 10, 2).AsObject().Get("Width").AsInt(), 41);
        host.CallShared("PictureFactoryZOR", "SetFactory", nullptr);
        EXPECT_EQ(given.LockCount(), 1);
    }
    ExpectClean(host);
}

// Forms of one name are told apart by their arguments, and rows can be assigned to.
TEST(Engine, FillsCopiesAndBlendsByTheFormsOfItsMethods) {
    FreshHost fresh(ENGINE, {.world = World::Desktop});  // Combine is not for console applications
    Host& host = fresh.host;
    {
        const Object image = NewImage(host, 2, 2, "ImageFormatRGB");
        const auto pixel = [&](int x, int y) {
            const unsigned char* row = host.MemoryBlockBytes(image.Call("RawRow", y).AsObject()).data + 3 * x;
            return std::vector<int>(row, row + 3);
        };
        image.Call("FillRectRGB", Color{0x0A141E});
        EXPECT_EQ(pixel(1, 1), (std::vector<int>{10, 20, 30}));
        image.Call("FillRectRGB", 1, 2, 3);
        EXPECT_EQ(pixel(0, 1), (std::vector<int>{1, 2, 3}));
        image.Call("FillRectRGB", 1, 0, 1, 1, Color{0x0A141E}, 255);
        EXPECT_EQ(pixel(1, 0), (std::vector<int>{10, 20, 30}));
        image.Call("Invert");
        EXPECT_EQ(pixel(0, 0), (std::vector<int>{254, 253, 252}));

        image.Assign("Row", 1, image.Call("Row", 0).AsObject());
        EXPECT_EQ(pixel(1, 1), (std::vector<int>{245, 235, 225}));
        const Object gray = host.MakeMemoryBlock(2);
        host.MemoryBlockBytes(gray).data[0] = 7;
        host.MemoryBlockBytes(gray).data[1] = 9;
        image.Assign("RowInFormat", 0, host.Constant("PictureZOR", "ImageFormatG"), gray);
        EXPECT_EQ(pixel(1, 0), (std::vector<int>{9, 9, 9}));
        EXPECT_EQ(image.Call("DataStringInFormat", host.Constant("PictureZOR", "ImageFormatG")).AsString().bytes.size(),
                  4u);

        const Object over = NewImage(host, 2, 2, "ImageFormatRGB");
        over.Call("FillRect", 100);
        EXPECT_TRUE(image.Call("Combine", over, nullptr, 0, 0, 0, 0, 1, 1, false).AsBool());
        EXPECT_EQ(pixel(0, 0), (std::vector<int>{100, 100, 100}));
        EXPECT_TRUE(image.Call("Combine", over, nullptr, 0, 0, 0, 0, 2, 2, true, Color{0}, Color{0xFFFFFF}).AsBool());
        EXPECT_TRUE(image.Call("Combine", over, nullptr, 0, 0, 0, 0, 2, 2, true, -1, -1).AsBool());
        EXPECT_EQ(pixel(1, 1), (std::vector<int>{100, 100, 100}));
        EXPECT_EQ(image.Call("CompareImages", over).AsInt64(), 4);
        const Object turned = image.Call("Rotate90", nullptr).AsObject();
        EXPECT_EQ(turned.Get("Width").AsInt(), 2);
        const Object blurred = image.Call("ApplyMatrix", over, 1, std::vector<std::int32_t>{2}).AsObject();
        EXPECT_EQ(blurred, over);
    }
    ExpectClean(host);
}

TEST(Engine, ReleasesEverythingWhenCancelled) {
    Host host(Engine());
    {
        const Object source = NewImage(host, 300, 300, "ImageFormatRGB"),
                     target = NewImage(host, 90, 90, "ImageFormatRGB");
        target.Set("YieldTicks", 1);
        const std::string before = host.LeakReport();
        int yields = 0;
        host.SetYield([&] {
            ++yields;
            throw Cancelled();
        });
        EXPECT_THROW(target.Call("Scale", source, nullptr, 3, 90, 90), Cancelled);
        EXPECT_EQ(yields, 1);
        EXPECT_THROW(target.Call("ScaleMT", 3, source, nullptr, 3, 90, 90), Cancelled);
        EXPECT_GE(yields, 2);
        EXPECT_EQ(host.LeakReport(), before);
        host.SetYield({});
        EXPECT_TRUE(target.Call("ScaleMT", 3, source, nullptr, 3, 90, 90).AsBool());
    }
    ExpectClean(host);
}

}  // namespace zorhost
