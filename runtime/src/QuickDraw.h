#pragma once
// GWorlds: the pictures of the desktop, and the ten calls of QuickDraw that plug-ins find by name in the process. The
// calls answer as where there is no QuickDraw while the host's pictures are anything else.

#include "Runtime.h"

namespace zorhost::runtime {

struct PixMap {
    GWorld* gworld = nullptr;
};

struct ByteFree {
    void operator()(unsigned char* bytes) const;
};

// Pixels in rows from the top. By depth: 32: alpha, red, green, blue. 24: red, green, blue, without padding behind a
// row, so that no row is long enough for 32 bits. 16: one spare bit and five each of red, green and blue, the high byte
// first. 8: gray. 1: the leftmost pixel in the highest bit, set for black.
struct GWorld {
    std::uint64_t serial = 0;
    std::string origin;
    int width = 0;  // pixels
    int height = 0;
    int depth = 0;     // bits a pixel
    int rowBytes = 0;  // from one row to the next
    int pixelLocks = 0;
    bool owned = false;  // by a picture, which disposes it
    PixMap pixMap;
    PixMap* pixMapPointer = nullptr;  // its address is the handle that QuickDraw gives out
    std::unique_ptr<unsigned char[], ByteFree> pixels;
};

// Whether QuickDraw is there.
bool HasQuickDraw(const Runtime& host);

// A GWorld of zeros. Null for a depth that is none of the five, for a side below 1, and where memory runs out.
GWorld* NewGWorldRecord(Runtime& host, int width, int height, int depth, std::string origin);
void FreeGWorld(Runtime& host, GWorld* gworld);                // null is allowed
GWorld* FindGWorld(const Runtime& host, const void* address);  // null for what is none that is alive

// Those that neither a picture nor a GWorldZOR owns, oldest first.
std::vector<const GWorld*> OwnerlessGWorlds(const Runtime& host);

// What an object of the class GWorldZOR has been given: at byte 24 a GWorld, and 1 behind it where it owns that. Its
// GWorld goes with the object, whatever locks its pixels have.
struct GWorldObjectData : NativeData {
    ~GWorldObjectData() override;
    GWorld* Owned() const;  // null: it owns none
    std::optional<Value> Get(std::string_view property) const override;
};

// Makes the ten calls visible to the whole process, where they stand in a library that was opened for itself alone.
void OfferQuickDraw();

}  // namespace zorhost::runtime
