// Whatever an operation asks for is refused once, the first time, the second and so on until it gets all of it, and
// then the same with all that follows refused too. However it ends: nothing is kept, images that it only reads are as
// they were, and all images can be worked on.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "FaultPoints.h"
#include "compositing/Combine.h"
#include "core/Construction.h"
#include "core/Factory.h"
#include "core/Formats.h"
#include "core/InPlace.h"
#include "core/RowSpan.h"
#include "core/Views.h"
#include "exchange/CopyPixels.h"
#include "exchange/PictureExport.h"
#include "exchange/PictureImport.h"
#include "exchange/RowConversion.h"
#include "filters/ApplyMatrix.h"
#include "filters/AutoLevel.h"
#include "filters/BoxBlur.h"
#include "filters/DiffuseFilter.h"
#include "filters/DitherFilter.h"
#include "filters/EngraveFilter.h"
#include "filters/FractionalBlur.h"
#include "filters/FreeRotation.h"
#include "filters/GainFilter.h"
#include "filters/GammaFilter.h"
#include "filters/Mirror.h"
#include "filters/NeonFilter.h"
#include "filters/OilFilter.h"
#include "filters/RightAngle.h"
#include "filters/SolarizeFilter.h"
#include "filters/StampFilter.h"
#include "filters/TransferFilter.h"
#include "filters/Unsharp.h"
#include "scale/FastScale.h"
#include "scale/FilteredScale.h"
#include "support/FakePictures.h"
#include "support/Images.h"

namespace {

constexpr int kWidth = 19, kHeight = 13;
enum Mode { kTriangle = 1, kBox, kLanczos3 };

// What operations work on, made anew for each.
struct Scene {
    Scene(FakeHost& fakeHost, FakePictures& pictures, const TempDir& directoryOfFiles)
        : host(fakeHost),
          directory(directoryOfFiles),
          colour(MakePlain(kWidth, kHeight, ImageFormatRGBA)),
          gray(MakePlain(kWidth, kHeight, ImageFormatG)),
          grayAlpha(MakePlain(kWidth, kHeight, ImageFormatGA)),
          ink(MakePlain(kWidth, kHeight, ImageFormatCMYK)),
          onBlock(MakeOnBlock(kWidth, kHeight, ImageFormatXRGB, 4 * kWidth + 3)),
          inFile(MakeInFile(directory, kWidth, kHeight, ImageFormatRGB, 4)),
          otherFile(MakeInFile(directory, kWidth, kHeight, ImageFormatRGB, 4)),
          view(ClipOf(MirroredOf(MakePlain(kWidth + 2, kHeight + 2, ImageFormatRGB)), 1, 1, kWidth, kHeight)),
          large(MakePlain(40, 30, ImageFormatKYMC)),
          between(MirroredOf(MakePlain(kWidth, kHeight, ImageFormatRGB))),
          picture(pictures.NewNoise(FakePicture::Kind::console, 32, kWidth, kHeight, 5, "picture")) {
        Random random(7);
        for (TestImage* const image : Images()) FillWithNoise(*image, random);
    }
    ~Scene() {
        if (picture) REALUnlockObject(picture);
    }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    std::vector<TestImage*> Images() {
        return {&colour, &gray, &grayAlpha, &ink, &onBlock, &inFile, &otherFile, &view, &large, &between};
    }

    // Results, of which the scene keeps the bytes and gives back the lock.
    void Take(REALobject image) {
        if (!image) return Take(false);
        TestImage result(image);
        result->Valid && result->GetRow ? Take(SnapshotOf(result).bytes) : Take(false);
    }
    void TakeBlock(REALobject block) {
        if (!block) return Take(false);
        const std::uint8_t* const data = host.BlockData(block);
        if (data) Take(std::vector<std::uint8_t>(data, data + host.BlockSize(block)));
        REALUnlockObject(block);
    }
    void TakePicture(REALobject object) {
        Take(object != nullptr);
        if (object) REALUnlockObject(object);
    }
    void TakeText(REALstring string) {
        if (!string) return Take(false);
        const std::string text = host.Bytes(string);
        Take(std::vector<std::uint8_t>(text.begin(), text.end()));
        REALUnlockString(string);
    }
    void Take(bool answer) { results.push_back(answer ? 1 : 0); }
    void Take(const std::vector<std::uint8_t>& bytes) { results.insert(results.end(), bytes.begin(), bytes.end()); }

