#include "Application.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Expect.h"
#include "core/ImageClassData.h"
#include "core/Storage.h"
#include "host/HostCalls.h"
#include "support/Images.h"  // ShrinkWindow

using zorhost::Kind;

namespace {

constexpr std::size_t kMaxImages = 12;
constexpr std::size_t kMaxOthers = 6;
constexpr int kMaxCalls = 120;
constexpr int kMaxNested = 3;

// For those who look into a finding: every call and what is alive behind it.
const bool traced = std::getenv("FUZZ_TRACE") != nullptr;

std::string Small(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

Slot Number(int number) {
    Slot slot{};
    slot.integer = number;
    return slot;
}

Slot ObjectSlot(REALobject object) {
    Slot slot{};
    slot.object = object;
    return slot;
}

const ImageClassData* RootOf(REALobject image) {
    const ImageClassData* record = ImageDataOf(image);
    while (record->Parent) record = ImageDataOf(record->Parent);
    return record;
}

// All bytes of the storage of an image that is no view; none where it has none.
std::vector<std::uint8_t> BytesOf(const ImageClassData* root) {
    std::vector<std::uint8_t> bytes;
    if (!root->GetRow || StorageIsGone(root) || root->StorageBytes < 0) return bytes;
    const std::size_t size = static_cast<std::size_t>(root->StorageBytes);
    if (root->IsMapping) {
        bytes.resize(static_cast<std::size_t>(root->TotalSize));
        Expect(pread(root->FileHandle, bytes.data(), bytes.size(), 0) == root->TotalSize, "the file holds the image");
    } else if (root->RowPointers) {
        for (int y = 0; y < root->TableRows; ++y) {
            bytes.insert(bytes.end(), root->RowPointers[y], root->RowPointers[y] + size);
        }
    } else if (root->Pixels) {
        bytes.assign(root->Pixels, root->Pixels + size);
    }
    return bytes;
}

// Something to see, the same for the same seed.
void Paint(const ImageClassData* root, int seed) {
    std::uint32_t noise = static_cast<std::uint32_t>(seed);
    const auto next = [&noise, seed](std::size_t i) {
        noise = noise * 1664525 + 1013904223;
        return static_cast<std::uint8_t>(seed % 4 == 0 ? i / 7 : seed % 4 == 1 ? (noise >> 31) * 255 : noise >> 24);
    };
    std::vector<std::uint8_t> bytes = BytesOf(root);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = next(i);
    if (root->IsMapping) {
        Expect(pwrite(root->FileHandle, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()),
               "the file can be written");
    } else if (!root->RowPointers && root->Pixels) {
        std::copy(bytes.begin(), bytes.end(), root->Pixels);
    }
}

}  // namespace

Application::Application(Input& input, const FileGround& files, Tape* tape)
    : input_(input), files_(files), tape_(tape), pictures_(host_, World::none) {
    host_.keepLog = false;
    host_.classes.insert("GWorldZOR");
    host_.onYield = [this] { Turn(); };
    std::srand(1);
    static constexpr World kWorlds[] = {World::desktop, World::console, World::web, World::none};
    static constexpr double kVersions[] = {2013.0, 2012.0, 2011.04, 2010.03, 2009.0};
    const World world = input_.OneOf(kWorlds);
    input_.Chance(2) ? pictures_.Know(world) : pictures_.Enter(world);
    host_.SetVersion(input_.Chance(3) ? input_.OneOf(kVersions) : FakeHost::kVersion);
    // Applications of the console get on where QuickDraw is and where it is not.
    if (world != World::desktop && input_.Chance(2)) FakePictures::LoadQuickDraw();
    // Where the world is not known to be the console, pictures of other kinds than GWorlds keep a lock, which their
    // hosts take back when they go.
    pictures_.locksMayStay = !IsConsole;
    pictures_.lendsMasks = true;
}

void Application::Run() {
    for (int i = input_.Byte() % 6; i >= 0; --i) MakeImage();
    while (!input_.IsAtEnd() && calls_ < kMaxCalls) Act();
}

void Application::Leave() {
    host_.onYield = nullptr;
    for (const REALobject image : images_) NoteBytes("an image at the end", image);
    for (const REALobject picture : hostPictures_) NoteBytes("a picture at the end", picture);
    ReleaseTemporaries(0);
    for (const Member& member : AllMembers()) {
        if (member.name == "SetFactory") CallMember(member, nullptr, {ObjectSlot(nullptr)});
    }
    for (Objects* const all : {&images_, &hostPictures_, &blocks_, &others_, &factories_, &kept_}) {
        while (!all->empty()) {
            const REALobject object = all->back();
            all->pop_back();
            REALUnlockObject(object);
        }
    }
    while (host_.TakeException()) {
    }
    Expect(pictures_.LockedPixels() == 0, "no pixels of a picture stay locked");
    const std::string left = host_.WhatIsLeft();
    Expect(left.empty(), ("nothing is left\n" + left).c_str());
}

// --- what the application does --------------------------------------------------------------------------------------

void Application::Act() {
    switch (input_.Byte() % 20) {
        case 0:
        case 1:
            return MakeImage();
        case 2:
            return MakeView();
        case 3:
            return MakePicture();
        case 4:
            return MakeOther();
        case 5:
            return Drop();
        case 6:
            return ShrinkAnyWindow();
        case 7:
            return MakeTrouble();
        case 8:
            return ChangeMask();
        case 9:
            if (const REALobject image = AnyOf(images_)) ImageDataOf(image)->YieldTicks = 1;
            return;
        default:
            return CallAny();
    }
}

void Application::CallAny() {
    const std::vector<Member>& members = AllMembers();
    const Member& member = members[static_cast<std::size_t>(input_.Between(0, static_cast<int>(members.size()) - 1))];
    const REALobject object = member.OnObject() ? AnyOf(images_) : nullptr;
    if (member.OnObject() && !object) return;
    // A copy that cannot be made leaves its object behind: applications have always been served so.
    const bool isClone = member.name == "Clone";
    if (isClone && std::int64_t{ImageDataOf(object)->RowSize} * ImageDataOf(object)->Height < 0) return;
    const std::size_t temporaries = temporaries_.size();
    const ParkedDescriptorZero parked;  // constructors and Close are for images that may have been closed
    std::vector<Slot> arguments;
    for (const zorhost::Parameter& parameter : member.takes) arguments.push_back(Argument(parameter, object));
    BoundArguments(member, object, &arguments);

    // An image that has nothing to do with the call.
    REALobject bystander = AnyOf(images_);
    const auto isApart = [&bystander](REALobject other) {
        return !other || (RootOf(other) != RootOf(bystander) && !ImagesOverlap(RootOf(other), RootOf(bystander)));
    };
    if (bystander && (RootOf(bystander)->IsMapping || nested_ > 0 || !isApart(object))) bystander = nullptr;
    for (std::size_t i = 0; bystander && i < arguments.size(); ++i) {
        const bool isImage =
            member.takes[i].type.kind == Kind::Object && Small(member.takes[i].type.className) == "picturezor";
        if (isImage && !isApart(arguments[i].object)) bystander = nullptr;
    }
    std::vector<std::uint8_t> before;
    if (bystander) {
        before = BytesOf(RootOf(bystander));
        Temporary(Locked(bystander));
    }

    const long interference = interference_;
    try {
        const Slot result = Call(member, object, arguments);
        NoteResult(member, result);
        if (object) NoteBytes(member.text, object);
        Read(member, result);
    } catch (const Cancelled&) {
        if (nested_ > 0) {  // through the methods that gave the turns
            ReleaseTemporaries(temporaries);
            throw;
        }
    }
    if (bystander && interference == interference_) {
        Expect(BytesOf(RootOf(bystander)) == before, ("no other image changes: " + member.text).c_str());
    }
    ReleaseTemporaries(temporaries);
    while (host_.TakeException()) {
    }
}

// The host holds what a call is about for as long as it takes.
Slot Application::Call(const Member& member, REALobject object, const std::vector<Slot>& arguments) {
    ++calls_;
    if (traced) {
        std::fprintf(stderr, "%*s%s", nested_ * 2, "", member.text.c_str());
        for (std::size_t i = 0; i <= arguments.size(); ++i) {
            const Slot slot = i == 0 ? ObjectSlot(object) : arguments[i - 1];
            if (i > 0 && member.takes[i - 1].type.kind == Kind::Integer) std::fprintf(stderr, " %d", slot.integer);
            const bool isObject = i == 0 || member.takes[i - 1].type.kind == Kind::Object;
            if (!isObject || !slot.object) continue;
            const bool isImage = host_.ClassOf(slot.object) == "PictureZOR";
            const ImageClassData* const record = isImage ? ImageDataOf(slot.object) : nullptr;
            std::fprintf(stderr, " %p", static_cast<void*>(slot.object));
            if (record) std::fprintf(stderr, "[%d x %d of %d]", record->Width, record->Height, record->RowSize);
        }
        std::fprintf(stderr, "\n");
    }
    if (object) Temporary(Locked(object));
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (member.takes[i].type.kind == Kind::Object && arguments[i].object) Temporary(Locked(arguments[i].object));
    }
    // What images are built on stays until the end: a view does not hold the block or picture of its source, which
    // gives it back when it is closed or built again.
    if (member.name == "Constructor") {
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            const bool isObject = member.takes[i].type.kind == Kind::Object;
            if (isObject && arguments[i].object) kept_.push_back(Locked(arguments[i].object));
        }
    }
    const Slot result = CallMember(member, object, arguments);
    if (traced) std::fprintf(stderr, "%s", host_.WhatIsLeft().c_str());
    return result;
}

