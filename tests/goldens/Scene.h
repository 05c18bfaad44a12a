#pragma once
// What one call of an operation works on: an image of a format, and the other images, pictures, blocks and strings that
// its arguments are. All of it is made by integer arithmetic, so that it is the same everywhere.

#include <cstdint>
#include <string>
#include <vector>

#include "goldens/Operations.h"
#include "support/FakePictures.h"
#include "support/Images.h"

// Bytes and numbers in the order in which they come, in the steps of FNV-1a, but eight bytes at a time.
class GoldenHash {
public:
    void Add(const void* bytes, std::size_t size);
    void Add(std::int64_t number);
    void Add(const std::string& text);
    std::uint64_t value() const { return value_; }
    std::string text() const;  // 16 hexadecimal digits

private:
    void Take(std::uint64_t word) {
        value_ = (value_ ^ word) * 0x100000001B3;
        value_ ^= value_ >> 32;
    }

    std::uint64_t value_ = 0xCBF29CE484222325;
};

class GoldenScene {
public:
    // The number says, beside the format, of what size and kind the images are.
    GoldenScene(FakeHost& host, const TempDir& directory, World world, int format, int number);
    ~GoldenScene();
    GoldenScene(const GoldenScene&) = delete;
    GoldenScene& operator=(const GoldenScene&) = delete;

    int width() const { return width_; }
    int height() const { return height_; }
    int format() const { return format_; }

    REALobject Self();     // the image of the scene
    REALobject Another();  // of the same size and format
    REALobject OfSize(int width, int height, int format);
    REALobject PartOfSelf();  // a view of it, so that the two share bytes
    REALobject Unmade();      // an image before its constructor
    REALobject Picture(FakePicture::Kind kind, int bits, bool withMask);
    REALobject Block(int size);
    REALobject File();
    REALstring String(int size);
    REALarray Array(const std::vector<int>& values) { return host_.NewArray(values); }

    // What a call gave, and all that it may have changed. Results are let go of.
    void AddTo(GoldenHash* hash, const GoldenValue& result);

    std::string text() const;  // how the image was made

private:
    TestImage Made(int width, int height, int format);
    void AddObject(GoldenHash* hash, REALobject object);
    void AddImage(GoldenHash* hash, REALobject image);
    void AddWords(GoldenHash* hash, ImageClassData* record);
    void AddPicture(GoldenHash* hash, REALobject picture);
    void AddGWorld(GoldenHash* hash, REALobject owner);

    FakeHost& host_;
    FakePictures pictures_;
    const TempDir& directory_;
    Random random_;
    int format_, number_, width_, height_;
    TestImage self_;
    std::vector<TestImage> images_;
    std::vector<REALobject> objects_;  // unmade images: not of TestImage, whose storage may be none
    std::vector<REALobject> shownPictures_;
    std::vector<REALobject> blocks_;
    std::vector<REALstring> strings_;
};
