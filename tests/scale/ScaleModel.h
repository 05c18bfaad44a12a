#pragma once
// A model of the bytes of images, to compare with: several images may share some of them.

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/Images.h"

// An image over the same memory block as `image`, `shift` bytes further on. The other keeps the block.
TestImage MakeOver(const TestImage& image, int shift, int width, int height, int format, int rowSize);

// Rows by a table, each width x 4 bytes by itself, as a console picture has them.
class RowTableImage {
public:
    RowTableImage(int width, int height, int format);
    const TestImage& image() const { return image_; }
    void FillWithNoise(Random& random);

private:
    std::vector<std::vector<std::uint8_t>> rows_;
    std::vector<std::uint8_t*> pointers_;
    TestImage image_;
};

// An image as the model sees it: where a byte lies, and nothing but tests.
struct ModelImage {
    std::vector<std::uint8_t>* bytes;
    std::int64_t base, size;  // the image's part of them
    int rowBytes;             // not 0: rows are islands of that many bytes
    int width, height, rowSize, rowOffset, pixelSize;
    bool mirrored;
    int windowRows;              // not 0: in a file, of which so many rows are mapped at a time
    std::map<char, int> offset;  // r g b red, green, blue; w gray; c m y k inks; a alpha
    char family;                 // c, r, w; 0 for none
    bool alpha;

    int Load(int y, std::int64_t at) const;  // 0 outside
    void Store(int y, std::int64_t at, int value) const;
    bool HasRow(int y) const;

private:
    std::int64_t Row(int y) const;
    std::int64_t FirstMapped(std::int64_t row) const;
    std::int64_t Find(int y, std::int64_t at) const;  // -1 outside
};

// Copies of the storage of images, taken when an image is first shown to it. Images inside the bytes of an image that
// was shown before share them.
class Model {
public:
    ModelImage Of(const TestImage& image);
    // A fresh image without real counterpart, zero-filled.
    ModelImage Scratch(int height, int rowSize);
    // Empty if all real bytes are the model's; otherwise the first difference.
    std::string Difference() const;

private:
    struct Region {
        const std::uint8_t* memory = nullptr;  // real counterpart: one of these three
        int file = -1;
        std::uint8_t* const* rows = nullptr;
        int rowBytes = 0;
        std::vector<std::uint8_t> bytes;
    };
    static std::vector<std::uint8_t> RealBytes(const Region& region);
    std::vector<std::unique_ptr<Region>> regions_;
};
