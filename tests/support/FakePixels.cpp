#include "support/FakePixels.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ostream>

static constexpr std::uint8_t kGuardByte = 0xB9;
static constexpr std::uint8_t kPadding = 0x5A;

std::ostream& operator<<(std::ostream& out, const FakePixel& pixel) {
    return out << "(" << +pixel.red << ", " << +pixel.green << ", " << +pixel.blue << ", " << +pixel.alpha << ")";
}

GuardedBytes::GuardedBytes(std::size_t size, std::uint8_t value) : bytes_(size + 2 * kGuard, kGuardByte) {
    std::memset(data(), value, size);
}

void GuardedBytes::Check(const std::string& owner) const {
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
        const bool isGuard = i < kGuard || i >= bytes_.size() - kGuard;
        if (isGuard && bytes_[i] != kGuardByte) {
            ADD_FAILURE() << owner << ": the byte at " << static_cast<std::ptrdiff_t>(i - kGuard) << " of its "
                          << bytes_.size() - 2 * kGuard << " was written";
            return;
        }
    }
}

static FakePixel PixelOfGWorld(const std::uint8_t* row, int bits, int x) {
    if (bits == 32) return {row[x * 4 + 1], row[x * 4 + 2], row[x * 4 + 3], row[x * 4]};
    if (bits == 24) return {row[x * 3], row[x * 3 + 1], row[x * 3 + 2], 255};
    const auto wide = [](int value, int most) { return static_cast<std::uint8_t>(value * 255 / most); };
    if (bits == 16) {
        const int word = row[x * 2] << 8 | row[x * 2 + 1];
        return {wide(word >> 10 & 31, 31), wide(word >> 5 & 31, 31), wide(word & 31, 31), 255};
    }
    if (bits == 8) return {wide(row[x] >> 5, 7), wide(row[x] >> 2 & 7, 7), wide(row[x] & 3, 3), 255};
    const std::uint8_t value = row[x / 8] & (0x80 >> x % 8) ? 0 : 255;
    return {value, value, value, 255};
}

static void SetPixelOfGWorld(std::uint8_t* row, int bits, int x, FakePixel p) {
    const auto byte = [](int value) { return static_cast<std::uint8_t>(value); };
    if (bits == 32) {
        row[x * 4] = p.alpha;
        row[x * 4 + 1] = p.red;
        row[x * 4 + 2] = p.green;
        row[x * 4 + 3] = p.blue;
    } else if (bits == 24) {
        row[x * 3] = p.red;
        row[x * 3 + 1] = p.green;
        row[x * 3 + 2] = p.blue;
    } else if (bits == 16) {
        const int word = 0x8000 | p.red >> 3 << 10 | p.green >> 3 << 5 | p.blue >> 3;
        row[x * 2] = byte(word >> 8);
        row[x * 2 + 1] = byte(word);
    } else if (bits == 8) {
        row[x] = byte((p.red & 0xE0) | p.green >> 5 << 2 | p.blue >> 6);
    } else if (p.red + p.green + p.blue < 3 * 128) {
        row[x / 8] = byte(row[x / 8] | 0x80 >> x % 8);
    } else {
        row[x / 8] = byte(row[x / 8] & ~(0x80 >> x % 8));
    }
}

std::uint8_t* FakePicture::Row(int y) {
    return kind == Kind::desktop ? gworld->Row(y) : rows[static_cast<std::size_t>(y)].data();
}

FakePixel FakePicture::Get(int x, int y) const {
    if (kind == Kind::other) return hidden[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + x];
    if (kind == Kind::desktop) return PixelOfGWorld(gworld->Row(y), gworld->bits, x);
    const std::uint8_t* const row = rows[static_cast<std::size_t>(y)].data();
    if (kind == Kind::palette) return PixelOfGWorld(row, 8, x);
    std::uint32_t word;
    std::memcpy(&word, row + x * 4, 4);
    const auto byte = [word](int shift) { return static_cast<std::uint8_t>(word >> shift); };
    return {byte(16), byte(8), byte(0), byte(24)};
}

