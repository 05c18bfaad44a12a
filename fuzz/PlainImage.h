#pragma once
// Images without a host: plain memory, all zero.

#include <cstdint>
#include <cstdlib>
#include <new>

#include "core/Construction.h"
#include "core/ImageClassData.h"
#include "core/RegisteredClasses.h"

class PlainImage {
public:
    PlainImage(int width, int height, int format)
        : memory_(std::calloc(static_cast<std::size_t>(zor::ImageClass.hostSlot) + sizeof(zor::ImageClassData), 1)) {
        if (!memory_) throw std::bad_alloc();
        zor::ImageConstructor(object(), width, height, format);
    }
    PlainImage(const PlainImage&) = delete;
    PlainImage& operator=(const PlainImage&) = delete;
    ~PlainImage() {
        zor::ImageDestructor(object());
        std::free(memory_);
    }

    REALobject object() const { return static_cast<REALobject>(memory_); }
    zor::ImageClassData* record() const { return zor::ImageDataOf(object()); }

private:
    void* memory_;
};