void Application::Turn() {
    if (tape_ || input_.IsAtEnd() || nested_ == kMaxNested || --untilTurn_ > 0) return;
    untilTurn_ = 1 + input_.Byte() % 40;
    ++interference_;
    struct Nesting {
        explicit Nesting(int* depth) : depth_(depth) { ++*depth_; }
        ~Nesting() { --*depth_; }
        int* depth_;
    } nesting(&nested_);
    for (int i = input_.Byte() % 3; i > 0 && calls_ < kMaxCalls; --i) Act();
    if (input_.Chance(8)) throw Cancelled{};
}

REALobject Application::AnswerFactory(int manner, int width, int height, int format) {
    ++interference_;
    if (std::int64_t{width} * height > 1 << 16) return nullptr;
    switch (manner % 10) {
        case 0:
            return nullptr;
        case 1:
            throw Cancelled{};
        case 2:
            return host_.NewImage();  // without pixels
        case 3:                       // one of those in use, maybe the very source
            return Locked(AnyOf(images_));
        case 4:
            width = std::max(0, width - 1);
            break;
        case 5:
            format = 1 + input_.Byte() % 40;
            width += 3;
            break;
        case 6:
            untilTurn_ = 1;
            Turn();
            break;
        case 7:
            if (const REALobject image = AnyOf(images_)) {
                const Member& close = MethodNamed("Close", 0, "");
                const ParkedDescriptorZero parked;
                CallMember(close, image, {});
            }
            break;
        default:
            break;
    }
    const REALobject made = host_.NewImage();
    CallMember(MethodNamed("Constructor", 3, "width"), made, {Number(width), Number(height), Number(format)});
    return made;
}