void FakePicture::Set(int x, int y, FakePixel pixel) {
    if (kind == Kind::other) {
        hidden[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + x] = pixel;
    } else if (kind == Kind::desktop) {
        SetPixelOfGWorld(Row(y), gworld->bits, x, pixel);
    } else if (kind == Kind::palette) {
        SetPixelOfGWorld(Row(y), 8, x, pixel);
    } else {
        const std::uint32_t word = static_cast<std::uint32_t>(pixel.alpha) << 24 |
                                   static_cast<std::uint32_t>(pixel.red) << 16 |
                                   static_cast<std::uint32_t>(pixel.green) << 8 | pixel.blue;
        std::memcpy(Row(y) + x * 4, &word, 4);
    }
}

std::vector<std::uint8_t> FakePicture::Bytes() const {
    if (kind == Kind::desktop) {
        return {gworld->pixels.data(), gworld->pixels.data() + gworld->pixels.size()};
    }
    std::vector<std::uint8_t> bytes;
    for (const GuardedBytes& row : rows) bytes.insert(bytes.end(), row.data(), row.data() + row.size());
    return bytes;
}

int FakePicture::BytesOfRow() const {
    if (kind == Kind::desktop) return gworld->rowBytes;
    return kind == Kind::palette ? width : width * 4;
}

void FakePicture::CheckGuards() const {
    if (gworld) gworld->pixels.Check(name);
    for (std::size_t y = 0; y < rows.size(); ++y) rows[y].Check("row " + std::to_string(y) + " of " + name);
}

// --- making ---------------------------------------------------------------------------------------------------------

std::unique_ptr<FakeGWorld> MakeGWorld(int width, int height, int bits, int padding, const std::string& name) {
    auto world = std::make_unique<FakeGWorld>();
    world->name = name;
    world->width = width;
    world->height = height;
    world->bits = bits;
    world->rowBytes = (width * bits + 7) / 8 + padding;
    world->pixels = GuardedBytes(static_cast<std::size_t>(world->rowBytes) * static_cast<std::size_t>(height),
                                 bits == 1 ? 0 : 0xFF);  // white
    for (int y = 0; y < height; ++y) std::memset(world->Row(y) + world->rowBytes - padding, kPadding, padding);
    return world;
}

static void MakeRows(FakePicture* picture, int bytesOfRow) {
    for (int y = 0; y < picture->height; ++y) picture->rows.emplace_back(static_cast<std::size_t>(bytesOfRow), 0xFF);
    for (GuardedBytes& row : picture->rows) {
        picture->table.push_back(reinterpret_cast<int*>(row.data()));
        picture->paletteTable.push_back(row.data());
    }
    picture->image = std::make_unique<GDImage>();
    picture->image->width = picture->width;
    picture->image->height = picture->height;
}

void MakePixels(FakePicture* picture, int bits, int padding) {
    picture->isKind10 = picture->kind == FakePicture::Kind::console || picture->kind == FakePicture::Kind::palette;
    picture->told.kind = picture->isKind10 ? 10 : picture->kind == FakePicture::Kind::desktop ? 4 : 7;
    picture->told.width = picture->width;
    picture->told.height = picture->height;
    if (picture->kind == FakePicture::Kind::desktop) {
        picture->gworld = MakeGWorld(picture->width, picture->height, bits, padding, "gworld of " + picture->name);
        picture->told.data = picture->gworld.get();
        return;
    }
    if (picture->kind == FakePicture::Kind::other) {
        picture->hidden.resize(static_cast<std::size_t>(picture->width) * static_cast<std::size_t>(picture->height));
        picture->told.data = picture;
        return;
    }
    const bool isPalette = picture->kind == FakePicture::Kind::palette;
    MakeRows(picture, isPalette ? picture->width : picture->width * 4);
    picture->told.data = picture->image.get();
    if (isPalette) {
        picture->image->pixels = picture->paletteTable.data();
        return;
    }
    picture->image->trueColor = 1;
    picture->image->tpixels = picture->table.data();
    for (GuardedBytes& row : picture->rows) {  // opaque white
        for (int x = 0; x < picture->width; ++x) {
            const std::uint32_t white = 0xFFFFFF;
            std::memcpy(row.data() + x * 4, &white, 4);
        }
    }
}
