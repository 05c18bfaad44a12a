#include "codecs/TiffRows.h"

#include <algorithm>
#include <string>
#include <vector>

#include "Errors.h"
#include "files/InputFile.h"

namespace {

// A row of pixels, or of tiles, has to be in memory. Files with larger ones are made to fill it.
constexpr std::uint64_t kMaxTileBytes = std::uint64_t{1} << 30;

// Of strips that are not compressed so much is read at once.
constexpr std::uint64_t kBareBytes = std::uint64_t{1} << 18;

// What the file is, for all of the ways to read it.
struct TiffPlane {
    TiffStream* stream;
    TIFF* tiff;
    const TiffLayout* layout;
    std::uint16_t sample;

    [[nodiscard]] const std::string& Path() const { return stream->input->Path(); }
    [[noreturn]] void Fail() const { FailTiff(*stream); }
    [[noreturn]] void FailShort() const {
        if (stream->input->Error() != 0) FailSystem(Path(), stream->input->Error());
        FailFile(Path(), "damaged TIFF: the file ends too early");
    }

    // Throws where the file has no bytes for a strip or tile, which libtiff may make up.
    void CheckPlace(std::uint32_t strile) const {
        if (TIFFGetStrileOffset(tiff, strile) == 0 || TIFFGetStrileByteCount(tiff, strile) == 0)
            FailFile(Path(), "damaged TIFF: pixels are missing");
    }

    // Whatever a codec in libtiff makes of the tags, rows have what the pixels take.
    [[nodiscard]] std::uint64_t LineBytes(std::int64_t width) const {
        const TiffSamples& samples = layout->samples;
        const auto bits = static_cast<std::uint64_t>(width) * static_cast<unsigned>(samples.bits) *
                          static_cast<unsigned>(samples.planes ? 1 : samples.samples);
        return (bits + 7) / 8;
    }
};

// How a file with strips is cut.
struct TiffStrips {
    explicit TiffStrips(const TiffPlane& plane) {
        std::uint32_t rowsPerStrip = 0;
        TIFFGetFieldDefaulted(plane.tiff, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
        if (rowsPerStrip == 0) FailFile(plane.Path(), "damaged TIFF: strips without rows");
        const TiffLayout& layout = *plane.layout;
        rows = std::min<std::int64_t>(rowsPerStrip, layout.height);
        lineBytes = TIFFScanlineSize64(plane.tiff);
        bytes = TIFFVStripSize64(plane.tiff, static_cast<std::uint32_t>(rows));
        if (lineBytes != plane.LineBytes(layout.width) || bytes != lineBytes * static_cast<std::uint64_t>(rows))
            plane.Fail();
        if (lineBytes > kMaxTileBytes)
            FailFile(plane.Path(), "a row of " + std::to_string(layout.width) + " pixels of " +
                                       std::to_string(layout.samples.samples) + " samples takes more than 1 GiB");
    }

    std::int64_t rows = 0;        // of a whole strip
    std::uint64_t lineBytes = 0;  // of a row
    std::uint64_t bytes = 0;      // of a whole strip
};

// Strip by strip, which is the fastest.
class WholeStrips : public TiffRows {
public:
    WholeStrips(const TiffPlane& plane, const TiffStrips& strips)
        : plane_(plane), strips_(strips), buffer_(strips.bytes) {}