// --- arguments and results ------------------------------------------------------------------------------------------

Slot Application::Argument(const zorhost::Parameter& parameter, REALobject object) {
    Slot slot{};
    switch (parameter.type.kind) {
        case Kind::Integer:
        case Kind::Color:
            return Number(EdgeNumber(input_, parameter.name, object ? ImageDataOf(object) : nullptr));
        case Kind::Int64:
            slot.int64 = static_cast<std::int64_t>(input_.Word()) << 32 | input_.Word();
            return slot;
        case Kind::Double:
            slot.real = EdgeReal(input_);
            return slot;
        case Kind::Boolean:
            slot.boolean = static_cast<signed char>(input_.Byte());
            return slot;
        case Kind::IntegerArray:
            slot.array = input_.Chance(16) ? nullptr : host_.NewArray(EdgeArray(input_));
            return slot;
        case Kind::String: {
            static constexpr unsigned kEncodings[] = {kREALEncodingBytes, kREALEncodingUTF8, kREALEncodingUTF16,
                                                      kREALEncodingASCII};
            if (input_.Chance(16)) return slot;
            slot.string = host_.NewString(EdgeText(input_), input_.OneOf(kEncodings));
            strings_.push_back(slot.string);
            return slot;
        }
        case Kind::Object:
            return ObjectSlot(ObjectFor(Small(parameter.type.className), object));
        case Kind::Variant:
        case Kind::Nothing:
            break;
    }
    return slot;
}

