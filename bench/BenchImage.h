#pragma once
// Images for benchmarks: plain memory, no host, filled with a mix of gradients, flat areas and noise.

#include <cstdint>
#include <cstdlib>
#include <new>

#include "core/Construction.h"
#include "core/ImageClassData.h"
#include "core/RegisteredClasses.h"
#include "core/RowAccess.h"

using namespace zor;

class BenchImage {
public:
    BenchImage(int width, int height, int format)
        : memory_(std::calloc(static_cast<std::size_t>(ImageClass.hostSlot) + sizeof(ImageClassData), 1)) {
        if (!memory_) throw std::bad_alloc();
        ImageConstructor(object(), width, height, format);
        Fill();
    }
    BenchImage(const BenchImage&) = delete;
    BenchImage& operator=(const BenchImage&) = delete;
    ~BenchImage() {
        ImageDestructor(object());
        std::free(memory_);
    }

    REALobject object() const { return static_cast<REALobject>(memory_); }
    ImageClassData* record() const { return ImageDataOf(object()); }

private:
    void Fill() {
        ImageClassData* const image = record();
        std::uint32_t noise = 1;
        for (int y = 0; y < image->Height; ++y) {
            std::uint8_t* const row = image->GetRow(image, y);
            for (int i = 0; i < image->Width * image->PixelSize; ++i) {
                noise = noise * 1664525 + 1013904223;
                const int gradient = (i + y) / 8, flat = (i / 64 + y / 64) % 2 * 255;
                row[i] = static_cast<std::uint8_t>(y % 3 == 0   ? gradient
                                                   : y % 3 == 1 ? flat
                                                                : static_cast<int>(noise >> 24));
            }
        }
    }

    void* memory_;
};
