// A plug-in made for the tests of the embedded host's pictures: every service of pictures and every call of QuickDraw
// is a shared method of its one class.

#include <dlfcn.h>
#include <gd.h>

#include <cstring>
#include <string>

#include "host/HostInterface.h"

namespace {

REALresolver gResolver = nullptr;

template <class Function>
Function* Service(const char* name) {
    return reinterpret_cast<Function*>(gResolver(name));
}
template <class Function>
Function* QuickDraw(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_DEFAULT, name));
}

REALstring BuildString(const std::string& text) {
    const REALstring string =
        Service<REALstring(const void*, int)>("REALBuildString")(text.data(), static_cast<int>(text.size()));
    Service<void(REALstring, unsigned)>("REALSetStringEncoding")(string, kREALEncodingUTF8);
    return string;
}
std::string Text(REALstring string) {
    const auto* const record = reinterpret_cast<const REALstringRecord*>(string);
    return std::string(reinterpret_cast<const char*>(record->buffer) + 1, static_cast<std::size_t>(record->length));
}
REALobject BuildBlock(const void* bytes, std::size_t length) {
    const REALobject block = Service<REALobject(int)>("newMemoryBlock")(static_cast<int>(length));
    std::memcpy(Service<void*(REALobject)>("memoryBlockGetPtr")(block), bytes, length);
    return block;
}

// --- pictures ------------------------------------------------------------------------------------------------------

REALobject NewPicture(int width, int height, int depth) {
    return Service<REALobject(int, int, int)>("newPicture")(width, height, depth);
}
REALobject FromBuffer(REALobject block, int width, int height, int type, int rowBytes) {
    void* const bytes = Service<void*(REALobject)>("memoryBlockGetPtr")(block);
    return Service<REALobject(int, int, int, void*, int)>("REALBuildPictureFromBuffer")(width, height, type, bytes,
                                                                                        rowBytes);
}

std::string Say(const REALpictureDescription& description) {
    return std::to_string(description.kind) + " " + std::to_string(description.width) + "x" +
           std::to_string(description.height) + (description.data ? " data" : " nil") +
           (description.spare[0] == 77 && description.spare[7] == 77 ? "" : " spare words changed");
}
REALpictureDescription NewDescription() {
    REALpictureDescription description{};
    for (REALword& word : description.spare) word = 77;
    return description;
}
REALstring LockDescription(REALobject picture) {
    REALpictureDescription description = NewDescription();
    Service<void(REALobject, REALpictureDescription*)>("lockPictureDescription")(picture, &description);
    return BuildString(Say(description));
}
REALstring LockKind(REALobject picture, int kind) {
    REALpictureDescription description = NewDescription();
    using Lock = REALboolean(REALobject, REALpictureDescription*, REALword);
    const bool given = Service<Lock>("REALLockPictureDescription")(picture, &description, kind);
    return BuildString((given ? "" : "refused: ") + Say(description));
}
void UnlockDescription(REALobject picture) {
    Service<void(REALobject)>("unlockPictureDescription")(picture);
}
void ClearCache(REALobject picture) {
    Service<void(REALobject)>("REALPictureClearCache")(picture);
}
REALobject Mask(REALobject picture, int create) {
    return Service<REALobject(REALobject, int)>("REALGetPictureMask")(picture, create);
}
REALobject GraphicsOf(REALobject picture) {
    return Service<REALobject(REALobject)>("pluginPictureGraphicsGetter")(picture);
}
REALboolean Draw(REALobject graphics, REALobject picture, int x, int y, int w, int h, int sx, int sy, int sw, int sh) {
    void* const method = Service<void*(REALobject, const char*)>("REALLoadObjectMethod")(
        graphics,
        "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as Integer = 0, sy "
        "as "
        "Integer = 0, sw as Integer = -10000, sh as Integer = -10000)");
    if (!method) return 0;
    using DrawPicture = void(REALobject, REALobject, int, int, int, int, int, int, int, int);
    reinterpret_cast<DrawPicture*>(method)(graphics, picture, x, y, w, h, sx, sy, sw, sh);
    return 1;
}
int Side(REALobject picture, REALstring name) {
    int value = -1;
    using Get = REALboolean(REALobject, const char*, int*);
    return Service<Get>("REALGetPropValueInt")(picture, Text(name).c_str(), &value) ? value : -2;
}

