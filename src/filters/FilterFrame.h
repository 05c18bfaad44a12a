#pragma once
// What every filter with a destination does before its first pixel.

#include "core/Factory.h"
#include "core/RowSpan.h"

namespace zor {

// The image that is made where the caller gives none: of the source's size, or with width and height exchanged. Its
// format is the source's.
enum class NewShape { asSource, turned };

// Checks the source and yields on it; locks dst, or makes a new image on the source's behalf if it is null; checks
// that and yields on it. The result is the destination, locked for the caller; null if any of this fails, with dst's
// lock given back. Nothing is read or written, and the destination's size and format are not looked at.
REALobject OpenDestination(ImageClassData* src, REALobject dst, NewShape shape = NewShape::asSource);

// The frame around a filter whose new image is like its source: work(source, destination) runs on the two records in
// between. It may change pixels only; whether it does is its own affair, the destination is the result either way.
template <class Work>
REALobject FilterInto(REALobject object, REALobject dst, Work work) {
    ImageClassData* const src = ImageDataOf(object);
    ObjectHolder result(OpenDestination(src, dst));
    if (!result.get()) return nullptr;
    if (!HoldsNothing(ImageDataOf(result.get()))) work(src, ImageDataOf(result.get()));
    return result.release();
}

}  // namespace zor
