#pragma once
// What a picture file says about itself, and the two interfaces through which its pixels pass, row by row.

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "PixelKind.h"
#include "codecs/Metadata.h"

class InputFile;
class Notes;
class OutputFile;
class Raster;
class RowSource;

// How many pixels a length of the printed picture has, as the file tells it.
struct Resolution {
    enum class Unit { Unknown, Aspect, Inch, Centimetre, Metre };
    Unit unit = Unit::Unknown;  // Aspect: x and y give only the shape of a pixel
    std::uint32_t x = 0;
    std::uint32_t y = 0;
};

// The same resolution in another unit, rounded; Unknown and Aspect stay what they are.
Resolution InUnit(const Resolution& resolution, Resolution::Unit unit);

// What the colour values of a file mean.
struct ColourTags {
    std::vector<std::uint8_t> profile;                     // ICC profile; empty: none
    std::optional<int> srgbIntent;                         // it is sRGB, profile or not; rendering intent 0 to 3
    std::optional<std::int32_t> gamma;                     // of encoding, times 100000
    std::optional<std::array<std::int32_t, 8>> primaries;  // white, red, green, blue; x and y times 100000
};

struct PictureHeader {
    std::int64_t width = 0;
    std::int64_t height = 0;
    PixelKind kind = PixelKind::RGB;  // of the rows that come out of the reader
    int bitDepth = 8;                 // of the file; rows always have 8 bits a channel
    std::string storage;              // how the file holds its pixels, for people: "palette, interlaced"
    ColourTags colour;
    Resolution resolution;
    int quality = 0;      // of JPEG, 1 to 100, as its tables suggest; 0: not known
    int frames = 1;       // pictures in the file, of which the first is read
    int orientation = 1;  // 1 to 8 as cameras tell it; 1: rows run from the top, columns from the left
    Metadata metadata;
};

// Told after each row: how many rows of how many are done. Must not throw.
using RowTick = std::function<void(std::int64_t done, std::int64_t total)>;

class PictureReader {
public:
    virtual ~PictureReader() = default;
    [[nodiscard]] const PictureHeader& Header() const { return header_; }

    // Before the pixels: they may come out smaller, to sides no less than these, where the file can be decoded so in
    // less time. The header then has the sides that they will have.
    virtual void Reduce(std::int64_t leastWidth, std::int64_t leastHeight) {
        static_cast<void>(leastWidth);
        static_cast<void>(leastHeight);
    }

    // The pixels come out in one of two ways, once. A RunError for a damaged file.

    // Whether ReadRow may be called: the file can be decoded from the top without holding more of it than some rows.
    [[nodiscard]] virtual bool InOrder() const { return true; }

    // The next row into memory for it, of the header's width and kind.
    virtual void ReadRow(std::uint8_t* row) = 0;

    // Leaves rows out, and before the first one: columns, which may then hold anything. Less of the file is read and
    // decoded where it can be.
    virtual void SkipRows(std::int64_t count);
    virtual void NeedColumns(std::int64_t first, std::int64_t count) {
        static_cast<void>(first);
        static_cast<void>(count);
    }

    // Fills an image of the header's size and kind, row by row. Those that go over it several times have their own way.
    virtual void ReadRows(Raster& image, const RowTick& tick);

protected:
    PictureHeader header_;
};

struct WriteOptions {
    int quality = 90;       // JPEG: 1 to 100; from 90 colour is kept at full resolution. WebP: the same scale
    int compression = 6;    // PNG and WebP without loss: 0 to 9
    bool lossless = false;  // WebP: every pixel as it is
};

struct Codec {
    const char* name;
    std::vector<std::string> suffixes;  // lower case, with the dot
    std::int64_t longestSide;           // pixels
    bool (*recognises)(const std::uint8_t* head, std::size_t size);
    std::unique_ptr<PictureReader> (*open)(InputFile& file, Notes& notes);  // reads the header; RunError
    // Whether the format holds such pixels, with alpha left aside; null text: yes, else why not.
    const char* (*refuses)(PixelKind kind);
    PixelKind (*stored)(PixelKind kind);  // what the file holds for an image of a kind that it does not refuse
    bool holdsProfile;
    bool lossless;  // can keep every pixel as it is
    // Writes all rows with the tags that fit the format and the stored kind, and all of the metadata, for which there
    // is room. RunError. Null: the format is read only.
    void (*write)(OutputFile& file, RowSource& rows, const PictureHeader& tags, const WriteOptions& options,
                  const RowTick& tick);
    // For a byte of the image, see Effort.h.
    double readingEffort = 1;
    double writingEffort = 1;
    MetadataRoom room = {};
};

const std::vector<Codec>& Codecs();

// By the first bytes of a file; null: no format that is known.
const Codec* CodecOfContent(InputFile& file);

// The RunError for such a file.
[[noreturn]] void FailUnknownContent(InputFile& file);

// Those that write, by the end of a file name, in any case; null: none. `KnownSuffixes` gives them all, ", " between.
const Codec* CodecOfSuffix(const std::string& path);
std::string KnownSuffixes();

// Those that write, by a suffix without its dot or by their name, in any case; null: none. The names in lower case.
const Codec* CodecOfName(const std::string& name);
std::vector<std::string> WritableNames();
