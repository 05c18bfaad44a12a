#include "goldens/Scene.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/RowSpan.h"
#include "core/Views.h"
#include "host/QuickDraw.h"

using namespace zor;

// --- hash -----------------------------------------------------------------------------------------------------------

void GoldenHash::Add(const void* bytes, std::size_t size) {
    const std::uint8_t* const at = static_cast<const std::uint8_t*>(bytes);
    std::size_t i = 0;
    for (; i + 8 <= size; i += 8) {
        std::uint64_t word = 0;
        for (std::size_t k = 0; k < 8; ++k) word |= static_cast<std::uint64_t>(at[i + k]) << 8 * k;
        Take(word);
    }
    for (; i < size; ++i) Take(at[i]);
}

void GoldenHash::Add(std::int64_t number) {
    Take(static_cast<std::uint64_t>(number));
}

void GoldenHash::Add(const std::string& text) {
    Add(static_cast<std::int64_t>(text.size()));
    Add(text.data(), text.size());
}

std::string GoldenHash::text() const {
    char text[17];
    std::snprintf(text, sizeof text, "%08x%08x", static_cast<unsigned>(value_ >> 32), static_cast<unsigned>(value_));
    return text;
}

// --- what is worked on ----------------------------------------------------------------------------------------------

namespace {

struct Size {
    int width, height;
};

// One pixel, a few, rows that are no multiple of any vector, and rows of several.
constexpr Size kSizes[] = {{33, 17}, {7, 5}, {130, 5}, {1, 1}, {41, 23}};

}  // namespace

GoldenScene::GoldenScene(FakeHost& host, const TempDir& directory, World world, int format, int number)
    : host_(host),
      pictures_(host, world),
      directory_(directory),
      random_(static_cast<std::uint32_t>(1000 * format + number)),
      format_(format),
      number_(number) {
    FakePictures::LoadQuickDraw();  // as it stays in the process, where a later desktop brings it
    pictures_.Know(world);
    pictures_.locksAreCounted = false;  // of pictures of the other world
    const Size size = kSizes[static_cast<std::size_t>(format + number) % std::size(kSizes)];
    width_ = size.width;
    height_ = size.height;
    self_ = Made(width_, height_, format_);
}

GoldenScene::~GoldenScene() {
    images_.clear();
    self_ = {};
    for (const REALobject object : objects_) REALUnlockObject(object);
    for (const REALobject picture : shownPictures_) {
        // The engine gives no reference to a mask back.
        const REALobject mask = pictures_[picture].mask;
        while (mask && host_.Locks(mask) > 1) host_.Release(mask);
        REALUnlockObject(picture);
    }
    for (const REALobject block : blocks_) REALUnlockObject(block);
    for (const REALstring string : strings_) REALUnlockString(string);
}

std::string GoldenScene::text() const {
    return self_.text;
}

// Of all kinds in turn, as they are and seen through views.
TestImage GoldenScene::Made(int width, int height, int format) {
    const StorageKind kind = kStorageKinds[random_.Between(0, 99) < 20 ? 2 : number_ % 2];
    TestImage image = RandomImage(random_, directory_, kind, width, height, format);
    // Runs of like pixels and of the ends of the range, as pictures have them: noise alone never comes to some
    // branches.
    Storage storage = SnapshotOf(image);
    for (std::size_t at = 0; at < storage.bytes.size(); ++at) {
        const std::size_t run = at / 97 % 4;
        if (run == 1) storage.bytes[at] = 255;
        if (run == 2) storage.bytes[at] = static_cast<std::uint8_t>(at / 3);
    }
    SetStorage(image, storage);
    return image;
}

REALobject GoldenScene::Self() {
    return self_.object();
}

REALobject GoldenScene::Another() {
    return OfSize(width_, height_, format_);
}

REALobject GoldenScene::OfSize(int width, int height, int format) {
    images_.push_back(Made(width, height, format));
    return images_.back().object();
}

REALobject GoldenScene::PartOfSelf() {
    images_.emplace_back(ClipImage5(self_.object(), width_ / 4, 0, width_, height_), "part");
    return images_.back().object();
}

REALobject GoldenScene::Unmade() {
    objects_.push_back(host_.NewImage());
    return objects_.back();
}

REALobject GoldenScene::Picture(FakePicture::Kind kind, int bits, bool withMask) {
    const REALobject picture = pictures_.NewNoise(kind, bits, width_ + 2, height_ + 1, random_.Bits());
    if (withMask) {
        pictures_[picture].mask = pictures_.NewNoise(kind, bits, width_ + 2, height_ + 1, random_.Bits());
    }
    shownPictures_.push_back(picture);
    return picture;
}

REALobject GoldenScene::Block(int size) {
    const REALobject block = host_.NewBlock(static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i) host_.BlockData(block)[i] = random_.Byte();
    blocks_.push_back(block);
    return block;
}

