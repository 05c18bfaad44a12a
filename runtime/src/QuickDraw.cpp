#include "QuickDraw.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "Objects.h"
#include "Services.h"

namespace zorhost::runtime {

void ByteFree::operator()(unsigned char* bytes) const {
    std::free(bytes);
}

bool HasQuickDraw(const Runtime& host) {
    if (host.options.pictures != PictureStorage::ByWorld) return host.options.pictures == PictureStorage::GWorld;
    return host.options.world == World::Desktop;
}

// Rows of every depth but 24 end on 16 bytes. Rows of 24 bits have no padding: a plug-in that asks whether four bytes a
// pixel fit a row takes a narrow row with padding for one of 32 bits.
static std::int64_t RowBytesOf(int width, int depth) {
    const std::int64_t bits = static_cast<std::int64_t>(width) * depth;
    return depth == 24 ? bits / 8 : (bits + 127) / 128 * 16;
}

GWorld* NewGWorldRecord(Runtime& host, int width, int height, int depth, std::string origin) {
    if (width < 1 || height < 1) return nullptr;
    if (depth != 32 && depth != 24 && depth != 16 && depth != 8 && depth != 1) return nullptr;
    if (depth == 24 && host.options.wideGWorlds) depth = 32;
    auto made = std::make_unique<GWorld>();
    made->serial = NextSerial();
    made->origin = std::move(origin);
    made->width = width;
    made->height = height;
    made->depth = depth;
    made->rowBytes = static_cast<int>(RowBytesOf(width, depth));
    made->pixels.reset(static_cast<unsigned char*>(
        std::calloc(static_cast<std::size_t>(height), static_cast<std::size_t>(made->rowBytes))));
    if (!made->pixels) return nullptr;
    GWorld* const gworld = made.get();
    gworld->pixMap.gworld = gworld;
    gworld->pixMapPointer = &gworld->pixMap;
    host.gworlds[gworld] = std::move(made);
    return gworld;
}

void FreeGWorld(Runtime& host, GWorld* gworld) {
    host.gworlds.erase(gworld);
}

GWorld* FindGWorld(const Runtime& host, const void* address) {
    const auto found = host.gworlds.find(address);
    return found == host.gworlds.end() ? nullptr : found->second.get();
}

// --- the class GWorldZOR -------------------------------------------------------------------------------------------

constexpr std::size_t kGWorldPlace = 24;
static_assert(kGWorldPlace + sizeof(void*) + sizeof(std::int32_t) <= kObjectHeader);

// The GWorld that an object was told it owns, alive or not.
static void* ToldGWorld(REALobject object) {
    void* gworld = nullptr;
    std::int32_t owns = 0;
    if (!object) return nullptr;
    const char* const place = reinterpret_cast<const char*>(object) + kGWorldPlace;
    std::memcpy(&gworld, place, sizeof gworld);
    std::memcpy(&owns, place + sizeof gworld, sizeof owns);
    return owns == 1 ? gworld : nullptr;
}

GWorld* GWorldObjectData::Owned() const {
    return gRuntime ? FindGWorld(*gRuntime, ToldGWorld(self)) : nullptr;
}

GWorldObjectData::~GWorldObjectData() {
    if (!gRuntime || !ToldGWorld(self)) return;
    if (GWorld* const gworld = Owned(); gworld && !gworld->owned) {
        FreeGWorld(*gRuntime, gworld);
    } else {
        AddFault(*gRuntime, "a GWorldZOR went that was given no GWorld of its own");
    }
}

std::optional<Value> GWorldObjectData::Get(std::string_view property) const {
    const GWorld* const gworld = Owned();
    if (SameName(property, "Width")) return Value(gworld ? gworld->width : 0);
    if (SameName(property, "Height")) return Value(gworld ? gworld->height : 0);
    if (SameName(property, "Depth")) return Value(gworld ? gworld->depth : 0);
    return std::nullopt;
}

std::vector<const GWorld*> OwnerlessGWorlds(const Runtime& host) {
    std::vector<const GWorld*> owned, ownerless;
    for (const auto& [object, record] : host.objects) {
        const auto* const holder = dynamic_cast<const GWorldObjectData*>(record.native.get());
        if (holder && holder->Owned()) owned.push_back(holder->Owned());
    }
    for (const auto& [address, gworld] : host.gworlds) {
        const bool isOwned = gworld->owned || std::ranges::find(owned, gworld.get()) != owned.end();
        if (!isOwned) ownerless.push_back(gworld.get());
    }
    std::ranges::sort(ownerless, {}, &GWorld::serial);
    return ownerless;
}

// --- the ten calls -------------------------------------------------------------------------------------------------

// Null where QuickDraw is not there, or is to fail.
static Runtime* EnterQuickDraw(const char* call) {
    Runtime* const host = Enter(call);
    return host && HasQuickDraw(*host) && !host->options.missing.contains(call) ? host : nullptr;
}

static GWorld* GWorldOfCall(const char* call, const void* address) {
    Runtime* const host = EnterQuickDraw(call);
    if (!host || !address) return nullptr;
    GWorld* const gworld = FindGWorld(*host, address);
    if (!gworld) AddFault(*host, std::string(call) + " was given a GWorld that is not alive, " + OriginInCall(*host));
    return gworld;
}

// The same for the handle of a pixel map, which may stand in no GWorld that is alive and is not followed then.
static GWorld* PixMapOfCall(const char* call, PixMap** handle) {
    Runtime* const host = EnterQuickDraw(call);
    if (!host || !handle) return nullptr;
    for (const auto& [address, gworld] : host->gworlds) {
        if (&gworld->pixMapPointer == handle) return gworld.get();
    }
    AddFault(*host, std::string(call) + " was given a PixMap that is not alive, " + OriginInCall(*host));
    return nullptr;
}

constexpr short kBadParameter = -50;
constexpr short kNoMemory = -108;

struct Bounds {
    std::int16_t top, left, bottom, right;
};

// Colour tables have no contents here: 33 and 40 are the grays of 1 and 8 bits, which is what GWorlds show anyhow.
struct GrayTable {
    short id;
};

}  // namespace zorhost::runtime