    FakeHost& host;
    const TempDir& directory;
    TestImage colour, gray, grayAlpha, ink, onBlock, inFile, otherFile, view, large, between;
    REALobject picture;
    std::vector<std::uint8_t> results;
};

struct Scenario {
    const char* name;
    std::vector<TestImage Scene::*> written;  // what it may change
    void (*run)(Scene& scene);
};

REALobject On(const TestImage& image) {
    return image.object();
}

std::vector<int> Table(int step) {
    std::vector<int> table;
    for (int i = 0; i < 256; ++i) table.push_back(i * step % 256);
    return table;
}

const Scenario kScenarios[] = {
    // how images begin and end
    {"Constructor",
     {},
     [](Scene& s) {
         const REALobject image = s.host.NewImage();
         ImageConstructor(image, 9, 7, ImageFormatRGB);
         s.Take(image);
     }},
    {"Constructor on a block",
     {},
     [](Scene& s) {
         const REALobject image = s.host.NewImage(), block = s.host.NewBlock(300);
         ImageConstructorMemory(image, block, 9, 7, ImageFormatRGB, 30);
         REALUnlockObject(block);
         s.Take(image);
     }},
    {"Constructor in a file",
     {},
     [](Scene& s) {
         const REALobject image = s.host.NewImage(), item = s.host.NewFolderItem(s.directory.File("made"));
         ImageConstructorFile(image, 9, 700, ImageFormatRGB, 0, item);
         REALUnlockObject(item);
         s.Take(image);
     }},
    {"Constructor in place of another",
     {&Scene::colour},
     [](Scene& s) {
         ImageConstructor(On(s.colour), 9, 7, ImageFormatRGB);
         s.Take(s.colour->Width == 9);
     }},
    {"Close",
     {&Scene::inFile},
     [](Scene& s) {
         ImageDestructor(On(s.inFile));
         s.Take(s.inFile->GetRow == nullptr);
     }},
    {"Clone", {}, [](Scene& s) { s.Take(Clone(On(s.colour))); }},
    {"CreatePicture", {}, [](Scene& s) { s.Take(CreatePictureLocal(On(s.colour), 5, 5, ImageFormatGA)); }},
    {"CreatePicture by a factory",
     {},
     [](Scene& s) {
         FakeHost& host = s.host;
         const REALobject factory = host.NewFactory([&host](int width, int height, int format) {
             const REALobject image = host.NewImage();
             ImageConstructor(image, width + 1, height, format);
             return image;
         });
         SetFactory(factory);
         s.Take(NeonFilter(On(s.colour), nullptr));
         SetFactory(nullptr);
         REALUnlockObject(factory);
     }},
    // views
    {"Red", {}, [](Scene& s) { s.Take(RedChannel(On(s.colour))); }},
    {"RGBChannels", {}, [](Scene& s) { s.Take(RGBChannel(On(s.colour))); }},
    {"Channel", {}, [](Scene& s) { s.Take(Channel(On(s.inFile), 1)); }},
    {"ClipImage", {}, [](Scene& s) { s.Take(ClipImage5(On(s.onBlock), 2, 2, 9, 9)); }},
    {"ClipImage of a file", {}, [](Scene& s) { s.Take(ClipImage5(On(s.inFile), 2, 0, 9, kHeight)); }},
    {"MirroredView", {}, [](Scene& s) { s.Take(GetMirroredView(On(s.gray))); }},
    {"Memory", {}, [](Scene& s) { s.TakePicture(GetMemory(On(s.colour), 0)); }},
    // rows as data
    {"Row", {}, [](Scene& s) { s.TakePicture(rbGetRow(On(s.inFile), 5)); }},
    {"RowCopy", {}, [](Scene& s) { s.TakeBlock(rbGetRowCopy(On(s.inFile), 5)); }},
    {"Row of a format", {}, [](Scene& s) { s.TakeBlock(rbGetRowF(On(s.ink), 5, ImageFormatKYMCA)); }},
    {"Row with alpha inverted", {}, [](Scene& s) { s.TakeBlock(rbGetRowFI(On(s.colour), 5, ImageFormatABGR, true)); }},
    {"Row as a string", {}, [](Scene& s) { s.TakeText(rbGetRowFS(On(s.grayAlpha), 5, ImageFormatAG)); }},
    {"All rows as a string", {}, [](Scene& s) { s.TakeText(rbGetAllFS(On(s.inFile), ImageFormatBGRA)); }},
    {"All rows from a string",
     {&Scene::inFile},
     [](Scene& s) {
         const REALstring text = s.host.NewString(std::string(4 * kWidth * kHeight, 'x'), 0);
         rbSetAllFS(On(s.inFile), ImageFormatBGRA, text);
         REALUnlockString(text);
         s.Take(true);
     }},
    {"Row from a block",
     {&Scene::view},
     [](Scene& s) {
         const REALobject block = s.host.NewBlock(3 * kWidth);
         rbSetRowF(On(s.view), 5, ImageFormatBGR, block);
         REALUnlockObject(block);
         s.Take(true);
     }},
    {"ImageFormatString", {}, [](Scene& s) { s.TakeText(GetImageFormatString(On(s.colour), 0)); }},
    // copies and blends
    {"CopyPixels", {&Scene::colour}, [](Scene& s) { s.Take(rbCopyPixels2(On(s.colour), On(s.gray))); }},
    {"CopyPixels between files",
     {&Scene::inFile},
     [](Scene& s) { s.Take(rbCopyPixels2(On(s.inFile), On(s.otherFile))); }},
    {"CopyPixels within an image",
     {&Scene::inFile},
     [](Scene& s) { s.Take(rbCopyPixels8(On(s.inFile), On(s.inFile), 0, 3, 9, 9, 0, 0)); }},
    {"Combine through a mask",
     {&Scene::inFile},
     [](Scene& s) { s.Take(PictureCombine3(On(s.inFile), On(s.view), On(s.gray), 0, 0, 0, 0, 9, 9, false)); }},
    {"Combine with a mask colour",
     {&Scene::colour},
     [](Scene& s) {
         s.Take(PictureCombine1(On(s.colour), On(s.inFile), nullptr, 0, 0, 0, 0, 9, 9, true, 0x102030, 0x405060));
     }},
    {"Combine, premultiplied",
     {&Scene::view},
     [](Scene& s) { s.Take(PictureCombine3pm(On(s.view), On(s.colour), true, nullptr, 0, 0, 0, 0, 9, 9, false)); }},
    {"Compare", {}, [](Scene& s) { s.Take(CompareImages(On(s.inFile), On(s.otherFile)) > 0); }},
    // in place
    {"FillRect", {&Scene::inFile}, [](Scene& s) { FillRect5(On(s.inFile), 1, 1, 9, 9, 7); }},
    {"FillRectRandom", {&Scene::otherFile}, [](Scene& s) { FillRectRandom5(On(s.otherFile), 1, 1, 9, 0); }},
    {"FillRectApply", {&Scene::onBlock}, [](Scene& s) { FillRectApplyRGBA5(On(s.onBlock), 1, 1, 9, 9, 1, 2, 3, 4); }},
    {"Invert", {&Scene::inFile}, [](Scene& s) { Invert5(On(s.inFile), 1, 1, 9, 9); }},
    {"AutoLevel", {&Scene::inFile}, [](Scene& s) { s.Take(AutoLevel1(On(s.inFile))); }},
    {"UnsharpFilter", {&Scene::inFile}, [](Scene& s) { s.Take(unsharpFilter(On(s.inFile), On(s.view), 0.5, 2)); }},
    {"MirrorH", {&Scene::inFile}, [](Scene& s) { HMirrorSelf(On(s.inFile)); }},
    {"MirrorV", {&Scene::inFile}, [](Scene& s) { VMirrorSelf(On(s.inFile)); }},
    {"Rotate180 in place", {&Scene::inFile}, [](Scene& s) { Rotate180Self(On(s.inFile)); }},
    // filters
    {"ApplyMatrix",
     {},
     [](Scene& s) {
         const REALarray matrix = s.host.NewArray({1, 2, 1, 2, 4, 2, 1, 2, 1});
         s.Take(PictureMatrix4(On(s.inFile), nullptr, 3, matrix, 3));
     }},
    {"BoxBlurFilter", {}, [](Scene& s) { s.Take(BoxBlurFilter(On(s.inFile), nullptr, 2, true, true)); }},
    {"BoxBlurFilter into an image",
     {&Scene::view},
     [](Scene& s) {
         const REALobject result = BoxBlurFilter(On(s.inFile), On(s.view), 2, true, true);
         s.TakePicture(result);
     }},
    {"BoxBlurFilter, three times",
     {},
     [](Scene& s) { s.Take(BoxBlurFilter2(On(s.colour), nullptr, 2, 3, true, true)); }},
    {"BoxBlurFractionalFilter", {}, [](Scene& s) { s.Take(BoxBlurFractionalFilter(On(s.inFile), nullptr, 1.5)); }},
    {"DiffuseFilter", {}, [](Scene& s) { s.Take(DifuseFilter(On(s.inFile), nullptr, 0)); }},
    {"DitherFilter", {}, [](Scene& s) { s.Take(DitherFilter(On(s.inFile), nullptr, 1, 4)); }},
    {"EngraveFilter", {}, [](Scene& s) { s.Take(EngraveFilter(On(s.inFile), nullptr, 128)); }},
    {"GainFilter", {}, [](Scene& s) { s.Take(GainFilter(On(s.ink), nullptr, 0.6, 0.4)); }},
    {"GammaFilter", {}, [](Scene& s) { s.Take(GammaFilterRGB(On(s.inFile), nullptr, 0.5, 1.5, 2)); }},
    {"NeonFilter", {}, [](Scene& s) { s.Take(NeonFilter(On(s.inFile), nullptr)); }},
    {"OilFilter", {}, [](Scene& s) { s.Take(OilFilter(On(s.inFile), nullptr, 20, 2)); }},
    {"OilFilter with many levels", {}, [](Scene& s) { s.Take(OilFilter(On(s.colour), nullptr, 250, 3)); }},
    {"SolarizeFilter", {}, [](Scene& s) { s.Take(SolarizeFilter(On(s.inFile), nullptr)); }},
    {"StampFilter", {}, [](Scene& s) { s.Take(StampFilter(On(s.inFile), nullptr, 3, 0.5, 0.1, 0, 255)); }},
    {"TransferFilter",
     {},
     [](Scene& s) {
         const REALarray red = s.host.NewArray(Table(3)), green = s.host.NewArray(Table(5)),
                         blue = s.host.NewArray(Table(7));
         s.Take(TransferFilterRGB(On(s.inFile), nullptr, red, green, blue));
     }},
    {"Rotate90", {}, [](Scene& s) { s.Take(Rotate90fast(On(s.inFile), nullptr)); }},
    {"Rotate180", {}, [](Scene& s) { s.Take(Rotate180(On(s.inFile), nullptr)); }},
    {"Rotate270", {}, [](Scene& s) { s.Take(Rotate270fast(On(s.view), nullptr)); }},
    {"Rotate by 33 degrees", {}, [](Scene& s) { s.Take(rbRotate(On(s.inFile), 33, 1, 2, 3, 4, 5, 6, 7, 8, 9)); }},
    // scaling
    {"Scale",
     {&Scene::inFile},
     [](Scene& s) { s.Take(PictureScaleZOR(On(s.inFile), On(s.view), nullptr, kLanczos3, kWidth, kHeight)); }},
    {"Scale with an image between",
     {&Scene::view, &Scene::between},
     [](Scene& s) { s.Take(PictureScaleZOR(On(s.view), On(s.inFile), On(s.between), kTriangle, 7, 9)); }},
    {"Scale of ink",
     {&Scene::ink},
     [](Scene& s) { s.Take(PictureScaleZOR(On(s.ink), On(s.large), nullptr, kBox, kWidth, kHeight)); }},
    {"Scale of colours to gray",
     {&Scene::gray},
     [](Scene& s) { s.Take(PictureScaleZOR(On(s.gray), On(s.inFile), nullptr, kLanczos3, 12, 12)); }},
    {"ScaleMT",
     {&Scene::colour},
     [](Scene& s) { s.Take(PictureScaleZORMT(On(s.colour), 3, On(s.view), nullptr, kLanczos3, kWidth, 9)); }},
    {"ScaleMT of ink",
     {&Scene::ink},
     [](Scene& s) { s.Take(PictureScaleZORMT(On(s.ink), 7, On(s.large), nullptr, kBox, kWidth, 9)); }},
    {"ScaleMT between files",
     {&Scene::otherFile},
     [](Scene& s) { s.Take(PictureScaleZORMT(On(s.otherFile), 4, On(s.inFile), nullptr, kTriangle, 9, kHeight)); }},
    {"ScaleFast", {&Scene::inFile}, [](Scene& s) { s.Take(ScalePictureFast(On(s.inFile), On(s.colour), 17, 11)); }},
    // host pictures
    {"CopyPicture", {}, [](Scene& s) { s.TakePicture(rbCopyPictureAll(On(s.inFile))); }},
    {"CopyMask", {}, [](Scene& s) { s.TakePicture(rbCopyMaskAll(On(s.colour))); }},
    {"CopyPictureWithMask", {}, [](Scene& s) { s.TakePicture(rbCopyPictureWithMaskAll(On(s.colour))); }},
    {"DrawPictureRGB", {&Scene::inFile}, [](Scene& s) { rbDrawPictureRGB2(On(s.inFile), s.picture); }},
    {"DrawPictureRedToGrayChannel",
     {&Scene::gray},
     [](Scene& s) { rbDrawPictureRedToGrayChannel6(On(s.gray), s.picture, 1, 1, 9, 9); }},
};

class FaultLoops : public EngineTest {
protected:
    TempDir directory;
    FakePictures pictures{host, World::console};