    void Read(std::int64_t y, std::int64_t, std::int64_t, const TakeTiffPiece& take) override {
        const std::int64_t inStrip = y % strips_.rows;
        const std::uint32_t strip = TIFFComputeStrip(plane_.tiff, static_cast<std::uint32_t>(y), plane_.sample);
        if (strip != held_) {
            const auto expected = static_cast<tmsize_t>(strips_.lineBytes) *
                                  std::min(strips_.rows, plane_.layout->height - (y - inStrip));
            plane_.CheckPlace(strip);
            if (TIFFReadEncodedStrip(plane_.tiff, strip, buffer_.data(), expected) != expected ||
                plane_.stream->error[0] != '\0')
                plane_.Fail();
            held_ = strip;
        }
        take(0, static_cast<int>(plane_.layout->width),
             buffer_.data() + strips_.lineBytes * static_cast<std::uint64_t>(inStrip));
    }

private:
    TiffPlane plane_;
    TiffStrips strips_;
    std::vector<std::uint8_t> buffer_;
    std::int64_t held_ = -1;
};

// Row by row out of strips that are too large to be held.
class StripLines : public TiffRows {
public:
    StripLines(const TiffPlane& plane, const TiffStrips& strips)
        : plane_(plane), strips_(strips), buffer_(strips.lineBytes) {}

    void Read(std::int64_t y, std::int64_t, std::int64_t, const TakeTiffPiece& take) override {
        next_ = std::max(next_, y / strips_.rows * strips_.rows);  // all rows before it in its strip have to be decoded
        for (; next_ <= y; ++next_) {
            const auto row = static_cast<std::uint32_t>(next_);
            if (next_ % strips_.rows == 0) plane_.CheckPlace(TIFFComputeStrip(plane_.tiff, row, plane_.sample));
            if (TIFFReadScanline(plane_.tiff, buffer_.data(), row, plane_.sample) != 1 ||
                plane_.stream->error[0] != '\0')
                plane_.Fail();
        }
        take(0, static_cast<int>(plane_.layout->width), buffer_.data());
    }

private:
    TiffPlane plane_;
    TiffStrips strips_;
    std::vector<std::uint8_t> buffer_;
    std::int64_t next_ = 0;
};

// Rows that stand in the file as they are, one behind the other in each strip.
class BareStrips : public TiffRows {
public:
    // Whether all is such that the bytes need no help of libtiff's: whole strips, the machine's order of bits and
    // bytes.
    static bool Fits(const TiffPlane& plane, const TiffStrips& strips) {
        TIFF* tiff = plane.tiff;
        std::uint16_t compression = COMPRESSION_NONE, order = FILLORDER_MSB2LSB;
        TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_FILLORDER, &order);
        if (compression != COMPRESSION_NONE || order != FILLORDER_MSB2LSB) return false;
        if (plane.layout->samples.bits > 8 && TIFFIsByteSwapped(tiff) != 0) return false;
        for (std::int64_t y = 0; y < plane.layout->height; y += strips.rows) {
            const std::int64_t rows = std::min(strips.rows, plane.layout->height - y);
            const std::uint32_t strip = TIFFComputeStrip(tiff, static_cast<std::uint32_t>(y), plane.sample);
            if (TIFFGetStrileByteCount(tiff, strip) < strips.lineBytes * static_cast<std::uint64_t>(rows)) return false;
        }
        return true;
    }

    BareStrips(const TiffPlane& plane, const TiffStrips& strips)
        : plane_(plane),
          strips_(strips),
          rowsAtOnce_(
              std::clamp<std::int64_t>(static_cast<std::int64_t>(kBareBytes / strips.lineBytes), 1, strips.rows)),
          buffer_(strips.lineBytes * static_cast<std::uint64_t>(rowsAtOnce_)) {}

