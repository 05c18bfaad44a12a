// Pictures in files.

#include <gd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "PictureHost.h"

namespace zorhost {

namespace fs = std::filesystem;

struct PictureFiles : testing::Test {
    PictureFiles() { fs::create_directory(folder); }
    ~PictureFiles() override { fs::remove_all(folder); }

    static std::string Contents(const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    const fs::path folder = fs::temp_directory_path() / ("zorhost-files-" + std::to_string(getpid()));
};

TEST_F(PictureFiles, GiveBackWhatAPngWasGiven) {
    for (const World world : {World::Console, World::Desktop}) {
        Darkroom room(InWorld(world));
        {
            const PixelRows rows = RandomRows(31, 17, 3, 1);
            SavePicture(room.host, MakePicture(room.host, rows), folder / "a.PNG");
            const Object loaded = LoadPicture(room.host, folder / "a.PNG");
            EXPECT_EQ(ReadPicture(room.host, loaded), rows);
            EXPECT_FALSE(InfoOf(room.host, loaded).hasMask);
            EXPECT_EQ(loaded.Get("Depth").AsInt(), 32);
        }
        room.ExpectClean();
    }
}

TEST_F(PictureFiles, KeepSevenBitsOfOpacityInAPng) {
    Darkroom room;
    PixelRows rows = RandomRows(16, 16, 4, 2);
    for (int i = 0; i < 256; ++i) rows.bytes[static_cast<std::size_t>(4 * i + 3)] = static_cast<unsigned char>(i);
    const Object picture = MakePicture(room.host, rows);
    for (const MaskSense sense : {MaskSense::WhiteIsOpaque, MaskSense::BlackIsOpaque}) {
        SavePicture(room.host, picture, folder / "a.png", {.sense = sense});
        const PixelRows loaded = ReadPicture(room.host, LoadPicture(room.host, folder / "a.png", sense), 4);
        ASSERT_EQ(loaded.bytes.size(), rows.bytes.size());
        for (std::size_t i = 0; i < rows.bytes.size(); ++i) {
            if (i % 4 == 3) {
                EXPECT_NEAR(loaded.bytes[i], rows.bytes[i], 2) << i;
            } else {
                EXPECT_EQ(loaded.bytes[i], rows.bytes[i]) << i;
            }
        }
        EXPECT_EQ(loaded.bytes[3], 0);
        EXPECT_EQ(loaded.bytes[255 * 4 + 3], 255);
        // A second time nothing is lost any more.
        SavePicture(room.host, MakePicture(room.host, loaded), folder / "b.png");
        EXPECT_EQ(ReadPicture(room.host, LoadPicture(room.host, folder / "b.png"), 4), loaded);
    }
    SavePicture(room.host, picture, folder / "white.png", {.sense = MaskSense::WhiteIsOpaque});
    const PixelRows other = ReadPicture(
        room.host, LoadPicture(room.host, folder / "white.png", MaskSense::BlackIsOpaque), 4, MaskSense::BlackIsOpaque);
    EXPECT_EQ(other.bytes[3], 0);
}

TEST_F(PictureFiles, ComeNearAJpegByQuality) {
    Darkroom room;
    PixelRows ramp{64, 64, 3, {}};
    for (int i = 0; i < 64 * 64; ++i) {
        const auto level = static_cast<unsigned char>(i % 64 * 4);
        ramp.bytes.insert(ramp.bytes.end(), {level, static_cast<unsigned char>(i / 64 * 4), 128});
    }
    const Object picture = MakePicture(room.host, ramp);
    MaskOf(room.host, picture, true);
    SavePicture(room.host, picture, folder / "fine.jpg", {.quality = 100});
    SavePicture(room.host, picture, folder / "small.jpeg", {.quality = 20});
    EXPECT_LT(fs::file_size(folder / "small.jpeg"), fs::file_size(folder / "fine.jpg"));
    const Object loaded = LoadPicture(room.host, folder / "fine.jpg");
    EXPECT_FALSE(InfoOf(room.host, loaded).hasMask);
    const PixelRows rows = ReadPicture(room.host, loaded);
    ASSERT_EQ(rows.width, 64);
    ASSERT_EQ(rows.height, 64);
    for (std::size_t i = 0; i < rows.bytes.size(); ++i) EXPECT_NEAR(rows.bytes[i], ramp.bytes[i], 8) << i;
}

TEST_F(PictureFiles, AreReadByTheirContents) {
    Darkroom room;
    const PixelRows rows = RandomRows(5, 4, 3, 3);
    SavePicture(room.host, MakePicture(room.host, rows), folder / "a.png");
    fs::rename(folder / "a.png", folder / "a.jpg");
    EXPECT_EQ(ReadPicture(room.host, LoadPicture(room.host, folder / "a.jpg")), rows);
    // A palette is no matter either.
    const gdImagePtr palette = gdImageCreate(2, 1);
    gdImageSetPixel(palette, 0, 0, gdImageColorAllocate(palette, 1, 2, 3));
    gdImageSetPixel(palette, 1, 0, gdImageColorAllocate(palette, 4, 5, 6));
    ASSERT_TRUE(gdImageFile(palette, (folder / "palette.png").c_str()));
    gdImageDestroy(palette);
    EXPECT_EQ(ReadPicture(room.host, LoadPicture(room.host, folder / "palette.png")),
              (PixelRows{2, 1, 3, {1, 2, 3, 4, 5, 6}}));
}

TEST_F(PictureFiles, AreReadWithoutRemarks) {
    Darkroom room;
    const PixelRows rows = RandomRows(5, 4, 3, 3);
    SavePicture(room.host, MakePicture(room.host, rows), folder / "a.png");
    std::string png = Contents(folder / "a.png");
    // Behind the header, a profile that is none, in a chunk whose check sum is wrong too.
    const std::size_t header = 8 + 25;
    png.insert(header, std::string("\0\0\0\4iCCPabcd\0\0\0\0", 16));
    std::ofstream(folder / "a.png", std::ios::binary) << png << "and something behind the end";
    testing::internal::CaptureStderr();
    const Object loaded = LoadPicture(room.host, folder / "a.png");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(ReadPicture(room.host, loaded), rows);
}

TEST_F(PictureFiles, AreNamedWhereTheyCannotBeRead) {
    Darkroom room;
    const auto load = [&](const std::string& name) {
        const std::string message = ErrorOf([&] { LoadPicture(room.host, folder / name); });
        EXPECT_EQ(message.find((folder / name).string() + ": "), 0u) << message;
        return message;
    };
    EXPECT_NE(load("absent.png").find("No such file or directory"), std::string::npos);
    std::ofstream(folder / "text.png") << "no picture at all";
    EXPECT_NE(load("text.png").find("neither a PNG nor a JPEG"), std::string::npos);
    std::ofstream(folder / "empty.png").close();
    EXPECT_NE(load("empty.png").find("neither a PNG nor a JPEG"), std::string::npos);
    EXPECT_NE(load("").find("irectory"), std::string::npos);
    const Object picture = MakePicture(room.host, RandomRows(200, 200, 3, 1));
    for (const std::string name : {"a.png", "a.jpg"}) {
        SavePicture(room.host, picture, folder / name);
        const std::string whole = Contents(folder / name);
        for (const std::size_t size : {whole.size() / 2, std::size_t{20}}) {
            std::ofstream(folder / name, std::ios::binary) << whole.substr(0, size);
            EXPECT_NE(load(name).find("is damaged"), std::string::npos) << name << " of " << size;
        }
    }
    picture.Get("Width");
    EXPECT_EQ(room.host.LiveObjects().size(), 1u) << "nothing half read is left";
}

TEST_F(PictureFiles, AreNamedWhereTheyCannotBeWritten) {
    Darkroom room;
    const Object picture = MakePicture(room.host, 2, 2);
    const auto save = [&](const fs::path& path, SaveOptions options = {}) {
        const std::string message = ErrorOf([&] { SavePicture(room.host, picture, path, options); });
        EXPECT_EQ(message.find(path.string() + ": "), 0u) << message;
        return message;
    };
    EXPECT_NE(save(folder / "a.bmp").find("not as \".bmp\""), std::string::npos);
    EXPECT_NE(save(folder / "a").find("not as \"\""), std::string::npos);
    EXPECT_NE(save(folder / "none" / "a.png").find("No such file or directory"), std::string::npos);
    EXPECT_NE(save(folder / "a.jpg", {.quality = 0}).find("a quality of 0"), std::string::npos);
    EXPECT_NE(save(folder / "a.jpg", {.quality = 101}).find("a quality of 101"), std::string::npos);
    fs::create_directory(folder / "folder.png");
    EXPECT_NE(save(folder / "folder.png").find("irectory"), std::string::npos);
    EXPECT_EQ(Names(), std::vector<std::string>{"folder.png"});
    EXPECT_EQ(ErrorOf([&] { SavePicture(room.host, Object(), folder / "a.png"); }),
              "found nil where a Picture is wanted");
    fs::create_symlink("/dev/full", folder / "full.png");
    EXPECT_NE(save(folder / "full.png").find("No space left on device"), std::string::npos);
}

TEST_F(PictureFiles, AreReplacedAsAWholeOrNotAtAll) {
    Darkroom room;
    const PixelRows rows = RandomRows(6, 6, 3, 1);
    SavePicture(room.host, MakePicture(room.host, rows), folder / "a.png");
    chmod((folder / "a.png").c_str(), 0640);
    fs::create_symlink("a.png", folder / "link.png");
    const std::string before = Contents(folder / "a.png");
    EXPECT_NE(ErrorOf([&] { SavePicture(room.host, room.host.New("Picture"), folder / "a.png"); }), "");
    EXPECT_EQ(Contents(folder / "a.png"), before);
    const PixelRows others = RandomRows(6, 6, 3, 2);
    SavePicture(room.host, MakePicture(room.host, others), folder / "link.png");
    EXPECT_TRUE(fs::is_symlink(folder / "link.png"));
    EXPECT_EQ(ReadPicture(room.host, LoadPicture(room.host, folder / "a.png")), others);
    EXPECT_EQ(fs::status(folder / "a.png").permissions(), fs::perms{0640});
    EXPECT_EQ(Names(), (std::vector<std::string>{"a.png", "link.png"}));
}

}  // namespace zorhost