REALobject Application::ObjectFor(const std::string& className, REALobject object) {
    if (input_.Chance(8)) return nullptr;
    if (className == "picturezor") return input_.Chance(8) ? object : AnyOf(images_);
    if (className == "picture") return AnyOf(hostPictures_);
    if (className == "picturefactoryzor") return AnyOf(factories_);
    if (className == "folderitem") return NewItem();
    if (className == "memoryblock") {
        // Methods write and read a row of it, and cannot know how large it is.
        const ImageClassData* const record = object ? ImageDataOf(object) : nullptr;
        constexpr std::int64_t kMaxPixelSize = 16;
        return record ? BlockOf(std::max(std::abs(std::int64_t{record->RowSize}), record->Width * kMaxPixelSize))
                      : nullptr;
    }
    Expect(false, ("there are objects of the class " + className).c_str());
    return nullptr;
}

// A block of that many bytes at least; null where that were too many.
REALobject Application::BlockOf(std::int64_t bytes) {
    for (const REALobject block : blocks_) {
        if (static_cast<std::int64_t>(host_.BlockSize(block)) >= bytes && host_.BlockSize(block) > 0) return block;
    }
    if (bytes > 1 << 20) return nullptr;
    const REALobject block = Temporary(host_.NewBlock(static_cast<std::size_t>(std::max<std::int64_t>(bytes, 1))));
    std::memset(host_.BlockData(block), input_.Byte(), host_.BlockSize(block));
    return block;
}

REALobject Application::NewItem() {
    static constexpr FakeHost::FileForm kForms[] = {FakeHost::FileForm::folderAndName, FakeHost::FileForm::reference,
                                                    FakeHost::FileForm::spec, FakeHost::FileForm::none};
    const int name = input_.Byte() % FileGround::kNames;
    return Temporary(host_.NewFolderItem(files_.Path(name), input_.OneOf(kForms)));
}

// Sizes that go together.
void Application::BoundSizes(const Member& member, REALobject object, std::vector<Slot>* arguments) {
    std::int32_t* width = nullptr;
    std::int32_t* height = nullptr;
    bool isFile = false;
    for (std::size_t i = 0; i < arguments->size(); ++i) {
        const std::string name = Small(member.takes[i].name);
        if (name == "width") width = &(*arguments)[i].integer;
        if (name == "height") height = &(*arguments)[i].integer;
        isFile = isFile || name == "filepath";
    }
    if (!width || !height) return;
    isFile ? BoundFileSize(width, height) : BoundImageSize(width, height);
    // A constructor that refuses leaves an image of that size behind, on the storage that was there before.
    const bool isBuilt = member.name == "Constructor" && object && ImageDataOf(object)->GetRow;
    if (isBuilt && *width > 0 && *height > (1 << 13) / *width) *width = *height = 9;
}

void Application::BoundArguments(const Member& member, REALobject object, std::vector<Slot>* arguments) {
    const bool makes = member.name == "Constructor" || member.name == "CreatePictureZOR";
    const bool scales = member.name.starts_with("Scale");
    if (makes || scales) BoundSizes(member, object, arguments);
    if (makes && Small(member.takes[0].name) == "buf") {
        // A block must hold what the image is told to have.
        std::int32_t &width = (*arguments)[1].integer, &height = (*arguments)[2].integer;
        std::int32_t& rowSize = (*arguments)[4].integer;
        // Rows of no bytes would let an image of any size fit, and methods work on its pixels one by one.
        if (std::int64_t{width} * height > 1 << 13) width = height = 7;
        if (std::abs(std::int64_t{rowSize} * height) > 1 << 18) rowSize = input_.Byte() % 32;
        (*arguments)[0].object = BlockOf(std::int64_t{rowSize} * height);
    }
}

