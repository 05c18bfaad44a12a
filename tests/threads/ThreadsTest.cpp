// Threads that work on images of their own at the same time: they meet in what the engine keeps for the whole process
// only. The thread sanitizer looks on where it is built in.

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

#include "FreeHost.h"
#include "core/Construction.h"
#include "core/Factory.h"
#include "core/Formats.h"
#include "core/InPlace.h"
#include "core/RowSpan.h"
#include "core/Views.h"
#include "filters/DiffuseFilter.h"
#include "filters/FractionalBlur.h"
#include "filters/NeonFilter.h"
#include "filters/OilFilter.h"
#include "filters/RightAngle.h"
#include "scale/FilteredScale.h"
#include "support/TempDir.h"

using namespace zor;
using free_host::Held;

namespace {

constexpr int kThreads = 6, kRounds = 25, kWidth = 37, kHeight = 23;

class Threads : public ::testing::Test {
protected:
    TempDir directory;

    Threads() { free_host::Start(); }
    ~Threads() override { SetFactory(nullptr); }

    template <class Work>
    static void RunOnAll(Work work) {
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) threads.emplace_back([=] { work(t); });
        for (std::thread& thread : threads) thread.join();
    }
};

void Fill(const Held& image, int seed) {
    for (int y = 0; y < image->Height; ++y) {
        const RowSpan row = GetRowSpan(ImageDataOf(image.object), y);
        for (int i = 0; i < image->Width * image->PixelSize; ++i) row.Store(i, static_cast<std::uint8_t>(seed * i + y));
    }
}

std::vector<std::uint8_t> BytesOf(REALobject image) {
    ImageClassData* const record = ImageDataOf(image);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(record->Width * record->PixelSize * record->Height));
    const std::ptrdiff_t rowBytes = std::ptrdiff_t{record->Width} * record->PixelSize;
    for (int y = 0; y < record->Height; ++y) LoadRun(GetRowSpan(record, y), 0, rowBytes, bytes.data() + y * rowBytes);
    return bytes;
}

void Append(std::vector<std::uint8_t>* bytes, REALobject image) {
    const std::vector<std::uint8_t> more = BytesOf(image);
    bytes->insert(bytes->end(), more.begin(), more.end());
}

// What a number of methods make of an image.
std::vector<std::uint8_t> ResultsOf(const Held& source) {
    std::vector<std::uint8_t> bytes;
    const Held turned(Rotate90(source.object, nullptr)), glowing(NeonFilter(source.object, nullptr)),
        painted(OilFilter(source.object, nullptr, 20, 2)),
        blurred(BoxBlurFractionalFilter(source.object, nullptr, 0.7)), scaled(free_host::NewImage());
    for (const Held* each : {&turned, &glowing, &painted, &blurred}) Append(&bytes, each->object);
    ImageConstructor(scaled.object, 51, 11, ImageFormatRGB);
    EXPECT_TRUE(PictureScaleZORMT(scaled.object, 3, source.object, nullptr, 3, 51, 11));
    Append(&bytes, scaled.object);
    const Held view(ClipImage5(source.object, 3, 3, 9, 9)), mirrored(GetMirroredView(view.object));
    Invert1(mirrored.object);
    Append(&bytes, source.object);
    return bytes;
}

TEST_F(Threads, MakeTheSameOfImagesOfTheirOwn) {
    const int before = free_host::LiveObjects();
    std::vector<std::vector<std::uint8_t>> alone(kThreads), together(kThreads);
    const auto work = [&](int t) {
        std::vector<std::uint8_t> bytes;
        for (int round = 0; round < kRounds; ++round) {
            const Held image(free_host::NewImage());
            ImageConstructor(image.object, kWidth, kHeight, ImageFormatRGB);
            Fill(image, t + round);
            const std::vector<std::uint8_t> more = ResultsOf(image);
            bytes.insert(bytes.end(), more.begin(), more.end());
        }
        return bytes;
    };
    RunOnAll([&](int t) { together[static_cast<std::size_t>(t)] = work(t); });
    for (int t = 0; t < kThreads; ++t) alone[static_cast<std::size_t>(t)] = work(t);
    EXPECT_TRUE(alone == together);
    EXPECT_EQ(free_host::LiveObjects(), before);
}

TEST_F(Threads, HaveImagesInFilesOfTheirOwn) {
    RunOnAll([&](int t) {
        const std::string name = directory.File("scratch" + std::to_string(t));
        for (int round = 0; round < kRounds; ++round) {
            const Held item(free_host::NewFolderItem(name)), image(free_host::NewImage());
            ImageConstructorFile(image.object, kWidth, kHeight, ImageFormatRGB, 0, item.object);
            ASSERT_TRUE(image->Valid);
            const Held view(ClipImage1(image.object));
            Fill(image, t);
            for (int y = 0; y < kHeight; ++y) ASSERT_EQ(GetRowSpan(ImageDataOf(view.object), y).Load(0), y);
            ImageDestructor(image.object);
            ASSERT_FALSE(GetRowSpan(ImageDataOf(view.object), 0));
            // A closed image ends with a further close of descriptor 0, which is not this test's affair.
            image->OwnsFile = false;
        }
    });
}

TEST_F(Threads, AskTheFactoryOfAllImagesWhileItChanges) {
    const int before = free_host::LiveObjects();
    RunOnAll([](int t) {
        for (int round = 0; round < kRounds * 8; ++round) {
            if (t < 2) {
                const Held factory(free_host::NewFactory([](int width, int height, int format) {
                    const REALobject image = free_host::NewImage();
                    ImageConstructor(image, width + 1, height, format);
                    return image;
                }));
                SetFactory(factory.object);
            } else {
                const Held image(CreatePictureGlobal(kWidth, kHeight, ImageFormatG));
                ASSERT_TRUE(image->Width == kWidth || image->Width == kWidth + 1);
            }
        }
    });
    SetFactory(nullptr);
    EXPECT_EQ(free_host::LiveObjects(), before);
}

TEST_F(Threads, DrawRandomNumbersAndReleaseLongChainsOfViews) {
    const int before = free_host::LiveObjects();
    RunOnAll([](int) {
        for (int round = 0; round < kRounds; ++round) {
            REALobject last = free_host::NewImage();
            ImageConstructor(last, kWidth, kHeight, ImageFormatRGB);
            FillRectRandom1(last);
            const Held scattered(DifuseFilter(last, nullptr, 3));
            ASSERT_TRUE(scattered.object);
            for (int i = 0; i < 300; ++i) {
                const Held source(last);
                last = ClipImage1(source.object);
            }
            const Held chain(last);
        }
    });
    EXPECT_EQ(free_host::LiveObjects(), before);
}

}  // namespace
