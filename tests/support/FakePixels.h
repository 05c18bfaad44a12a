#pragma once
// The pixels of the test host's pictures, in the memory that each kind has them in.

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "host/GDImage.h"
#include "host/HostInterface.h"

using namespace zor;

// A pixel's channels. Alpha is the byte as it is stored: of console pictures bits 24 to 31 of the word, 0 for opaque;
// 255 where a pixel has no such byte.
struct FakePixel {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 0;
    bool operator==(const FakePixel&) const = default;
};
std::ostream& operator<<(std::ostream& out, const FakePixel& pixel);

// Pixels between guard bytes.
class GuardedBytes {
public:
    GuardedBytes() = default;
    GuardedBytes(std::size_t size, std::uint8_t value);
    std::uint8_t* data() { return bytes_.data() + kGuard; }
    const std::uint8_t* data() const { return bytes_.data() + kGuard; }
    std::size_t size() const { return bytes_.size() - 2 * kGuard; }
    void Check(const std::string& owner) const;  // fails the test if a guard was written

private:
    static constexpr std::size_t kGuard = 64;
    std::vector<std::uint8_t> bytes_;
};

// A QuickDraw world of 32, 24, 16, 8 or 1 bits a pixel; also what NewGWorld makes.
struct FakeGWorld {
    std::string name;
    int width = 0;
    int height = 0;
    int bits = 0;      // as GetPixDepth tells it
    int rowBytes = 0;  // with padding
    int pixelLocks = 0;
    void* pixMap = nullptr;  // the handle is the address of this
    GuardedBytes pixels;

    void* handle() { return &pixMap; }
    std::uint8_t* Row(int y) { return pixels.data() + static_cast<std::ptrdiff_t>(y) * rowBytes; }
};

struct FakePicture {
    enum class Kind { console, palette, desktop, other };

    std::string name;
    Kind kind = Kind::console;
    int width = 0;
    int height = 0;
    // What a lock of the description tells; a test may change it.
    REALpictureDescription told{};
    bool isKind10 = false;  // may be locked as a GD image
    int descriptionLocks = 0;
    int cacheClears = 0;
    bool hasGraphics = true;
    REALobject mask = nullptr;  // held by the picture

    std::unique_ptr<GDImage> image;  // console and palette pictures
    std::vector<GuardedBytes> rows;
    std::vector<int*> table;
    std::vector<unsigned char*> paletteTable;
    std::unique_ptr<FakeGWorld> gworld;  // desktop pictures
    std::vector<FakePixel> hidden;       // pictures of another kind

    FakePixel Get(int x, int y) const;
    void Set(int x, int y, FakePixel pixel);
    // All pixel memory, row after row, the padding of rows included. Not for pictures of another kind.
    std::vector<std::uint8_t> Bytes() const;
    int BytesOfRow() const;  // in that memory
    std::uint8_t* Row(int y);
    void CheckGuards() const;
};

std::unique_ptr<FakeGWorld> MakeGWorld(int width, int height, int bits, int padding, const std::string& name);

// Gives a picture of a kind and size its white pixels and its description. Bits and padding are those of GWorlds.
void MakePixels(FakePicture* picture, int bits, int padding);
