#include "support/FakePictures.h"

#include <dlfcn.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <initializer_list>
#include <set>

#include "host/HostCalls.h"
#include "support/FakeQuickDraw.h"

using namespace zor;

const Calls kLookUps = {"pluginObjectType(Application)", "pluginObjectType(WebApplication)",
                        "pluginObjectType(ConsoleApplication)"};

Calls Joined(std::initializer_list<Calls> parts) {
    Calls all;
    for (const Calls& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

namespace {

FakePictures* current = nullptr;
InstallFakeQuickDrawFunction installQuickDraw = nullptr;

constexpr char kDrawPicture[] =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as Integer = 0, sy as "
    "Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";

std::string Listed(std::initializer_list<long long> numbers) {
    std::string text;
    for (const long long number : numbers) text += (text.empty() ? "" : ", ") + std::to_string(number);
    return text;
}

// Calls about no object: what they are logged with are arguments alone.
bool HasSubject(const std::string& function) {
    static const std::set<std::string> without = {
        "newPicture", "REALBuildPictureFromBuffer", "pluginObjectType", "PluginNewInstance", "NewGWorld", "GetCTable"};
    return !without.contains(function);
}

}  // namespace

// --- the functions of host and QuickDraw ----------------------------------------------------------------------------

struct FakePictureCalls {
    static FakePictures& pictures() { return *current; }
    static FakeHost& host() { return current->host_; }
    static std::string Name(const void* subject) { return subject ? current->NameOf(subject) : "nil"; }

    static FakePicture* Find(REALobject picture, const char* function) {
        const auto found = pictures().pictures_.find(picture);
        if (found != pictures().pictures_.end()) return found->second.get();
        if (picture) ADD_FAILURE() << function << " on what is no living picture";
        return nullptr;
    }

    // Hosts have no pictures of less than nothing, nor of more than memory.
    static bool CanHold(int width, int height) {
        return width >= 0 && height >= 0 && static_cast<std::int64_t>(width) * height <= 1 << 26;
    }

    static REALobject NewPicture(int width, int height, int depth) {
        host().Explain(Listed({width, height, depth}));
        if (pictures().Refuses("newPicture") || !CanHold(width, height)) return nullptr;
        return pictures().Make(pictures().newKind, pictures().newBits, pictures().newPadding, width, height,
                               "new " + std::to_string(++pictures().made_));
    }

    static REALobject BuildFromBuffer(int width, int height, int type, void* buffer, int rowBytes) {
        host().Explain(Listed({width, height, type}) + (buffer ? ", buffer, " : ", nil, ") + std::to_string(rowBytes));
        if (pictures().Refuses("REALBuildPictureFromBuffer") || !CanHold(width, height)) return nullptr;
        return pictures().Make(pictures().newKind, pictures().newBits, pictures().newPadding, width, height, "built");
    }

    static void Lock(REALobject object, REALpictureDescription* description) {
        FakePicture* const picture = Find(object, "lockPictureDescription");
        if (!picture) return;
        ++picture->descriptionLocks;
        if (!pictures().Refuses("lockPictureDescription")) *description = picture->told;
    }

    static bool LockKind(REALobject object, REALpictureDescription* description, REALword kind) {
        host().Explain(std::to_string(kind));
        FakePicture* const picture = Find(object, "REALLockPictureDescription");
        if (!picture) return false;
        const bool refused = pictures().Refuses("REALLockPictureDescription");
        const bool given = !refused && kind == 10 && picture->isKind10;
        if (given || host().version < 2012.0) ++picture->descriptionLocks;
        if (given) *description = picture->told;
        return given;
    }

    static void Unlock(REALobject object) {
        FakePicture* const picture = Find(object, "unlockPictureDescription");
        if (!picture) return;
        if (picture->descriptionLocks > 0) {
            --picture->descriptionLocks;
        } else if (pictures().locksAreCounted) {
            ADD_FAILURE() << "the description of " << picture->name << " is unlocked without a lock";
        }
    }

    static void ClearCache(REALobject object) {
        if (FakePicture* const picture = Find(object, "REALPictureClearCache")) ++picture->cacheClears;
    }

    static REALobject Graphics(REALobject object) {
        const FakePicture* const picture = Find(object, "pluginPictureGraphicsGetter");
        if (!picture || !picture->hasGraphics || pictures().Refuses("pluginPictureGraphicsGetter")) return nullptr;
        const REALobject graphics = host().NewObject("Graphics");
        pictures().graphics_[graphics] = object;
        return graphics;
    }

    static REALobject Mask(REALobject object, int create) {
        host().Explain(std::to_string(create));
        FakePicture* const picture = Find(object, "REALGetPictureMask");
        if (!picture || pictures().Refuses("REALGetPictureMask")) return nullptr;
        if (!picture->mask && create) {
            picture->mask = pictures().Make(pictures().newKind, pictures().newBits, pictures().newPadding,
                                            picture->width, picture->height, "mask of " + picture->name);
        }
        const bool lent = pictures().lendsMasks && !create;
        if (picture->mask && !lent) host().Retain(picture->mask);
        return picture->mask;
    }

    static bool Property(REALobject object, const char* name, int* value) {
        const auto found = pictures().pictures_.find(object);
        if (found == pictures().pictures_.end() || pictures().Refuses("REALGetPropValueInt")) return false;
        const bool isWidth = std::strcmp(name, "Width") == 0;
        if (!isWidth && std::strcmp(name, "Height") != 0) return false;
        *value = isWidth ? found->second->width : found->second->height;
        return true;
    }

    static void* Method(REALobject object, const char* declaration) {
        host().Explain(std::strcmp(declaration, kDrawPicture) == 0 ? "DrawPicture" : declaration);
        if (!pictures().graphics_.contains(object) || !pictures().drawMethod) return nullptr;
        if (pictures().Refuses("REALLoadObjectMethod")) return nullptr;
        return std::strcmp(declaration, kDrawPicture) == 0 ? reinterpret_cast<void*>(&DrawPicture) : nullptr;
    }

    static void DrawPicture(REALobject graphics, REALobject sourceObject, int x, int y, int w, int h, int sx, int sy,
                            int sw, int sh) {
        host().Note("DrawPicture", graphics);
        host().Explain(Name(sourceObject) + ", " + Listed({x, y, w, h, sx, sy, sw, sh}));
        const auto found = pictures().graphics_.find(graphics);
        const FakePicture* const source = Find(sourceObject, "DrawPicture");
        if (found == pictures().graphics_.end()) {
            ADD_FAILURE() << "DrawPicture on what is no living graphics object";
            return;
        }
        FakePicture* const target = Find(found->second, "DrawPicture");
        if (!source || !target || w < 1 || h < 1 || pictures().Refuses("DrawPicture")) return;
        const std::uint8_t opaque = target->kind == FakePicture::Kind::console ? 0 : 255;
        for (int row = 0; row < h; ++row) {
            for (int column = 0; column < w; ++column) {
                const int toX = x + column, toY = y + row;
                const int fromX = sx + static_cast<int>(static_cast<std::int64_t>(column) * sw / w);
                const int fromY = sy + static_cast<int>(static_cast<std::int64_t>(row) * sh / h);
                if (toX < 0 || toY < 0 || toX >= target->width || toY >= target->height) continue;
                if (fromX < 0 || fromY < 0 || fromX >= source->width || fromY >= source->height) continue;
                FakePixel pixel = source->Get(fromX, fromY);
                pixel.alpha = opaque;
                target->Set(toX, toY, pixel);
            }
        }
    }

    // --- QuickDraw ---------------------------------------------------------------------------------------------------

    // The world behind a handle; nil is nil, and anything else that is none fails the test.
    static FakeGWorld* Asked(const char* function, void* pixMap) {
        host().Note(function, pixMap);
        FakeGWorld* const world = pictures().GWorldOfPixMap(pixMap);
        if (!world && pixMap) ADD_FAILURE() << function << " on what is no living pixel map";
        return pictures().Refuses(function) ? nullptr : world;
    }
    static std::int32_t GetPixRowBytes(void* pixMap) {
        const FakeGWorld* const world = Asked("GetPixRowBytes", pixMap);
        return world ? world->rowBytes : 0;
    }
    static std::uint8_t* GetPixBaseAddr(void* pixMap) {
        FakeGWorld* const world = Asked("GetPixBaseAddr", pixMap);
        return world ? world->pixels.data() : nullptr;
    }
    static signed char LockPixels(void* pixMap) {
        FakeGWorld* const world = Asked("LockPixels", pixMap);
        if (world) ++world->pixelLocks;
        return world ? 1 : 0;
    }
    static void UnlockPixels(void* pixMap) {
        FakeGWorld* const world = Asked("UnlockPixels", pixMap);
        if (world && --world->pixelLocks < 0) {
            world->pixelLocks = 0;
            ADD_FAILURE() << "the pixels of " << world->name << " are unlocked without a lock";
        }
    }
    static std::int16_t GetPixDepth(void* pixMap) {
        const FakeGWorld* const world = Asked("GetPixDepth", pixMap);
        return static_cast<std::int16_t>(world ? world->bits : 0);
    }
    static void* PixMapOf(const char* function, void* gworld) {
        host().Note(function, gworld);
        FakeGWorld* const world = pictures().GWorldAt(gworld);
        if (!world && gworld) ADD_FAILURE() << function << " on what is no living GWorld";
        return world && !pictures().Refuses(function) ? world->handle() : nullptr;
    }
    static void* GetGWorldPixMap(void* gworld) { return PixMapOf("GetGWorldPixMap", gworld); }
    static void* GetPortPixMap(void* gworld) { return PixMapOf("GetPortPixMap", gworld); }

    static void DisposeGWorld(void* gworld) {
        host().Note("DisposeGWorld", gworld);
        pictures().DisposeOf(gworld);
    }
    static std::int16_t NewGWorld(void** gworld, std::int16_t depth, const FakeQuickDraw::Rect* bounds, void* colors,
                                  void* device, unsigned long flags);
    static void* GetCTable(std::int16_t id) {
        host().Note("GetCTable", nullptr);
        host().Explain(std::to_string(id));
        static std::map<std::int16_t, int> tables;
        return pictures().Refuses("GetCTable") ? nullptr : &tables[id];
    }
};

std::int16_t FakePictureCalls::NewGWorld(void** gworld, std::int16_t depth, const FakeQuickDraw::Rect* bounds,
                                         void* colors, void* device, unsigned long flags) {
    host().Note("NewGWorld", nullptr);
    host().Explain(Listed({depth, bounds->left, bounds->top, bounds->right, bounds->bottom}) +
                   (colors ? ", colours" : ", nil") + (device ? ", device, " : ", nil, ") + std::to_string(flags));
    const bool canHold = CanHold(bounds->right - bounds->left, bounds->bottom - bounds->top);
    if (pictures().Refuses("NewGWorld") || !canHold) return -1;
    std::unique_ptr<FakeGWorld> world =
        MakeGWorld(bounds->right - bounds->left, bounds->bottom - bounds->top, depth, pictures().newPadding,
                   "new gworld " + std::to_string(++pictures().madeGWorlds_));
    *gworld = world.get();
    pictures().gworlds_[world.get()] = std::move(world);
    return 0;
}

static constexpr FakeQuickDraw kQuickDraw = {
    FakePictureCalls::GetPixRowBytes, FakePictureCalls::GetPixBaseAddr, FakePictureCalls::GetGWorldPixMap,
    FakePictureCalls::LockPixels,     FakePictureCalls::UnlockPixels,   FakePictureCalls::GetPixDepth,
    FakePictureCalls::GetPortPixMap,  FakePictureCalls::DisposeGWorld,  FakePictureCalls::NewGWorld,
    FakePictureCalls::GetCTable,
};

// --- life -----------------------------------------------------------------------------------------------------------

FakePictures::FakePictures(FakeHost& host, World world) : host_(host) {
    EXPECT_EQ(current, nullptr) << "one set of pictures at a time";
    current = this;
    host.pictures = {.newPicture = FakePictureCalls::NewPicture,
                     .buildFromBuffer = FakePictureCalls::BuildFromBuffer,
                     .lock = FakePictureCalls::Lock,
                     .lockKind = FakePictureCalls::LockKind,
                     .unlock = FakePictureCalls::Unlock,
                     .clearCache = FakePictureCalls::ClearCache,
                     .graphics = FakePictureCalls::Graphics,
                     .mask = FakePictureCalls::Mask,
                     .method = FakePictureCalls::Method,
                     .property = FakePictureCalls::Property,
                     .destroyed = [this](REALobject object) { Forget(object); },
                     .name = [this](const void* subject) { return NameOf(subject); }};
    if (installQuickDraw) installQuickDraw(&kQuickDraw);
    Enter(world);
}

FakePictures::~FakePictures() {
    for (const auto& [object, picture] : pictures_) CheckBalance(*picture);
    for (const auto& [address, world] : gworlds_) {
        world->pixels.Check(world->name);
        ADD_FAILURE() << world->name << " was not disposed of";
    }
    host_.pictures = {};
    if (installQuickDraw) installQuickDraw(nullptr);
    IsConsole = false;
    IsDesktop = false;
    current = nullptr;
}

FakePictures* FakePictures::Current() {
    return current;
}

void FakePictures::Enter(World world) {
    static const std::map<World, std::set<std::string>> classes = {{World::none, {}},
                                                                   {World::console, {"ConsoleApplication"}},
                                                                   {World::web, {"WebApplication"}},
                                                                   {World::desktop, {"Application"}}};
    host_.applicationClasses = classes.at(world);
    newKind = world == World::desktop ? FakePicture::Kind::desktop : FakePicture::Kind::console;
    if (world == World::desktop) LoadQuickDraw();
    IsConsole = false;
    IsDesktop = false;
}

void FakePictures::Know(World world) {
    Enter(world);
    IsDesktop = world == World::desktop;
    IsConsole = world == World::console || world == World::web;
}

void FakePictures::LoadQuickDraw() {
    if (installQuickDraw) return;
    void* const library = dlopen(FAKE_QUICKDRAW, RTLD_NOW | RTLD_GLOBAL);  // never closed: the engine keeps addresses
    if (library) {
        installQuickDraw = reinterpret_cast<InstallFakeQuickDrawFunction>(dlsym(library, kInstallFakeQuickDraw));
    }
    if (!installQuickDraw) {
        ADD_FAILURE() << "no QuickDraw: " << dlerror();
    } else if (current) {
        installQuickDraw(&kQuickDraw);
    }
}

void FakePictures::CheckBalance(const FakePicture& picture) const {
    picture.CheckGuards();
    if (locksAreCounted && !locksMayStay) {
        EXPECT_EQ(picture.descriptionLocks, 0) << "the description of " << picture.name << " is still locked";
    }
    if (picture.gworld) {
        EXPECT_EQ(picture.gworld->pixelLocks, 0) << "the pixels of " << picture.name << " are still locked";
    }
}

void FakePictures::Forget(REALobject object) {
    graphics_.erase(object);
    const auto found = pictures_.find(object);
    if (found == pictures_.end()) return;
    const std::unique_ptr<FakePicture> picture = std::move(found->second);
    pictures_.erase(found);
    CheckBalance(*picture);
    if (picture->mask) host_.Release(picture->mask);
}

// --- makers ---------------------------------------------------------------------------------------------------------

REALobject FakePictures::Make(FakePicture::Kind kind, int bits, int padding, int width, int height,
                              const std::string& name) {
    const REALobject object = host_.NewObject("Picture");
    auto picture = std::make_unique<FakePicture>();
    picture->name = name.empty() ? "picture " + std::to_string(++numbered_) : name;
    picture->kind = kind;
    picture->width = width;
    picture->height = height;
    MakePixels(picture.get(), bits, padding);
    pictures_[object] = std::move(picture);
    return object;
}

REALobject FakePictures::NewConsole(int width, int height, const std::string& name) {
    return Make(FakePicture::Kind::console, 32, 0, width, height, name);
}

REALobject FakePictures::NewPalette(int width, int height, const std::string& name) {
    return Make(FakePicture::Kind::palette, 8, 0, width, height, name);
}

REALobject FakePictures::NewDesktop(int width, int height, int bits, const std::string& name, int padding) {
    return Make(FakePicture::Kind::desktop, bits, padding, width, height, name);
}

REALobject FakePictures::NewOther(int width, int height, const std::string& name) {
    return Make(FakePicture::Kind::other, 32, 0, width, height, name);
}

REALobject FakePictures::New(int width, int height, const std::string& name) {
    return Make(newKind, 32, newPadding, width, height, name);
}

REALobject FakePictures::NewNoise(FakePicture::Kind kind, int bits, int width, int height, std::uint32_t seed,
                                  const std::string& name) {
    const REALobject object = Make(kind, bits, kind == FakePicture::Kind::desktop ? 5 : 0, width, height, name);
    FakePicture& picture = *pictures_[object];
    std::uint32_t state = seed * 2654435761u + 12345u;
    const auto next = [&state] {
        state = state * 1664525u + 1013904223u;
        return static_cast<std::uint8_t>(state >> 24);
    };
    for (FakePixel& pixel : picture.hidden) pixel = {next(), next(), next(), next()};
    if (kind == FakePicture::Kind::other) return object;
    for (int y = 0; y < height; ++y) {
        std::uint8_t* const row = picture.Row(y);
        const std::size_t bytes = static_cast<std::size_t>(picture.BytesOfRow());
        std::generate_n(row, bytes, next);
        // The same pixels whatever the order of the bytes in a word.
        const bool isWords = kind == FakePicture::Kind::console && std::endian::native == std::endian::big;
        for (std::size_t at = 0; isWords && at < bytes; at += 4) std::reverse(row + at, row + at + 4);
    }
    return object;
}

FakePicture& FakePictures::operator[](REALobject picture) {
    const auto found = pictures_.find(picture);
    if (found != pictures_.end()) return *found->second;
    ADD_FAILURE() << "no living picture";
    static FakePicture none;
    return none;
}

// --- GWorlds and names ----------------------------------------------------------------------------------------------

FakeGWorld* FakePictures::GWorldAt(const void* gworld) {
    const auto found = gworlds_.find(gworld);
    if (found != gworlds_.end()) return found->second.get();
    for (const auto& [object, picture] : pictures_) {
        if (gworld && picture->gworld.get() == gworld) return picture->gworld.get();
    }
    return nullptr;
}

FakeGWorld* FakePictures::GWorldOfPixMap(const void* pixMap) {
    for (const auto& [address, world] : gworlds_) {
        if (world->handle() == pixMap) return world.get();
    }
    for (const auto& [object, picture] : pictures_) {
        if (picture->gworld && picture->gworld->handle() == pixMap) return picture->gworld.get();
    }
    return nullptr;
}

void FakePictures::DisposeOf(const void* gworld) {
    const auto found = gworlds_.find(gworld);
    if (found == gworlds_.end()) {
        ADD_FAILURE() << "DisposeGWorld on what NewGWorld did not make";
        return;
    }
    found->second->pixels.Check(found->second->name);
    EXPECT_EQ(found->second->pixelLocks, 0) << "the pixels of " << found->second->name << " are still locked";
    gworlds_.erase(found);
}

std::string FakePictures::NameOf(const void* subject) const {
    if (!subject) return "";
    FakePictures& self = *current;
    const REALobject object = static_cast<REALobject>(const_cast<void*>(subject));
    if (const auto found = pictures_.find(object); found != pictures_.end()) return found->second->name;
    if (const auto found = graphics_.find(object); found != graphics_.end()) {
        return "graphics of " + NameOf(found->second);
    }
    if (const FakeGWorld* const world = self.GWorldAt(subject)) return world->name;
    if (const FakeGWorld* const world = self.GWorldOfPixMap(subject)) {
        const std::string ofPicture = "gworld of ";
        const bool hasPicture = world->name.starts_with(ofPicture);
        return "pixmap of " + (hasPicture ? world->name.substr(ofPicture.size()) : world->name);
    }
    const std::string className = host_.ClassOf(object);
    return className.empty() ? "?" : className;
}

// --- failures and the log -------------------------------------------------------------------------------------------

bool FakePictures::Refuses(const std::string& function) {
    const auto found = failing_.find(function);
    if (found == failing_.end() || --found->second > 0) return false;
    failing_.erase(found);
    return true;
}

::Calls FakePictures::Calls() const {
    std::vector<std::string> calls;
    for (const HostCall& call : host_.Log()) {
        std::string arguments = HasSubject(call.name) ? call.subject ? call.called : "nil" : "";
        if (!call.details.empty()) arguments += (arguments.empty() ? "" : ", ") + call.details;
        calls.push_back(call.name + "(" + arguments + ")");
    }
    return calls;
}

void FakePictures::TakeDescriptionLocks(REALobject picture, int expected) {
    FakePicture& found = (*this)[picture];
    EXPECT_EQ(found.descriptionLocks, expected) << "locks of the description of " << found.name;
    found.descriptionLocks = 0;
}

int FakePictures::LockedDescriptions() const {
    int locks = 0;
    for (const auto& [object, picture] : pictures_) locks += picture->descriptionLocks;
    return locks;
}

int FakePictures::LockedPixels() const {
    int locks = 0;
    for (const auto& [object, picture] : pictures_) locks += picture->gworld ? picture->gworld->pixelLocks : 0;
    for (const auto& [address, world] : gworlds_) locks += world->pixelLocks;
    return locks;
}
