#include <string>
#include <vector>

#include "Errors.h"
#include "Rows.h"
#include "codecs/Pnm.h"
#include "files/OutputFile.h"

namespace {

void Put(OutputFile& file, const void* bytes, std::size_t count) {
    if (!file.Write(bytes, count)) FailSystem(file.Path(), file.Error());
}

// One row as the file holds it: with fewer channels the last are left out, with more the gray stands three times.
void PrepareRow(const std::uint8_t* row, int width, int channels, int stored, bool spread, std::uint8_t* out) {
    for (int x = 0; x < width; ++x, row += channels, out += stored)
        for (int c = 0; c < stored; ++c) out[c] = row[spread ? 0 : c];
}

void WriteFile(OutputFile& file, RowSource& rows, const std::string& header, int stored, const RowTick& tick) {
    const ImageShape& shape = rows.Shape();
    const int channels = Describe(shape.kind).channels;
    const bool spread = channels < 3 && stored == 3;
    const auto rowBytes = static_cast<std::size_t>(shape.width) * static_cast<unsigned>(stored);
    std::vector<std::uint8_t> prepared(stored == channels ? 0 : rowBytes);
    Put(file, header.data(), header.size());
    for (int y = 0; y < shape.height; ++y) {
        const std::uint8_t* row = rows.Next();
        if (!prepared.empty()) PrepareRow(row, shape.width, channels, stored, spread, prepared.data());
        Put(file, prepared.empty() ? row : prepared.data(), rowBytes);
        tick(y + 1, shape.height);
    }
}

std::string ClassicHeader(const char* magic, const ImageShape& shape) {
    return std::string(magic) + "\n" + std::to_string(shape.width) + " " + std::to_string(shape.height) + "\n255\n";
}

const char* TupleType(PixelKind kind) {
    switch (kind) {
        case PixelKind::Gray:
            return "GRAYSCALE";
        case PixelKind::GrayAlpha:
            return "GRAYSCALE_ALPHA";
        case PixelKind::RGB:
            return "RGB";
        case PixelKind::RGBA:
            return "RGB_ALPHA";
        case PixelKind::CMYK:
            return "CMYK";
    }
    return "";
}

}  // namespace

void WritePgm(OutputFile& file, RowSource& rows, const PictureHeader&, const WriteOptions&, const RowTick& tick) {
    WriteFile(file, rows, ClassicHeader("P5", rows.Shape()), 1, tick);
}

void WritePpm(OutputFile& file, RowSource& rows, const PictureHeader&, const WriteOptions&, const RowTick& tick) {
    WriteFile(file, rows, ClassicHeader("P6", rows.Shape()), 3, tick);
}

void WritePam(OutputFile& file, RowSource& rows, const PictureHeader&, const WriteOptions&, const RowTick& tick) {
    const ImageShape& shape = rows.Shape();
    const int channels = Describe(shape.kind).channels;
    const std::string header = "P7\nWIDTH " + std::to_string(shape.width) + "\nHEIGHT " + std::to_string(shape.height) +
                               "\nDEPTH " + std::to_string(channels) + "\nMAXVAL 255\nTUPLTYPE " +
                               TupleType(shape.kind) + "\nENDHDR\n";
    WriteFile(file, rows, header, channels, tick);
}

void WritePnm(OutputFile& file, RowSource& rows, const PictureHeader& tags, const WriteOptions& options,
              const RowTick& tick) {
    switch (rows.Shape().kind) {
        case PixelKind::Gray:
            return WritePgm(file, rows, tags, options, tick);
        case PixelKind::RGB:
            return WritePpm(file, rows, tags, options, tick);
        default:
            return WritePam(file, rows, tags, options, tick);
    }
}
