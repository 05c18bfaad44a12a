#pragma once
// Pictures and what belongs to them: masks, graphics objects, locks of their descriptions.

#include "Surface.h"

namespace zorhost::runtime {

// Kinds of a picture's description.
enum : int { kForeignKind = 3, kGWorldKind = 4, kGDKind = 10 };

// A picture without pixels has neither of the two storages. Masks are pictures of their own.
struct PictureData : NativeData {
    gdImageStruct* gd = nullptr;  // owned
    GWorld* gworld = nullptr;     // owned
    bool foreign = false;         // plug-ins are told nothing of its pixels and can only have it drawn
    REALobject mask = nullptr;    // one lock of the picture's
    int descriptionLocks = 0;
    int cacheClears = 0;  // how often a plug-in said that it changed the pixels

    ~PictureData() override;
    std::optional<Value> Get(std::string_view property) const override;
    bool Set(std::string_view property, const Value& value) override;

    Surface Pixels() const { return {gd, gworld}; }
    int Kind() const { return foreign || !Pixels() ? kForeignKind : gd ? kGDKind : kGWorldKind; }
};

struct GraphicsData : NativeData {
    REALobject picture = nullptr;  // one lock of the graphics object's

    ~GraphicsData() override;
};

// A white picture of the host's storage, locked for the caller. On the desktop of 32, 24, 16, 8 or 1 bits; GD images
// are true colour from 16 bits on and have a palette of grays at 8 and 1. Null for any other depth, for a side below 1
// or above kLongestSide, and where memory runs out.
REALobject NewPicture(Runtime& host, int width, int height, int depth, std::string origin);

// The picture's mask, locked for the caller. With create, one of the same size is made where there is none.
REALobject MaskOf(Runtime& host, REALobject picture, bool create);
// Takes the place of the mask there was; null takes that away. A picture that is its own mask, by itself or by the mask
// of its mask, is refused with false.
bool SetMask(Runtime& host, PictureData& picture, REALobject mask);

// An object that draws into the picture, locked for the caller; null for what is no picture with pixels.
REALobject NewGraphics(Runtime& host, REALobject picture, std::string origin);

// The classes Picture and Graphics, and GWorldZOR where the host has it.
void AddPictureClasses(Runtime& host);

}  // namespace zorhost::runtime
