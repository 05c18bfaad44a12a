#pragma once
// The one way in which the engine gets a new image: the image's own factory, then the global one, then plain memory.

#include "core/ImageClassData.h"

// An image at least as large as asked for, of whatever format the factory chose, locked for the caller; or nil.
// record is the image on whose behalf it is made, or nil.
REALobject CreatePicture(ImageClassData* record, int width, int height, int format);

// Class members.
REALobject CreatePictureLocal(REALobject object, int width, int height, int format);
REALobject CreatePictureGlobal(int width, int height, int format);
void SetFactory(REALobject factory);

// Gives the object back at the end of the scope, unless it is released to the caller first.
class ObjectHolder {
public:
    explicit ObjectHolder(REALobject object = nullptr) : object_(object) {}
    ~ObjectHolder() {
        if (object_) REALUnlockObject(object_);
    }
    ObjectHolder(const ObjectHolder&) = delete;
    ObjectHolder& operator=(const ObjectHolder&) = delete;
    REALobject get() const { return object_; }
    REALobject release() {
        REALobject object = object_;
        object_ = nullptr;
        return object;
    }

private:
    REALobject object_;
};
