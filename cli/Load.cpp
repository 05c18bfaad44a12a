#include "Load.h"

#include "Engine.h"
#include "Notes.h"
#include "Orientation.h"

namespace {

ImageShape StoredShape(const PictureHeader& header) {
    return {static_cast<int>(header.width), static_cast<int>(header.height), header.kind};
}

}  // namespace

std::unique_ptr<PictureReader> OpenPicture(InputFile& file, Notes& notes) {
    const Codec* codec = CodecOfContent(file);
    if (codec == nullptr) FailUnknownContent(file);
    return codec->open(file, notes);
}

ImageShape ShapeOf(const InputFile& file, const PictureHeader& header) {
    const PixelKindRow& kind = Describe(header.kind);
    CheckImageFits(file.Path(), header.width, header.height, kind.constant, kind.channels);
    const ImageShape stored = StoredShape(header);
    CheckOrientationFits(file.Path(), stored, HeededOrientation(header));
    return OrientedShape(stored, HeededOrientation(header));
}

Raster ReadPicture(PictureReader& reader, const RowTick& tick) {
    const PictureHeader& header = reader.Header();
    Raster image(StoredShape(header));
    reader.ReadRows(image, tick);
    ApplyOrientation(&image, HeededOrientation(header));
    return image;
}

Raster LoadPicture(const std::string& path, Notes& notes, const RowTick& tick) {
    InputFile file(path);
    const std::unique_ptr<PictureReader> reader = OpenPicture(file, notes);
    static_cast<void>(ShapeOf(file, reader->Header()));  // throws where there is no room
    return ReadPicture(*reader, tick);
}