// The words of a GD image as the library itself lays them out, row after row; null for one with a palette.
REALobject GDWords(REALobject picture) {
    REALpictureDescription description{};
    using Lock = REALboolean(REALobject, REALpictureDescription*, REALword);
    if (!Service<Lock>("REALLockPictureDescription")(picture, &description, 10)) return nullptr;
    const auto* const image = static_cast<const gdImage*>(description.data);
    std::string bytes;
    for (int y = 0; image->trueColor && y < image->sy; ++y) {
        bytes.append(reinterpret_cast<const char*>(image->tpixels[y]), static_cast<std::size_t>(image->sx) * 4);
    }
    UnlockDescription(picture);
    return bytes.empty() ? nullptr : BuildBlock(bytes.data(), bytes.size());
}

// --- GWorlds, named by their addresses ------------------------------------------------------------------------------

struct PixMap;
struct World;
struct Rect {
    std::int16_t top, left, bottom, right;
};
World* At(std::int64_t address) {
    return reinterpret_cast<World*>(static_cast<std::intptr_t>(address));
}
PixMap** PixMapAt(std::int64_t address) {
    return QuickDraw<PixMap**(World*)>("GetGWorldPixMap")(At(address));
}

REALboolean HasCall(REALstring name) {
    return dlsym(RTLD_DEFAULT, Text(name).c_str()) != nullptr;
}
// The address, or the error.
std::int64_t MakeWorld(int depth, int width, int height) {
    World* made = At(5);
    const Rect bounds{10, 20, static_cast<std::int16_t>(10 + height), static_cast<std::int16_t>(20 + width)};
    using New = std::int16_t(World**, std::int16_t, const Rect*, void***, void**, unsigned long);
    const int error =
        QuickDraw<New>("NewGWorld")(&made, static_cast<std::int16_t>(depth), &bounds, nullptr, nullptr, 0);
    if (error != 0) return made ? 1000 : error;
    return static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(made));
}
void DisposeWorld(std::int64_t address) {
    QuickDraw<void(World*)>("DisposeGWorld")(At(address));
}
REALboolean LockWorld(std::int64_t address) {
    return QuickDraw<REALboolean(PixMap**)>("LockPixels")(PixMapAt(address));
}
void UnlockWorld(std::int64_t address) {
    QuickDraw<void(PixMap**)>("UnlockPixels")(PixMapAt(address));
}
std::string SayPixMap(PixMap** pixMap) {
    const void* const base = QuickDraw<unsigned char*(PixMap**)>("GetPixBaseAddr")(pixMap);
    return std::to_string(QuickDraw<std::int16_t(PixMap**)>("GetPixDepth")(pixMap)) + " bits, " +
           std::to_string(QuickDraw<std::int32_t(PixMap**)>("GetPixRowBytes")(pixMap)) + " bytes a row" +
           (base ? "" : ", no pixels");
}
REALstring SayWorld(std::int64_t address) {
    PixMap** const port = QuickDraw<PixMap**(World*)>("GetPortPixMap")(At(address));
    return BuildString(SayPixMap(PixMapAt(address)) + (port == PixMapAt(address) ? "" : ", another port"));
}
REALboolean HasColorTable(int id) {
    return QuickDraw<void**(std::int16_t)>("GetCTable")(static_cast<std::int16_t>(id)) != nullptr;
}
std::int64_t WorldOf(REALobject picture) {
    REALpictureDescription description{};
    Service<void(REALobject, REALpictureDescription*)>("lockPictureDescription")(picture, &description);
    UnlockDescription(picture);
    return static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(description.data));
}
REALobject WorldBytes(std::int64_t address, int height) {
    PixMap** const pixMap = PixMapAt(address);
    const auto rowBytes = static_cast<std::size_t>(QuickDraw<std::int32_t(PixMap**)>("GetPixRowBytes")(pixMap));
    return BuildBlock(QuickDraw<unsigned char*(PixMap**)>("GetPixBaseAddr")(pixMap),
                      rowBytes * static_cast<std::size_t>(height));
}
REALobject Wrap(std::int64_t address, int owns) {
    const REALobject wrapped = Service<REALobject(const char*)>("PluginNewInstance")("GWorldZOR");
    if (!wrapped) return nullptr;
    World* const world = At(address);
    const std::int32_t word = owns;
    std::memcpy(reinterpret_cast<char*>(wrapped) + 24, &world, sizeof world);
    std::memcpy(reinterpret_cast<char*>(wrapped) + 24 + sizeof world, &word, sizeof word);
    return wrapped;
}
REALboolean HasClass(REALstring name) {
    return Service<void*(const char*)>("pluginObjectType")(Text(name).c_str()) != nullptr;
}

