#pragma once
// A host that lets any thread call: objects that count their locks as atomics, and nothing else.

#include <functional>
#include <string>

#include "core/ImageClassData.h"

using namespace zor;

namespace free_host {

void Start();  // once in the process; again does nothing

// One lock, the caller's.
REALobject NewImage();
REALobject NewFolderItem(const std::string& path);
using NewPictureEvent = std::function<REALobject(int width, int height, int format)>;
REALobject NewFactory(NewPictureEvent event);

int LiveObjects();

// Gives its lock back.
struct Held {
    explicit Held(REALobject held) : object(held) {}
    ~Held();
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ImageClassData* operator->() const { return ImageDataOf(object); }
    const REALobject object;
};

}  // namespace free_host