void Application::Read(const Member& member, const Slot& result) {
    if (member.gives.kind == Kind::String && result.string) {
        Expect(host_.IsAlive(result.string), "strings that are given are alive");
        REALUnlockString(result.string);
    } else if (member.gives.kind == Kind::Object || member.gives.kind == Kind::Variant) {
        if (!result.object) return;
        Expect(host_.IsAlive(result.object), ("objects that are given are alive: " + member.text).c_str());
        if (member.IsStored()) host_.Retain(result.object);
        TakeIn(result.object);
    }
}

void Application::NoteResult(const Member& member, const Slot& result) {
    if (!tape_) return;
    switch (member.gives.kind) {
        case Kind::Boolean:
            return tape_->Note(member.text, &result.boolean, sizeof result.boolean);
        case Kind::Integer:
        case Kind::Color:
            return tape_->Note(member.text, &result.integer, sizeof result.integer);
        case Kind::Int64:
            return tape_->Note(member.text, &result.int64, sizeof result.int64);
        case Kind::Double:
            return tape_->Note(member.text, &result.real, sizeof result.real);
        case Kind::String: {
            const std::string bytes = result.string ? host_.Bytes(result.string) : "";
            return tape_->Note(member.text, bytes.data(), bytes.size());
        }
        default:
            if (result.object) NoteBytes(member.text, result.object);
    }
}

void Application::NoteBytes(const std::string& what, REALobject object) {
    if (!tape_) return;
    const std::string className = host_.ClassOf(object);
    if (className == "PictureZOR") {
        const std::vector<std::uint8_t> bytes = BytesOf(RootOf(object));
        tape_->Note(what, bytes.data(), bytes.size());
    } else if (className == "Picture") {
        const std::vector<std::uint8_t> bytes = pictures_[object].Bytes();
        tape_->Note(what, bytes.data(), bytes.size());
    } else if (className == "MemoryBlock" && host_.BlockSize(object) > 0) {
        tape_->Note(what, host_.BlockData(object), host_.BlockSize(object));
    }
}

void Application::TakeIn(REALobject object) {
    const std::string className = host_.ClassOf(object);
    Objects* const all = className == "PictureZOR"          ? &images_
                         : className == "Picture"           ? &hostPictures_
                         : className == "MemoryBlock"       ? &blocks_
                         : className == "GWorldZOR"         ? &others_
                         : className == "PictureFactoryZOR" ? &factories_
                                                            : nullptr;
    Expect(all, ("methods give objects of known classes: " + className).c_str());
    if (all == &others_) {  // the application's own now
        void* gworld = nullptr;
        std::memcpy(&gworld, host_.Front(object) + 24, sizeof gworld);
        if (FakeGWorld* const world = pictures_.GWorldAt(gworld)) world->pixelLocks = 0;  // it comes locked
        pictures_.DisposeOf(gworld);
    }
    // Of foreign memory nobody knows how large it is, and for how long it is there.
    const bool isForeign = all == &blocks_ && host_.BlockSize(object) == 0;
    if (isForeign || all == &others_ || all->size() >= (all == &images_ ? kMaxImages : kMaxOthers)) {
        if (all != &factories_) return REALUnlockObject(object);
    }
    all->push_back(object);
}

// --- makers ---------------------------------------------------------------------------------------------------------