REALobject GoldenScene::File() {
    blocks_.push_back(host_.NewFolderItem(directory_.File("constructed")));
    return blocks_.back();
}

REALstring GoldenScene::String(int size) {
    std::string bytes;
    for (int i = 0; i < size; ++i) bytes += static_cast<char>(random_.Byte());
    strings_.push_back(host_.NewString(bytes, kREALEncodingBytes));
    return strings_.back();
}

// --- what came of it ------------------------------------------------------------------------------------------------

void GoldenScene::AddTo(GoldenHash* hash, const GoldenValue& result) {
    hash->Add(result.integer);
    while (const auto exception = host_.TakeException()) hash->Add(exception->className + exception->message);
    if (result.string) {
        hash->Add(host_.Bytes(result.string));
        hash->Add(host_.Encoding(result.string));
        REALUnlockString(result.string);
    }
    AddObject(hash, result.object);
    for (const REALobject object : objects_) AddImage(hash, object);
    for (const TestImage& image : images_) {
        const Storage storage = SnapshotOf(image);
        hash->Add(storage.bytes.data(), storage.bytes.size());
    }
    const Storage storage = SnapshotOf(self_);
    hash->Add(storage.bytes.data(), storage.bytes.size());
    for (const REALobject picture : shownPictures_) AddPicture(hash, picture);
    for (const REALobject block : blocks_) hash->Add(host_.BlockData(block), host_.BlockSize(block));
    if (result.object) REALUnlockObject(result.object);
}

void GoldenScene::AddObject(GoldenHash* hash, REALobject object) {
    if (!object) return hash->Add("nil");
    hash->Add(host_.ClassOf(object));
    if (host_.ClassOf(object) == "PictureZOR") return AddImage(hash, object);
    if (host_.ClassOf(object) == "GWorldZOR") return AddGWorld(hash, object);
    if (pictures_.IsPicture(object)) return AddPicture(hash, object);
    hash->Add(host_.BlockData(object), host_.BlockSize(object));
}

void GoldenScene::AddImage(GoldenHash* hash, REALobject image) {
    ImageClassData* const record = ImageDataOf(image);
    for (const std::int64_t number :
         {std::int64_t{record->Valid}, std::int64_t{record->Width}, std::int64_t{record->Height},
          std::int64_t{record->ImageFormat}, std::int64_t{record->PixelSize}, record->TotalSize}) {
        hash->Add(number);
    }
    if (record->RowPointers) return AddWords(hash, record);
    for (const ChannelOffset& channel : ChannelsByName(record)) hash->Add(channel.offset);
    for (int y = 0; y < record->Height && record->GetRow; ++y) {
        const RowSpan row = GetRowSpan(record, y);
        const std::ptrdiff_t bytes = std::ptrdiff_t{std::max(record->Width, 0)} * record->PixelSize;
        std::vector<std::uint8_t> pixels(static_cast<std::size_t>(bytes));
        LoadRun(row, 0, bytes, pixels.data());
        hash->Add(pixels.data(), pixels.size());
    }
}

// By channel: the words of a console picture lie in the processor's own order.
void GoldenScene::AddWords(GoldenHash* hash, ImageClassData* record) {
    for (const ChannelOffset& channel : ChannelsByName(record)) {
        hash->Add(channel.offset >= 0 ? channel.name : "none");
        for (int y = 0; y < record->Height && channel.offset >= 0; ++y) {
            const RowSpan row = GetRowSpan(record, y);
            for (int x = 0; x < record->Width; ++x) hash->Add(row.Load(x * record->PixelSize + channel.offset));
        }
    }
}

// By pixel, for the same reason.
void GoldenScene::AddPicture(GoldenHash* hash, REALobject picture) {
    const FakePicture& shown = pictures_[picture];
    hash->Add(shown.width);
    hash->Add(shown.height);
    for (int y = 0; y < shown.height; ++y) {
        for (int x = 0; x < shown.width; ++x) {
            const FakePixel pixel = shown.Get(x, y);
            const std::uint8_t bytes[] = {pixel.red, pixel.green, pixel.blue, pixel.alpha};
            hash->Add(bytes, sizeof bytes);
        }
    }
    if (shown.mask) AddPicture(hash, shown.mask);
}

// The GWorld goes as it does with its owner in applications.
void GoldenScene::AddGWorld(GoldenHash* hash, REALobject owner) {
    void* handle = nullptr;
    std::memcpy(&handle, host_.Front(owner) + 24, sizeof handle);
    FakeGWorld* const world = pictures_.GWorldAt(handle);
    ASSERT_TRUE(world);
    hash->Add(world->bits);
    hash->Add(world->pixels.data(), world->pixels.size());
    UnlockPixels(static_cast<PixMap**>(world->handle()));
    pictures_.DisposeOf(world);
}