    // What the process holds of files.
    static std::size_t OpenFiles() {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    }
    std::size_t MappedFiles() const {
        std::ifstream maps("/proc/self/maps");
        std::size_t count = 0;
        for (std::string line; std::getline(maps, line);)
            count += line.find(directory.File("").substr(0, 8)) != std::string::npos ? 1 : 0;
        return count;
    }

    // One run, of which the nth request is refused; 0: none. Gives what the operation made.
    std::vector<std::uint8_t> Try(const Scenario& scenario, FaultPoint point, FaultCourse course, int nth,
                                  bool* happened) {
        host.ClearLog();
        const std::size_t objects = host.LiveObjects(), strings = host.LiveStrings(), blocks = LiveBlocks();
        const std::size_t filesBefore = OpenFiles(), mappedBefore = MappedFiles();
        std::vector<std::uint8_t> results;
        {
            Scene scene(host, pictures, directory);
            std::vector<const TestImage*> written;
            for (TestImage Scene::*const image : scenario.written) written.push_back(&(scene.*image));
            std::vector<Storage> before;
            for (const TestImage* const image : scene.Images()) before.push_back(SnapshotOf(*image));
            const std::size_t files = OpenFiles(), mapped = MappedFiles();
            {
                const Faults faults(host, point, course, nth);
                scenario.run(scene);
                *happened = faults.happened();
            }
            while (host.TakeException()) {
            }
            EXPECT_LE(OpenFiles(), files);
            EXPECT_LE(MappedFiles(), mapped);
            for (std::size_t i = 0; i < before.size(); ++i) {
                const TestImage& image = *scene.Images()[i];
                if (std::find(written.begin(), written.end(), &image) == written.end()) {
                    EXPECT_TRUE(SameStorage(before[i], SnapshotOf(image), image)) << "image " << i;
                }
            }
            for (const TestImage* const image : written) {
                if ((*image)->GetRow) scene.Take(SnapshotOf(*image).bytes);
            }
            for (const TestImage* const image : scene.Images()) {
                if (!(*image)->GetRow) continue;  // the operation itself took its pixels away
                const Storage as = SnapshotOf(*image);
                Invert1(image->object());
                EXPECT_FALSE(host.TakeException());
                // Where the system does not tell which file was emptied, images in files lose their rows.
                const bool lost = (*image)->IsMapping && point == FaultPoint::system && !GetRowSpan(image->record(), 0);
                EXPECT_TRUE(lost || SnapshotOf(*image).bytes != as.bytes) << "it can be worked on";
            }
            results = scene.results;
        }
        // A clone without memory for its pixels stays an object without them.
        const bool cloneIsLeft = std::string_view(scenario.name) == "Clone" && host.LiveObjects() == objects + 1;
        leftoversAllowed = leftoversAllowed || cloneIsLeft;
        EXPECT_TRUE(host.LiveObjects() == objects || (cloneIsLeft && *happened)) << host.WhatIsLeft();
        EXPECT_EQ(host.LiveStrings(), strings);
        if (nth > 0) {  // the first run may make what is kept for the process
            EXPECT_EQ(LiveBlocks(), blocks);
        }
        EXPECT_EQ(OpenFiles(), filesBefore);
        EXPECT_EQ(MappedFiles(), mappedBefore);
        if (std::filesystem::exists(directory.File("made"))) {
            // A file stays where the system does not let it go, or does not tell whose it is; it is emptied at least.
            EXPECT_EQ(point, FaultPoint::system);
            if (course == FaultCourse::once) {
                EXPECT_TRUE(std::filesystem::is_empty(directory.File("made")));
            }
            std::filesystem::remove(directory.File("made"));
        }
        return results;
    }

