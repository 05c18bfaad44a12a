// What a plug-in finds of pictures by name.

#include <cstring>

#include "HostPictures.h"
#include "Objects.h"
#include "Services.h"

namespace zorhost::runtime {

// Null, and a fault, for what is no picture; null alone for null.
static PictureData* PictureOfCall(Runtime* host, const char* service, REALobject picture) {
    if (!host || !picture) return nullptr;
    PictureData* const data = NativeOf<PictureData>(*host, picture);
    if (!data) AddFault(*host, std::string(service) + " was given no picture, " + OriginInCall(*host));
    return data;
}

static REALobject newPicture_Service(int width, int height, int depth) {
    Runtime* const host = Enter("newPicture");
    return host ? NewPicture(*host, width, height, depth, OriginInCall(*host)) : nullptr;
}

// Type 1 is the one in use: red, green, blue, a byte each.
static REALobject REALBuildPictureFromBuffer_Service(int width, int height, int type, void* buffer, int rowBytes) {
    Runtime* const host = Enter("REALBuildPictureFromBuffer");
    if (!host || type != 1 || !buffer) return nullptr;
    const REALobject picture = NewPicture(*host, width, height, 32, OriginInCall(*host));
    const PictureData* const data = NativeOf<PictureData>(*host, picture);
    if (!data) return nullptr;
    for (int y = 0; y < height; ++y) {
        const auto* pixel = static_cast<const unsigned char*>(buffer) + static_cast<std::ptrdiff_t>(y) * rowBytes;
        for (int x = 0; x < width; ++x, pixel += 3) SetPixel(data->Pixels(), x, y, {pixel[0], pixel[1], pixel[2]});
    }
    return picture;
}

// The first four fields; the others are the host's own and stay.
static void Describe(const PictureData& picture, REALpictureDescription* description) {
    description->kind = picture.Kind();
    description->data = nullptr;
    if (description->kind == kGDKind) description->data = picture.gd;
    if (description->kind == kGWorldKind) description->data = picture.gworld;
    description->width = WidthOf(picture.Pixels());
    description->height = HeightOf(picture.Pixels());
}

static void lockPictureDescription_Service(REALobject picture, REALpictureDescription* description) {
    Runtime* const host = EnterUnplanned("lockPictureDescription");
    PictureData* const data = PictureOfCall(host, "lockPictureDescription", picture);
    const bool fails = host && IsPlannedToFail(*host, "lockPictureDescription");
    if (!data || !description) return;
    // It has no answer to tell of a failure, so the lock is there in any case.
    ++data->descriptionLocks;
    if (!fails) Describe(*data, description);
}

// Hosts before this one leave the lock on a description that they refuse to give.
constexpr double kFirstToRefuseWithoutLock = 2012.0;

static REALboolean REALLockPictureDescription_Service(REALobject picture, REALpictureDescription* description,
                                                      REALword kind) {
    Runtime* const host = EnterUnplanned("REALLockPictureDescription");
    PictureData* const data = PictureOfCall(host, "REALLockPictureDescription", picture);
    const bool fails = host && IsPlannedToFail(*host, "REALLockPictureDescription");
    if (!data || !description) return 0;
    const bool given = !fails && kind != kForeignKind && kind == data->Kind();
    if (given || host->options.version < kFirstToRefuseWithoutLock) ++data->descriptionLocks;
    if (given) Describe(*data, description);
    return given;
}

static void unlockPictureDescription_Service(REALobject picture) {
    Runtime* const host = Enter("unlockPictureDescription");
    PictureData* const data = PictureOfCall(host, "unlockPictureDescription", picture);
    if (!data) return;
    if (data->descriptionLocks > 0) {
        --data->descriptionLocks;
    } else {
        AddFault(*host, "the description of a picture was unlocked once too often, " + OriginInCall(*host));
    }
}

static void REALPictureClearCache_Service(REALobject picture) {
    Runtime* const host = Enter("REALPictureClearCache");
    if (PictureData* const data = PictureOfCall(host, "REALPictureClearCache", picture)) ++data->cacheClears;
}

static REALobject pluginPictureGraphicsGetter_Service(REALobject picture) {
    Runtime* const host = Enter("pluginPictureGraphicsGetter");
    if (!PictureOfCall(host, "pluginPictureGraphicsGetter", picture)) return nullptr;
    return NewGraphics(*host, picture, OriginInCall(*host));
}

static REALobject REALGetPictureMask_Service(REALobject picture, int create) {
    Runtime* const host = Enter("REALGetPictureMask");
    if (!PictureOfCall(host, "REALGetPictureMask", picture)) return nullptr;
    return MaskOf(*host, picture, create != 0);
}

std::span<const Service> PictureServices() {
    static const Service services[] = {
        {"newPicture", reinterpret_cast<void*>(newPicture_Service)},
        {"REALBuildPictureFromBuffer", reinterpret_cast<void*>(REALBuildPictureFromBuffer_Service)},
        {"lockPictureDescription", reinterpret_cast<void*>(lockPictureDescription_Service)},
        {"REALLockPictureDescription", reinterpret_cast<void*>(REALLockPictureDescription_Service)},
        {"unlockPictureDescription", reinterpret_cast<void*>(unlockPictureDescription_Service)},
        {"REALPictureClearCache", reinterpret_cast<void*>(REALPictureClearCache_Service)},
        {"pluginPictureGraphicsGetter", reinterpret_cast<void*>(pluginPictureGraphicsGetter_Service)},
        {"REALGetPictureMask", reinterpret_cast<void*>(REALGetPictureMask_Service)},
    };
    return services;
}

}  // namespace zorhost::runtime