using namespace zorhost::runtime;

#define ZORHOST_QUICKDRAW extern "C" __attribute__((visibility("default"), used))

ZORHOST_QUICKDRAW std::int32_t GetPixRowBytes(PixMap** handle) {
    const GWorld* const gworld = PixMapOfCall("GetPixRowBytes", handle);
    return gworld ? gworld->rowBytes : 0;
}

ZORHOST_QUICKDRAW unsigned char* GetPixBaseAddr(PixMap** handle) {
    const GWorld* const gworld = PixMapOfCall("GetPixBaseAddr", handle);
    return gworld ? gworld->pixels.get() : nullptr;
}

ZORHOST_QUICKDRAW PixMap** GetGWorldPixMap(GWorld* address) {
    GWorld* const gworld = GWorldOfCall("GetGWorldPixMap", address);
    return gworld ? &gworld->pixMapPointer : nullptr;
}

ZORHOST_QUICKDRAW PixMap** GetPortPixMap(GWorld* address) {
    GWorld* const gworld = GWorldOfCall("GetPortPixMap", address);
    return gworld ? &gworld->pixMapPointer : nullptr;
}

ZORHOST_QUICKDRAW REALboolean LockPixels(PixMap** handle) {
    GWorld* const gworld = PixMapOfCall("LockPixels", handle);
    if (gworld) ++gworld->pixelLocks;
    return gworld != nullptr;
}

ZORHOST_QUICKDRAW void UnlockPixels(PixMap** handle) {
    GWorld* const gworld = PixMapOfCall("UnlockPixels", handle);
    if (!gworld) return;
    if (gworld->pixelLocks > 0) {
        --gworld->pixelLocks;
    } else {
        AddFault(*gRuntime, "pixels were unlocked once too often, " + OriginInCall(*gRuntime));
    }
}

ZORHOST_QUICKDRAW std::int16_t GetPixDepth(PixMap** handle) {
    const GWorld* const gworld = PixMapOfCall("GetPixDepth", handle);
    return static_cast<std::int16_t>(gworld ? gworld->depth : 0);
}

ZORHOST_QUICKDRAW void DisposeGWorld(GWorld* address) {
    GWorld* const gworld = GWorldOfCall("DisposeGWorld", address);
    if (!gworld) return;
    if (gworld->owned) {
        AddFault(*gRuntime, "the GWorld of a picture was disposed, " + OriginInCall(*gRuntime));
    } else {
        FreeGWorld(*gRuntime, gworld);
    }
}

ZORHOST_QUICKDRAW std::int16_t NewGWorld(GWorld** made, std::int16_t depth, const Bounds* bounds, GrayTable**, void**,
                                         unsigned long) {
    if (!made) return kBadParameter;
    *made = nullptr;
    Runtime* const host = EnterUnplanned("NewGWorld");
    if (!host || !HasQuickDraw(*host) || host->options.missing.contains("NewGWorld")) return -1;
    if (IsPlannedToFail(*host, "NewGWorld")) return kNoMemory;
    const bool isKnownDepth = depth == 32 || depth == 24 || depth == 16 || depth == 8 || depth == 1;
    if (!isKnownDepth || !bounds || bounds->right <= bounds->left || bounds->bottom <= bounds->top) {
        return kBadParameter;
    }
    *made =
        NewGWorldRecord(*host, bounds->right - bounds->left, bounds->bottom - bounds->top, depth, OriginInCall(*host));
    return *made ? 0 : kNoMemory;
}

ZORHOST_QUICKDRAW GrayTable** GetCTable(std::int16_t id) {
    static GrayTable tables[] = {{33}, {40}};
    static GrayTable* handles[] = {&tables[0], &tables[1]};
    if (!EnterQuickDraw("GetCTable")) return nullptr;
    return id == 33 ? &handles[0] : id == 40 ? &handles[1] : nullptr;
}

namespace zorhost::runtime {

std::span<const char* const> QuickDrawNames() {
    static const char* const names[] = {"GetPixRowBytes", "GetPixBaseAddr", "GetGWorldPixMap", "LockPixels",
                                        "UnlockPixels",   "GetPixDepth",    "GetPortPixMap",   "DisposeGWorld",
                                        "NewGWorld",      "GetCTable"};
    return names;
}

void OfferQuickDraw() {
    Dl_info where{};
    if (dladdr(reinterpret_cast<void*>(NewGWorld), &where) == 0 || !where.dli_fname) return;
    // No use, and no harm, where they stand in the program itself.
    dlopen(where.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL);
}

}  // namespace zorhost::runtime
