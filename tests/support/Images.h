#pragma once
// Images for tests: of every format and storage kind, as views of views, filled with noise; and whole storages to
// compare, padding included.
//
//     Random random(seed);
//     TempDir directory;
//     for (int round = 0; round < 200; ++round) {
//         TestImage image = RandomImage(random, directory, random.Between(1, 40), random.Between(1, 20),
//                                       random.Format());
//         SCOPED_TRACE(image.text);                       // how it was made
//         const Storage before = SnapshotOf(image);       // the storage that lies below all views of it
//         Invert1(image.object());
//         EXPECT_TRUE(SameStorage(Expected(before), SnapshotOf(image), image));
//     }
//
// An independent model finds its bytes by PlaceOf(image, x, y), the index of a pixel's first byte in the snapshot,
// and adds the record's channel offsets. A model may run past the end of a row or image: Storage::At is 0 there and
// Storage::Put drops what is put there, as the engine does it.

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "core/ImageClassData.h"
#include "support/FakeHost.h"
#include "support/TempDir.h"

using namespace zor;

// Seeded random numbers that are the same with every library.
class Random {
public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}
    std::uint32_t Bits() { return static_cast<std::uint32_t>(engine_()); }
    int Between(int low, int high);  // both included
    bool Chance(int inHundred) { return Between(1, 100) <= inHundred; }
    std::uint8_t Byte() { return static_cast<std::uint8_t>(Bits() >> 13); }
    template <class T>
    T Pick(const std::vector<T>& from) {
        return from[static_cast<std::size_t>(Between(0, static_cast<int>(from.size()) - 1))];
    }
    int Format();  // any format that exists

private:
    std::mt19937 engine_;
};

const std::vector<int>& AllFormats();   // the 39 numbers that exist
const std::vector<int>& GrayFormats();  // 11 to 13 and 15 to 21
const std::vector<int>& RGBFormats();   // 1 to 10
const std::vector<int>& CMYKFormats();  // 23 to 32

enum class StorageKind { plain, block, file, console, desktop };
constexpr StorageKind kStorageKinds[] = {StorageKind::plain, StorageKind::block, StorageKind::file};
// Images inside host pictures: only where the test has FakePictures. Their formats are ARGB, XRGB and, on the desktop,
// RGB; console pictures have no views.
constexpr StorageKind kPictureKinds[] = {StorageKind::console, StorageKind::desktop};
// The format nearest to that one which images of a kind can have.
int FormatOn(StorageKind kind, int format);

// YieldTicks of images whose last yield a test puts far back where the next is to be due: the seconds that really pass
// while a test runs make none.
constexpr int kPatientTicks = 500;

// An image and all images below it that it is a view of. Gives its locks back.
class TestImage {
public:
    TestImage() = default;
    explicit TestImage(REALobject object, std::string how = "");
    TestImage(TestImage&& other) noexcept;
    TestImage& operator=(TestImage&& other) noexcept;
    ~TestImage();

    REALobject object() const { return object_; }
    ImageClassData* record() const { return ImageDataOf(object_); }
    ImageClassData* root() const;  // the record that owns the storage, or whose block it is
    ImageClassData* operator->() const { return record(); }
    explicit operator bool() const { return object_ != nullptr; }
    REALobject release();  // the lock goes to the caller

    std::string text;  // how it was made

private:
    REALobject object_ = nullptr;
};

// --- makers: each fails the test and gives an empty image where the engine gives none
// ------------------------------------

TestImage MakePlain(int width, int height, int format);
// On a memory block of exactly rowSize * height bytes. The image holds the only lock on the block.
TestImage MakeOnBlock(int width, int height, int format, int rowSize);
// In a scratch file of its own. With windowRows the mapped window is made as small as that, so that it has to move:
// the engine's own windows hold at least 16 MB. A window begins two rows above the row asked for, so windowRows must
// be at least 3, or the height where that is less; and never more than the height.
TestImage MakeInFile(const TempDir& directory, int width, int height, int format, int windowRows = 0);
// Inside a picture of FakePictures, of which the image holds the only lock. Of a console picture every row is storage
// by itself: a model must not run from one row into the next.
TestImage MakeOnPicture(StorageKind kind, int width, int height, int format);
// Any kind; row sizes of blocks and of pictures are odd, windows small.
TestImage MakeStorage(Random& random, const TempDir& directory, StorageKind kind, int width, int height, int format);

// Makes the mapped window of a file-backed image or view that many rows high.
void ShrinkWindow(ImageClassData* record, int rows);

// A view of that image; the image's own lock is given up, so that the view is what keeps it.
TestImage ClipOf(TestImage image, int x, int y, int width, int height);
TestImage MirroredOf(TestImage image);
TestImage ChannelOf(TestImage image, int index);
TestImage ColoursOf(TestImage image);  // RGBChannels or CMYKChannels

// An image of that size and format of random storage, and, as often as not, seen through clips and mirrored views of
// clips. Its storage is noise, padding and the surroundings of clips included. Images inside pictures have the format
// that FormatOn gives.
TestImage RandomImage(Random& random, const TempDir& directory, int width, int height, int format);
TestImage RandomImage(Random& random, const TempDir& directory, StorageKind kind, int width, int height, int format);

// --- storages
// -------------------------------------------------------------------------------------------------------------

// All bytes of the storage that lies below an image: buffer, block, pixels of a picture row after row, or file without
// its last page.
struct Storage {
    std::vector<std::uint8_t> bytes;

    bool Has(std::int64_t at) const { return at >= 0 && at < static_cast<std::int64_t>(bytes.size()); }
    std::uint8_t At(std::int64_t at) const { return Has(at) ? bytes[static_cast<std::size_t>(at)] : 0; }
    void Put(std::int64_t at, std::uint8_t value) {
        if (Has(at)) bytes[static_cast<std::size_t>(at)] = value;
    }
};

Storage SnapshotOf(const TestImage& image);
void FillWithNoise(const TestImage& image, Random& random);  // every byte of the storage
void SetStorage(const TestImage& image, const Storage& storage);

// Index in the snapshot of the first byte of pixel x, y of this image or view. Told from the record by the rules of
// the views alone; x and y may lie outside.
std::int64_t PlaceOf(const TestImage& image, int x, int y);
std::int64_t PlaceOfRow(const TestImage& image, int y);

// Failure names the first difference by byte, row and column.
::testing::AssertionResult SameStorage(const Storage& expected, const Storage& actual, const TestImage& image);
::testing::AssertionResult SameBytes(const std::vector<std::uint8_t>& expected,
                                     const std::vector<std::uint8_t>& actual);

// The channels of a record by name, for models: offset, or -1 where the Has flag is false.
struct ChannelOffset {
    const char* name;
    int offset;
};
std::vector<ChannelOffset> ChannelsByName(const ImageClassData* record);
