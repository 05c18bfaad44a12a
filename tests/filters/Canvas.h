#pragma once
// Models of filters whose pixels depend on other pixels: they read and write copies of whole storages byte by byte,
// in the order that callers can see in place, and the storages are compared afterwards.

#include <functional>
#include <string>
#include <vector>

#include "filters/FilterModel.h"

using namespace zor;

// An image as a model sees it. Two canvases of images that share storage share the copy, too.
class Canvas {
public:
    Canvas(const TestImage& image, Storage* storage) : image_(&image), storage_(storage) {}

    const ImageClassData* operator->() const { return image_->record(); }
    const ImageClassData* record() const { return image_->record(); }
    int Get(std::int64_t x, std::int64_t y, int offset) const { return storage_->At(Place(x, y) + offset); }
    void Put(std::int64_t x, std::int64_t y, int offset, std::int64_t value) const {
        storage_->Put(Place(x, y) + offset, static_cast<std::uint8_t>(value & 255));
    }
    // Byte `at` of row y.
    int RowByte(std::int64_t y, std::int64_t at) const {
        return storage_->At(PlaceOfRow(*image_, static_cast<int>(y)) + at);
    }
    void PutRowByte(std::int64_t y, std::int64_t at, int value) const {
        storage_->Put(PlaceOfRow(*image_, static_cast<int>(y)) + at, static_cast<std::uint8_t>(value));
    }

private:
    std::int64_t Place(std::int64_t x, std::int64_t y) const {
        return PlaceOfRow(*image_, static_cast<int>(y)) + x * image_->record()->PixelSize;
    }
    const TestImage* image_;
    Storage* storage_;
};

struct Size {
    int width;
    int height;
};

// A filter with a destination and its model. channels are those of the source's family.
struct NeighbourCase {
    std::string text;
    std::function<REALobject(REALobject source, REALobject dest)> run;
    std::function<void(const Canvas& source, const Canvas& dest, const std::vector<ModelChannel>& channels)> model;
    std::function<Size(Size source)> resultSize;  // of a new image
    std::function<bool(const ImageClassData* source)> givesNil = [](const ImageClassData*) { return false; };
};

// A pair whose destination, where it is another image, is of about the size that the filter would make.
ImagePair RandomNeighbourPair(Random& random, const TempDir& directory, const NeighbourCase& filter, Relation relation,
                              Size size, int format);

// Runs the filter and compares its result, the locks and all bytes of both storages.
void CheckNeighbours(const NeighbourCase& filter, const ImagePair& pair);

// The same over random pairs of all relations, formats and storage kinds, and over the smallest sizes.
void CheckNeighboursOnRandomImages(std::uint32_t seed, int rounds, const std::function<NeighbourCase(Random&)>& make);

// A filter in place, with a model of its own, over random images. twoImages: the model gets the second image, too.
struct InPlaceCase {
    std::string text;
    std::function<void(REALobject)> run;
    std::function<void(const Canvas&, const std::vector<ModelChannel>&)> model;
};
void CheckInPlaceOnRandomImages(std::uint32_t seed, int rounds, const InPlaceCase& filter);

inline Size SameSize(Size size) {
    return size;
}
inline Size Transposed(Size size) {
    return {size.height, size.width};
}

// An image of known content: sample of channel c of pixel x, y is value(x, y, c).
void PaintPixels(const TestImage& image, const std::function<int(int x, int y, int c)>& value);
