#include "core/Factory.h"

#include <mutex>
#include <utility>

#include "core/Construction.h"
#include "core/RegisteredClasses.h"

namespace zor {

static std::mutex globalFactoryGuard;
static REALobject globalFactory = nullptr;

// The factory of all images, locked for the caller: another thread may set another one meanwhile.
static REALobject LockedGlobalFactory() {
    const std::lock_guard<std::mutex> guard(globalFactoryGuard);
    if (globalFactory) REALLockObject(globalFactory);
    return globalFactory;
}

// The format is not compared: pixel code goes by the record, and a larger image does as well.
static bool IsLargeEnough(REALobject image, int width, int height) {
    const ImageClassData* const record = ImageDataOf(image);
    return record->Valid && record->Width >= width && record->Height >= height;
}

static REALobject AskFactory(REALobject factory, int width, int height, int format) {
    if (!factory) return nullptr;
    const auto newPicture = reinterpret_cast<NewPictureEvent*>(REALGetEventInstance(factory, ImageFactoryEvents));
    if (!newPicture) return nullptr;
    const REALobject image = newPicture(factory, width, height, format);
    if (!image || IsLargeEnough(image, width, height)) return image;
    REALUnlockObject(image);
    return nullptr;
}

REALobject CreatePicture(ImageClassData* record, int width, int height, int format) {
    if (record) {
        if (const REALobject image = AskFactory(record->Factory, width, height, format)) return image;
    }
    const ObjectHolder global(LockedGlobalFactory());
    if (const REALobject image = AskFactory(global.get(), width, height, format)) return image;
    const REALobject image = REALnewInstance("PictureZOR");
    if (!image) return nullptr;
    ImageConstructor(image, width, height, format);
    if (IsLargeEnough(image, width, height)) return image;
    REALUnlockObject(image);
    return nullptr;
}

bool HasFactory(const ImageClassData* record) {
    const std::lock_guard<std::mutex> guard(globalFactoryGuard);
    return record->Factory || globalFactory;
}

REALobject CreatePictureLocal(REALobject object, int width, int height, int format) {
    return CreatePicture(ImageDataOf(object), width, height, format);
}

REALobject CreatePictureGlobal(int width, int height, int format) {
    return CreatePicture(nullptr, width, height, format);
}

void SetFactory(REALobject factory) {
    // The new one first: setting the same factory twice must not drop it.
    if (factory) REALLockObject(factory);
    REALobject before = factory;
    {
        const std::lock_guard<std::mutex> guard(globalFactoryGuard);
        std::swap(before, globalFactory);
    }
    if (before) REALUnlockObject(before);
}

}  // namespace zor