void Application::MakeImage() {
    if (images_.size() == kMaxImages) Drop();
    if (images_.size() == kMaxImages) return;
    const REALobject image = host_.NewImage();
    images_.push_back(image);
    const int kind = input_.Byte() % 8, format = 1 + input_.Byte() % 40;
    int width = EdgeNumber(input_, "width", nullptr), height = EdgeNumber(input_, "height", nullptr);
    if (kind != 0) {
        width = 1 + std::abs(width % 60);
        height = 1 + std::abs(height % 30);
    }
    BoundImageSize(&width, &height);
    const std::size_t temporaries = temporaries_.size();
    const Slot size[] = {Number(width), Number(height), Number(format)};
    if (kind < 3) {
        Call(MethodNamed("Constructor", 3, "width"), image, {size[0], size[1], size[2]});
    } else if (kind < 5) {
        const int rowSize = input_.Chance(4) ? input_.Between(-20, 20) : width * 5 + input_.Byte() % 9;
        const std::int64_t bytes = std::max<std::int64_t>(1, std::int64_t{rowSize} * height);
        const REALobject block = input_.Chance(3)
                                     ? BlockOf(bytes)
                                     : Temporary(host_.NewBlock(static_cast<std::size_t>(bytes + input_.Byte() % 3)));
        Call(MethodNamed("Constructor", 5, "Buf"), image,
             {ObjectSlot(block), size[0], size[1], size[2], Number(rowSize)});
    } else if (kind < 7) {
        BoundFileSize(&width, &height);
        Call(MethodNamed("Constructor", 5, "width"), image,
             {Number(width), Number(height), size[2], Number(input_.Byte() << 10), ObjectSlot(NewItem())});
        ImageClassData* const record = ImageDataOf(image);
        if (record->GetRow && record->IsMapping) {
            ShrinkWindow(record, std::min(record->Height, 3 + input_.Byte() % 6));
            if (record->Pixels) record->Valid = true;
        }
    } else if (const REALobject picture = AnyOf(hostPictures_)) {
        Call(MethodNamed("Constructor", 2, "pic"), image,
             {ObjectSlot(picture), Slot{.boolean = static_cast<signed char>(input_.Byte() % 2)}});
    }
    ReleaseTemporaries(temporaries);
    while (host_.TakeException()) {
    }
    Paint(ImageDataOf(image), input_.Byte());
}

void Application::MakeView() {
    const REALobject image = AnyOf(images_);
    if (!image || images_.size() == kMaxImages) return;
    const std::size_t temporaries = temporaries_.size();
    static const char* const kViews[] = {"AlphaChannel", "RGBChannels", "CMYKChannels", "MirroredView", "ClipImage"};
    const int kind = input_.Byte() % 8;
    if (kind < 5) {
        Read(MethodNamed(kViews[kind], 0, ""), Call(MethodNamed(kViews[kind], 0, ""), image, {}));
    } else if (kind < 7) {
        const Member& clip = MethodNamed("ClipImage", 4, "x");
        const int width = ImageDataOf(image)->Width, height = ImageDataOf(image)->Height;
        const int x = input_.Byte() % 8, y = input_.Byte() % 8;
        Read(clip, Call(clip, image, {Number(x), Number(y), Number(width - x), Number(height - y)}));
    } else {
        const Member& channel = MethodNamed("Channel", 1, "index");
        Read(channel, Call(channel, image, {Number(input_.Byte() % 6)}));
    }
    ReleaseTemporaries(temporaries);
    while (host_.TakeException()) {
    }
}

void Application::MakePicture() {
    if (hostPictures_.size() == kMaxOthers) return;
    static constexpr int kBits[] = {32, 24, 16, 8, 1};
    const int kind = input_.Byte() % 6, width = input_.Byte() % 50, height = input_.Byte() % 40;
    const std::uint32_t seed = static_cast<std::uint32_t>(input_.Byte());
    if (kind == 1 || kind == 2) FakePictures::LoadQuickDraw();
    const FakePicture::Kind kinds[] = {FakePicture::Kind::console, FakePicture::Kind::desktop,
                                       FakePicture::Kind::desktop, FakePicture::Kind::palette,
                                       FakePicture::Kind::other,   FakePicture::Kind::console};
    hostPictures_.push_back(pictures_.NewNoise(kinds[kind], input_.OneOf(kBits), width, height, seed));
    pictures_[hostPictures_.back()].hasGraphics = !input_.Chance(8);
}

