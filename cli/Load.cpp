#include "Load.h"

#include <utility>
#include <vector>

#include "Engine.h"
#include "Notes.h"
#include "Orientation.h"
#include "Storage.h"

namespace {

ImageShape StoredShape(const PictureHeader& header) {
    return {static_cast<int>(header.width), static_cast<int>(header.height), header.kind};
}

class RowsOfFile : public RowSource {
public:
    RowsOfFile(PictureReader& reader, const RowTick& tick)
        : RowSource(StoredShape(reader.Header())),
          reader_(reader),
          tick_(tick),
          row_(static_cast<std::size_t>(Shape().width) * static_cast<std::size_t>(Describe(Shape().kind).channels)) {}

    const std::uint8_t* Next() override {
        reader_.ReadRow(row_.data());
        tick_(++done_, Shape().height);
        return row_.data();
    }
    void Skip(int count) override {
        reader_.SkipRows(count);
        done_ += count;
    }
    void NeedColumns(int first, int count) override { reader_.NeedColumns(first, count); }

private:
    PictureReader& reader_;
    const RowTick& tick_;
    std::vector<std::uint8_t> row_;
    std::int64_t done_ = 0;
};

}  // namespace

const Codec& InputCodec(InputFile& file) {
    const Codec* codec = CodecOfContent(file);
    if (codec == nullptr) FailUnknownContent(file);
    return *codec;
}

std::unique_ptr<PictureReader> OpenPicture(InputFile& file, Notes& notes) {
    return InputCodec(file).open(file, notes);
}

ImageShape ShapeOf(const InputFile& file, const PictureHeader& header) {
    CheckCanBe(file.Path(), {header.width, header.height, Describe(header.kind).channels});
    return OrientedShape(StoredShape(header), HeededOrientation(header));
}

void CheckPictureFits(const InputFile& file, const PictureHeader& header) {
    const PixelKindRow& kind = Describe(header.kind);
    CheckImageFits(file.Path(), header.width, header.height, kind.constant, kind.channels);
    CheckOrientationFits(file.Path(), StoredShape(header), HeededOrientation(header));
}

Raster ReadPicture(PictureReader& reader, const RowTick& tick) {
    const PictureHeader& header = reader.Header();
    Raster image(StoredShape(header));
    reader.ReadRows(image, tick);
    ApplyOrientation(&image, HeededOrientation(header));
    return image;
}

bool GivesRows(const PictureReader& reader) {
    const int orientation = HeededOrientation(reader.Header());
    return reader.InOrder() && (orientation == kUpright || orientation == kMirrored);
}

std::unique_ptr<RowSource> RowsOfPicture(PictureReader& reader, const RowTick& tick) {
    if (!GivesRows(reader)) return RowsOf(ReadPicture(reader, tick));
    std::unique_ptr<RowSource> rows = std::make_unique<RowsOfFile>(reader, tick);
    return HeededOrientation(reader.Header()) == kMirrored ? MirroredRows(std::move(rows)) : std::move(rows);
}

Raster LoadPicture(const std::string& path, Notes& notes, const RowTick& tick) {
    InputFile file(path);
    const std::unique_ptr<PictureReader> reader = OpenPicture(file, notes);
    static_cast<void>(ShapeOf(file, reader->Header()));  // throws where there can be no such image
    CheckPictureFits(file, reader->Header());
    return ReadPicture(*reader, tick);
}