    void WalkThrough(FaultPoint point) {
        int refusals = 0;
        for (const Scenario& scenario : kScenarios) {
            bool happened = false;
            const std::vector<std::uint8_t> unharmed = Try(scenario, point, FaultCourse::once, 0, &happened);
            for (const FaultCourse course : {FaultCourse::once, FaultCourse::fromThenOn}) {
                happened = true;
                for (int nth = 1; happened; ++nth) {
                    SCOPED_TRACE(std::string(scenario.name) + ", " + NameOf(point) + " refused, " +
                                 (course == FaultCourse::once ? "once, " : "from then on, ") + std::to_string(nth));
                    ASSERT_LT(nth, 400) << "it asks without an end";
                    const std::vector<std::uint8_t> results = Try(scenario, point, course, nth, &happened);
                    if (!happened) {
                        EXPECT_TRUE(results == unharmed) << "all was given";
                    }
                    refusals += happened ? 1 : 0;
                    if (HasFatalFailure()) return;
                }
            }
        }
        EXPECT_GT(refusals, 0);
        RecordProperty("refusals", refusals);
    }

    void TearDown() override {
        SetFactory(nullptr);
        EngineTest::TearDown();
    }
};

TEST_F(FaultLoops, LoseNothingForWantOfMemory) {
    WalkThrough(FaultPoint::memory);
}
TEST_F(FaultLoops, LoseNothingWhereTheSystemRefuses) {
    WalkThrough(FaultPoint::system);
}
TEST_F(FaultLoops, LoseNothingForWantOfThreads) {
    WalkThrough(FaultPoint::thread);
}
TEST_F(FaultLoops, LoseNothingWhereTheHostRefuses) {
    WalkThrough(FaultPoint::host);
}

}  // namespace
