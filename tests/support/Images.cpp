#include "support/Images.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <utility>

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/PictureImages.h"
#include "core/RowAccess.h"
#include "core/Views.h"
#include "support/FakePictures.h"

using namespace zor;

// --- random numbers and formats -------------------------------------------------------------------------------------

int Random::Between(int low, int high) {
    const std::uint64_t count = static_cast<std::uint64_t>(static_cast<std::int64_t>(high) - low) + 1;
    const std::uint64_t bits = static_cast<std::uint64_t>(Bits()) << 32 | Bits();
    return static_cast<int>(low + static_cast<std::int64_t>(bits % count));
}

int Random::Format() {
    return Pick(AllFormats());
}

static std::vector<int> Range(int first, int last) {
    std::vector<int> numbers(static_cast<std::size_t>(last - first + 1));
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

static std::vector<int> Joined(std::vector<int> a, const std::vector<int>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

const std::vector<int>& AllFormats() {
    static const std::vector<int> formats = Joined(Range(1, 13), Range(15, 40));
    return formats;
}
const std::vector<int>& GrayFormats() {
    static const std::vector<int> formats = Joined(Range(11, 13), Range(15, 21));
    return formats;
}
const std::vector<int>& RGBFormats() {
    static const std::vector<int> formats = Range(1, 10);
    return formats;
}
const std::vector<int>& CMYKFormats() {
    static const std::vector<int> formats = Range(23, 32);
    return formats;
}

// --- the holder -----------------------------------------------------------------------------------------------------

TestImage::TestImage(REALobject object, std::string how) : text(std::move(how)), object_(object) {}

TestImage::TestImage(TestImage&& other) noexcept
    : text(std::move(other.text)), object_(std::exchange(other.object_, nullptr)) {}

TestImage& TestImage::operator=(TestImage&& other) noexcept {
    if (this != &other) {
        if (object_) REALUnlockObject(object_);
        object_ = std::exchange(other.object_, nullptr);
        text = std::move(other.text);
    }
    return *this;
}

TestImage::~TestImage() {
    if (object_) REALUnlockObject(object_);
}

REALobject TestImage::release() {
    return std::exchange(object_, nullptr);
}

ImageClassData* TestImage::root() const {
    ImageClassData* record = ImageDataOf(object_);
    while (record->Parent) record = ImageDataOf(record->Parent);
    return record;
}

static TestImage Checked(REALobject object, const std::string& how) {
    if (!object) {
        ADD_FAILURE() << "no image: " << how;
        return {};
    }
    TestImage image(object, how);
    if (!image->Valid || !image->GetRow) {
        ADD_FAILURE() << "not valid: " << how;
        return {};
    }
    return image;
}

static std::string Named(const char* kind, int width, int height, int format) {
    return std::string(kind) + " " + std::to_string(width) + "x" + std::to_string(height) + " format " +
           std::to_string(format);
}

// --- storage kinds --------------------------------------------------------------------------------------------------

TestImage MakePlain(int width, int height, int format) {
    const REALobject object = FakeHost::Current().NewImage();
    ImageConstructor(object, width, height, format);
    return Checked(object, Named("plain", width, height, format));
}

TestImage MakeOnBlock(int width, int height, int format, int rowSize) {
    const REALobject object = FakeHost::Current().NewImage();
    const REALobject block = FakeHost::Current().NewBlock(static_cast<std::size_t>(rowSize) * height);
    ImageConstructorMemory(object, block, width, height, format, rowSize);
    REALUnlockObject(block);
    return Checked(object, Named("block", width, height, format) + " rows of " + std::to_string(rowSize));
}

void ShrinkWindow(ImageClassData* record, int rows) {
    ReleaseWindow(record);
    record->MappingBlockSize = rows * record->RowSize;
    record->MappedRowCount = rows;
    record->GetRow(record, 0);
}

TestImage MakeInFile(const TempDir& directory, int width, int height, int format, int windowRows) {
    static int number = 0;
    const REALobject object = FakeHost::Current().NewImage();
    const REALobject item = FakeHost::Current().NewFolderItem(directory.File("scratch" + std::to_string(++number)));
    ImageConstructorFile(object, width, height, format, 0, item);
    REALUnlockObject(item);
    ImageClassData* const record = ImageDataOf(object);
    std::string how = Named("file", width, height, format);
    // Images lower than five rows have no window of their own that fits: they come to life by a smaller one.
    if (windowRows == 0 && height < record->MappedRowCount) windowRows = height;
    if (windowRows > 0) {
        ShrinkWindow(record, windowRows);
        if (record->Pixels) record->Valid = true;
        how += " window of " + std::to_string(windowRows);
    }
    return Checked(object, how);
}

int FormatOn(StorageKind kind, int format) {
    const bool onPicture = kind == StorageKind::console || kind == StorageKind::desktop;
    if (!onPicture || format == ImageFormatARGB) return format;
    return kind == StorageKind::desktop && format == ImageFormatRGB ? ImageFormatRGB : ImageFormatXRGB;
}

TestImage MakeOnPicture(StorageKind kind, int width, int height, int format) {
    FakePictures* const pictures = FakePictures::Current();
    if (!pictures || format != FormatOn(kind, format)) {
        ADD_FAILURE() << (pictures ? "no such format" : "no pictures");
        return {};
    }
    const REALobject object = FakeHost::Current().NewImage();
    REALobject picture = nullptr;
    if (kind == StorageKind::console) {
        const bool known = IsConsole;  // a test may be about the desktop
        picture = pictures->NewConsole(width, height);
        ImageConstructorPictureConsole(object, picture, format == ImageFormatARGB);
        IsConsole = known;
    } else {
        FakePictures::LoadQuickDraw();
        picture = pictures->NewDesktop(width, height, format == ImageFormatRGB ? 24 : 32);
        ImageConstructorPictureGUI(object, picture, format == ImageFormatARGB);
    }
    REALUnlockObject(picture);
    return Checked(object, Named(kind == StorageKind::console ? "console" : "desktop", width, height, format));
}

TestImage MakeStorage(Random& random, const TempDir& directory, StorageKind kind, int width, int height, int format) {
    if (kind == StorageKind::plain) return MakePlain(width, height, format);
    if (kind == StorageKind::console || kind == StorageKind::desktop) {
        return MakeOnPicture(kind, width, height, FormatOn(kind, format));
    }
    if (kind == StorageKind::file) {
        return MakeInFile(directory, width, height, format, random.Between(std::min(height, 3), std::min(height, 7)));
    }
    ImageClassData layout{};
    InitImageClassData(&layout, width, height, format);
    const int rowSize = width * layout.PixelSize + random.Between(0, 9);
    return MakeOnBlock(width, height, format, rowSize);
}

// --- views ----------------------------------------------------------------------------------------------------------

// A view's window has the height of its source's, which may be too high for it.
static TestImage View(TestImage source, REALobject view, const std::string& how) {
    if (!view) {
        ADD_FAILURE() << "no view: " << how;
        return {};
    }
    TestImage result(view, how + " of " + source.text);
    if (result->IsMapping && result->MappedRowCount > result->Height && result->Height > 0) {
        ShrinkWindow(result.record(), result->Height);
    }
    return result;
}

TestImage ClipOf(TestImage image, int x, int y, int width, int height) {
    const REALobject view = ClipImage5(image.object(), x, y, width, height);
    return View(std::move(image), view,
                "clip " + std::to_string(x) + "," + std::to_string(y) + " " + std::to_string(width) + "x" +
                    std::to_string(height));
}

TestImage MirroredOf(TestImage image) {
    const REALobject view = GetMirroredView(image.object());
    return View(std::move(image), view, "mirrored");
}

TestImage ChannelOf(TestImage image, int index) {
    const REALobject view = Channel(image.object(), index);
    return View(std::move(image), view, "channel " + std::to_string(index));
}

TestImage ColoursOf(TestImage image) {
    const REALobject view = image->IsCMYK ? CMYKChannel(image.object()) : RGBChannel(image.object());
    return View(std::move(image), view, "colours");
}

TestImage RandomImage(Random& random, const TempDir& directory, int width, int height, int format) {
    return RandomImage(random, directory, random.Pick(std::vector(std::begin(kStorageKinds), std::end(kStorageKinds))),
                       width, height, format);
}

TestImage RandomImage(Random& random, const TempDir& directory, StorageKind kind, int width, int height, int format) {
    // From the inside out: each clip is cut from something larger. A mapped clip must not begin below the last window
    // of its own height, so there it keeps its full height.
    struct Step {
        bool mirrored;
        int x, y, width, height;
    };
    std::vector<Step> steps;
    while (kind != StorageKind::console && random.Chance(45) && steps.size() < 3) {
        if (random.Chance(40)) {
            steps.push_back({true, 0, 0, 0, 0});
            continue;
        }
        const int left = random.Between(0, 4), right = random.Between(0, 3);
        const bool lower = kind != StorageKind::file;
        const int above = lower ? random.Between(0, 3) : 0, below = lower ? random.Between(0, 3) : 0;
        steps.push_back({false, left, above, width, height});
        width += left + right;
        height += above + below;
    }
    TestImage image = MakeStorage(random, directory, kind, width, height, format);
    if (!image) return image;
    FillWithNoise(image, random);
    for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
        image = step->mirrored ? MirroredOf(std::move(image))
                               : ClipOf(std::move(image), step->x, step->y, step->width, step->height);
    }
    return image;
}

// --- storages -------------------------------------------------------------------------------------------------------

Storage SnapshotOf(const TestImage& image) {
    const ImageClassData* const root = image.root();
    Storage storage;
    if (root->IsMapping) {
        storage.bytes.resize(static_cast<std::size_t>(root->TotalSize));
        const ssize_t read = pread(root->FileHandle, storage.bytes.data(), storage.bytes.size(), 0);
        EXPECT_EQ(read, root->TotalSize) << "the scratch file is short";
    } else if (root->MemoryTarget) {
        const std::uint8_t* const data = FakeHost::Current().BlockData(root->MemoryTarget);
        storage.bytes.assign(data, data + FakeHost::Current().BlockSize(root->MemoryTarget));
    } else if (root->RowPointers) {
        for (int y = 0; y < root->TableRows; ++y) {
            storage.bytes.insert(storage.bytes.end(), root->RowPointers[y], root->RowPointers[y] + root->StorageBytes);
        }
    } else if (root->Pixels) {
        storage.bytes.assign(root->Pixels, root->Pixels + root->TotalSize);
    }
    return storage;
}

void SetStorage(const TestImage& image, const Storage& storage) {
    const ImageClassData* const root = image.root();
    if (root->IsMapping) {
        const ssize_t written = pwrite(root->FileHandle, storage.bytes.data(), storage.bytes.size(), 0);
        EXPECT_EQ(written, static_cast<ssize_t>(storage.bytes.size()));
    } else if (root->MemoryTarget) {
        std::memcpy(FakeHost::Current().BlockData(root->MemoryTarget), storage.bytes.data(), storage.bytes.size());
    } else if (root->RowPointers) {
        const std::size_t bytesOfRow = static_cast<std::size_t>(root->StorageBytes);
        for (int y = 0; y < root->TableRows; ++y) {
            std::memcpy(root->RowPointers[y], storage.bytes.data() + static_cast<std::size_t>(y) * bytesOfRow,
                        bytesOfRow);
        }
    } else if (root->Pixels) {
        std::memcpy(root->Pixels, storage.bytes.data(), storage.bytes.size());
    }
}

void FillWithNoise(const TestImage& image, Random& random) {
    Storage storage = SnapshotOf(image);
    for (std::uint8_t& byte : storage.bytes) byte = random.Byte();
    SetStorage(image, storage);
}

std::int64_t PlaceOfRow(const TestImage& image, int y) {
    const ImageClassData* const record = image.record();
    const bool mirrored = record->GetRow == GetRowLinearMirrored || record->GetRow == GetRowMappingMirrored ||
                          record->GetRow == GetRowGDImageMirrored;
    const std::int64_t row = mirrored ? static_cast<std::int64_t>(record->Height) - 1 - y : y;
    return (row + record->RowOffset) * record->RowSize;
}

std::int64_t PlaceOf(const TestImage& image, int x, int y) {
    return PlaceOfRow(image, y) + static_cast<std::int64_t>(x) * image->PixelSize;
}

static std::string Hex(const std::vector<std::uint8_t>& bytes, std::size_t at) {
    std::string text;
    const std::size_t first = at < 4 ? 0 : at - 4;
    for (std::size_t i = first; i < std::min(bytes.size(), at + 8); ++i) {
        char part[16];
        std::snprintf(part, sizeof part, i == at ? " [%02x]" : " %02x", bytes[i]);
        text += part;
    }
    return text;
}

::testing::AssertionResult SameBytes(const std::vector<std::uint8_t>& expected,
                                     const std::vector<std::uint8_t>& actual) {
    if (expected == actual) return ::testing::AssertionSuccess();
    if (expected.size() != actual.size()) {
        return ::testing::AssertionFailure() << expected.size() << " bytes expected, " << actual.size() << " found";
    }
    const std::size_t at = static_cast<std::size_t>(
        std::mismatch(expected.begin(), expected.end(), actual.begin()).first - expected.begin());
    std::size_t differing = 0;
    for (std::size_t i = at; i < expected.size(); ++i) differing += expected[i] != actual[i];
    return ::testing::AssertionFailure() << differing << " of " << expected.size() << " bytes differ, the first at "
                                         << at << "\n  expected" << Hex(expected, at) << "\n  found   "
                                         << Hex(actual, at);
}

::testing::AssertionResult SameStorage(const Storage& expected, const Storage& actual, const TestImage& image) {
    ::testing::AssertionResult result = SameBytes(expected.bytes, actual.bytes);
    const ImageClassData* const record = image.record();
    if (result || expected.bytes.size() != actual.bytes.size() || record->RowSize <= 0) return result;
    const std::int64_t at = std::mismatch(expected.bytes.begin(), expected.bytes.end(), actual.bytes.begin()).first -
                            expected.bytes.begin();
    const std::int64_t inRow = at % record->RowSize;
    result << "\n  storage row " << at / record->RowSize << ", byte " << inRow;
    if (record->PixelSize > 0) {
        result << ", storage column " << inRow / record->PixelSize << " byte " << inRow % record->PixelSize;
    }
    return result << "\n  image: " << image.text << ", row offset " << record->RowOffset;
}

std::vector<ChannelOffset> ChannelsByName(const ImageClassData* record) {
    const auto offset = [](bool has, int value) { return has ? value : -1; };
    return {
        {"red", offset(record->HasRed, record->RedOffset)},
        {"green", offset(record->HasGreen, record->GreenOffset)},
        {"blue", offset(record->HasBlue, record->BlueOffset)},
        {"gray", offset(record->HasGray, record->GrayOffset)},
        {"alpha", offset(record->HasAlpha, record->AlphaOffset)},
        {"cyan", offset(record->HasCyan, record->CyanOffset)},
        {"magenta", offset(record->HasMagenta, record->MagentaOffset)},
        {"yellow", offset(record->HasYellow, record->YellowOffset)},
        {"black", offset(record->HasBlack, record->BlackOffset)},
    };
}
