#pragma once
// A host just large enough for methods to run: it makes images, strings and arrays of numbers, and counts their locks.

#include <cstdint>
#include <vector>

#include "core/ImageClassData.h"

namespace bench {

// Becomes the host of this process.
void StartHost();

REALarray ArrayOf(std::vector<int> values);  // lives as long as the process

// An image of the host, given back at the end. Its pixels are those of plain memory, zero at first.
class HostImage {
public:
    HostImage(int width, int height, int format);
    explicit HostImage(REALobject locked) : object_(locked) {}
    HostImage(const HostImage&) = delete;
    HostImage& operator=(const HostImage&) = delete;
    ~HostImage();

    REALobject object() const { return object_; }
    zor::ImageClassData* record() const { return zor::ImageDataOf(object_); }

private:
    REALobject object_;
};

}  // namespace bench