void Application::ChangeMask() {
    const REALobject picture = AnyOf(hostPictures_);
    if (!picture) return;
    const REALobject before = pictures_[picture].mask;
    const REALobject mask = input_.Chance(3) ? nullptr : AnyOf(hostPictures_);
    const bool isMask = mask && mask != picture && !pictures_[mask].mask &&
                        std::none_of(hostPictures_.begin(), hostPictures_.end(),
                                     [&](REALobject other) { return pictures_[other].mask == picture; });
    pictures_[picture].mask = isMask ? Locked(mask) : nullptr;
    if (before) host_.Release(before);
}

void Application::MakeOther() {
    if (input_.Chance(2) && blocks_.size() < kMaxOthers) {
        blocks_.push_back(host_.NewBlock(static_cast<std::size_t>(input_.Between(0, 20000))));
    } else if (factories_.size() < kMaxOthers) {
        const int manner = input_.Byte();
        if (manner % 16 == 15) {
            factories_.push_back(host_.NewFactory());
        } else {
            factories_.push_back(host_.NewFactory([this, manner](int width, int height, int format) {
                return AnswerFactory(manner, width, height, format);
            }));
        }
        const bool global = input_.Chance(2);
        const REALobject image = AnyOf(images_);
        for (const Member& member : AllMembers()) {
            if (global && member.name == "SetFactory") CallMember(member, nullptr, {ObjectSlot(factories_.back())});
        }
        if (!global && image) ImageDataOf(image)->Factory = factories_.back();
    }
}

void Application::Drop() {
    Objects* const all[] = {&images_, &images_, &images_, &hostPictures_, &blocks_};
    Objects& from = *input_.OneOf(all);
    if (from.empty()) return;
    const std::size_t which = static_cast<std::size_t>(input_.Byte()) % from.size();
    const REALobject object = from[which];
    from.erase(from.begin() + static_cast<std::ptrdiff_t>(which));
    REALUnlockObject(object);
}

void Application::ShrinkAnyWindow() {
    const REALobject image = AnyOf(images_);
    if (!image) return;
    ImageClassData* const record = ImageDataOf(image);
    if (!record->GetRow || !record->IsMapping || record->RowSize <= 0 || record->Height < 1) return;
    ShrinkWindow(record, std::min(record->Height, 3 + input_.Byte() % 6));
}

void Application::MakeTrouble() {
    static const char* const kCalls[] = {"newPicture",
                                         "REALBuildPictureFromBuffer",
                                         "lockPictureDescription",
                                         "REALLockPictureDescription",
                                         "pluginPictureGraphicsGetter",
                                         "REALGetPictureMask",
                                         "REALGetPropValueInt",
                                         "REALLoadObjectMethod",
                                         "DrawPicture",
                                         "GetPixRowBytes",
                                         "GetPixBaseAddr",
                                         "LockPixels",
                                         "GetPixDepth",
                                         "GetGWorldPixMap",
                                         "GetPortPixMap",
                                         "NewGWorld",
                                         "GetCTable"};
    const int n = 1 + input_.Byte() % 3;
    switch (input_.Byte() % 8) {
        case 0:
            host_.failNewInstance = n;
            return;
        case 1:
            host_.failBuildString = !host_.failBuildString;
            return;
        case 2:
            host_.failNewMemoryBlock = !host_.failNewMemoryBlock;
            return;
        case 3:
            host_.newBlocksHaveData = !host_.newBlocksHaveData;
            return;
        case 4:
            host_.failStringData = !host_.failStringData;
            return;
        default:
            return pictures_.FailCall(input_.OneOf(kCalls), n);
    }
}

// --- locks ----------------------------------------------------------------------------------------------------------

REALobject Application::AnyOf(const Objects& objects) {
    return objects.empty() ? nullptr : objects[static_cast<std::size_t>(input_.Byte()) % objects.size()];
}

REALobject Application::Locked(REALobject object) {
    if (object) host_.Retain(object);
    return object;
}

REALobject Application::Temporary(REALobject object) {
    temporaries_.push_back(object);
    return object;
}

void Application::ReleaseTemporaries(std::size_t from) {
    while (temporaries_.size() > from) {
        const REALobject object = temporaries_.back();
        temporaries_.pop_back();
        REALUnlockObject(object);
    }
    for (const REALstring string : strings_) REALUnlockString(string);
    strings_.clear();
}