template <class Result, class... Args>
REALfunction F(Result (*function)(Args...)) {
    return reinterpret_cast<REALfunction>(function);
}
constexpr REALword kAll = kREALConsoleSafe | kREALWebSafe;

REALmethodDefinition gShared[] = {
    {F(NewPicture), nullptr, "NewPicture(w as integer, h as integer, depth as integer) as picture", kAll},
    {F(FromBuffer), nullptr,
     "FromBuffer(bytes as memoryblock, w as integer, h as integer, kind as integer, rowBytes as integer) as picture",
     kAll},
    {F(LockDescription), nullptr, "Lock(pic as picture) as string", kAll},
    {F(LockKind), nullptr, "Lock(pic as picture, kind as integer) as string", kAll},
    {F(UnlockDescription), nullptr, "Unlock(pic as picture)", kAll},
    {F(ClearCache), nullptr, "ClearCache(pic as picture)", kAll},
    {F(Mask), nullptr, "Mask(pic as picture, create as integer) as picture", kAll},
    {F(GraphicsOf), nullptr, "GraphicsOf(pic as variant) as Graphics", kAll},
    {F(Draw), nullptr,
     "Draw(g as variant, pic as picture, x as integer, y as integer, w as integer, h as integer, sx as integer, "
     "sy as integer, sw as integer, sh as integer) as boolean",
     kAll},
    {F(Side), nullptr, "Side(pic as variant, name as string) as integer", kAll},
    {F(GDWords), nullptr, "GDWords(pic as picture) as memoryblock", kAll},
    {F(HasCall), nullptr, "HasCall(name as string) as boolean", kAll},
    {F(MakeWorld), nullptr, "MakeWorld(depth as integer, w as integer, h as integer) as Int64", kAll},
    {F(DisposeWorld), nullptr, "DisposeWorld(world as Int64)", kAll},
    {F(LockWorld), nullptr, "LockWorld(world as Int64) as boolean", kAll},
    {F(UnlockWorld), nullptr, "UnlockWorld(world as Int64)", kAll},
    {F(SayWorld), nullptr, "SayWorld(world as Int64) as string", kAll},
    {F(HasColorTable), nullptr, "HasColorTable(id as integer) as boolean", kAll},
    {F(WorldOf), nullptr, "WorldOf(pic as picture) as Int64", kAll},
    {F(WorldBytes), nullptr, "WorldBytes(world as Int64, h as integer) as memoryblock", kAll},
    {F(Wrap), nullptr, "Wrap(world as Int64, owns as integer) as variant", kAll},
    {F(HasClass), nullptr, "HasClass(name as string) as boolean", kAll},
};

REALclassDefinition gClass;

}  // namespace

extern "C" __attribute__((visibility("default"))) void REALPluginMain(REALresolver resolver) {
    gResolver = resolver;
    gClass.version = 9;
    gClass.name = "Darkroom";
    gClass.sharedMethods = gShared;
    gClass.sharedMethodCount = static_cast<REALword>(sizeof gShared / sizeof *gShared);
    gClass.flags = kAll;
    Service<void(REALclassDefinition*)>("PluginRegisterClass")(&gClass);
}