    void Read(std::int64_t y, std::int64_t, std::int64_t, const TakeTiffPiece& take) override {
        if (y < first_ || y >= end_) {
            const std::int64_t inStrip = y % strips_.rows;
            const std::uint32_t strip = TIFFComputeStrip(plane_.tiff, static_cast<std::uint32_t>(y), plane_.sample);
            plane_.CheckPlace(strip);
            const std::int64_t rows = std::min({rowsAtOnce_, strips_.rows - inStrip, plane_.layout->height - y});
            const std::uint64_t bytes = strips_.lineBytes * static_cast<std::uint64_t>(rows);
            const std::uint64_t place =
                TIFFGetStrileOffset(plane_.tiff, strip) + strips_.lineBytes * static_cast<std::uint64_t>(inStrip);
            if (plane_.stream->input->ReadAt(static_cast<std::int64_t>(place), buffer_.data(), bytes) != bytes)
                plane_.FailShort();
            first_ = y;
            end_ = y + rows;
        }
        take(0, static_cast<int>(plane_.layout->width),
             buffer_.data() + strips_.lineBytes * static_cast<std::uint64_t>(y - first_));
    }

private:
    TiffPlane plane_;
    TiffStrips strips_;
    std::int64_t rowsAtOnce_;
    std::vector<std::uint8_t> buffer_;
    std::int64_t first_ = 0, end_ = 0;  // rows that the buffer holds
};

// A row of tiles at a time.
class Tiles : public TiffRows {
public:
    explicit Tiles(const TiffPlane& plane) : plane_(plane) {
        const TiffLayout& layout = *plane.layout;
        const std::int64_t across = (layout.width + layout.tileWidth - 1) / layout.tileWidth;
        tileBytes_ = TIFFTileSize64(plane.tiff);
        lineBytes_ = TIFFTileRowSize64(plane.tiff);
        if (tileBytes_ == 0 || lineBytes_ != plane.LineBytes(layout.tileWidth) ||
            tileBytes_ / lineBytes_ != static_cast<std::uint64_t>(layout.tileHeight))
            plane.Fail();
        if (tileBytes_ > kMaxTileBytes / static_cast<std::uint64_t>(across))
            FailFile(plane.Path(), "a row of " + std::to_string(across) + " tiles of " +
                                       std::to_string(layout.tileWidth) + " x " + std::to_string(layout.tileHeight) +
                                       " pixels takes more than 1 GiB");
        tiles_.resize(static_cast<std::size_t>(across));
    }

    void Read(std::int64_t y, std::int64_t first, std::int64_t end, const TakeTiffPiece& take) override {
        const TiffLayout& layout = *plane_.layout;
        for (std::int64_t i = first / layout.tileWidth; i * layout.tileWidth < end; ++i) {
            const std::int64_t x = i * layout.tileWidth;
            Tile& tile = tiles_[static_cast<std::size_t>(i)];
            const std::uint32_t number = TIFFComputeTile(plane_.tiff, static_cast<std::uint32_t>(x),
                                                         static_cast<std::uint32_t>(y), 0, plane_.sample);
            if (tile.number != number) {
                tile.pixels.resize(tileBytes_);
                tile.number = number;
                plane_.CheckPlace(number);
                const auto expected = static_cast<tmsize_t>(tileBytes_);
                if (TIFFReadEncodedTile(plane_.tiff, number, tile.pixels.data(), expected) != expected ||
                    plane_.stream->error[0] != '\0')
                    plane_.Fail();
            }
            take(x, static_cast<int>(std::min(layout.tileWidth, layout.width - x)),
                 tile.pixels.data() + lineBytes_ * static_cast<std::uint64_t>(y % layout.tileHeight));
        }
    }

private:
    struct Tile {
        std::int64_t number = -1;  // below 0: none was read
        std::vector<std::uint8_t> pixels;
    };

    TiffPlane plane_;
    std::uint64_t tileBytes_ = 0;
    std::uint64_t lineBytes_ = 0;
    std::vector<Tile> tiles_;  // from left to right
};

}  // namespace

std::unique_ptr<TiffRows> RowsOfTiff(TiffStream& stream, TIFF* tiff, const TiffLayout& layout, int plane,
                                     std::uint64_t wholeStripBytes) {
    const TiffPlane source{&stream, tiff, &layout, static_cast<std::uint16_t>(plane)};
    if (layout.tileWidth > 0) return std::make_unique<Tiles>(source);
    const TiffStrips strips(source);
    if (BareStrips::Fits(source, strips)) return std::make_unique<BareStrips>(source, strips);
    if (strips.bytes <= wholeStripBytes) return std::make_unique<WholeStrips>(source, strips);
    return std::make_unique<StripLines>(source, strips);
}
