#include "Load.h"

#include "Engine.h"
#include "Notes.h"

std::unique_ptr<PictureReader> OpenPicture(InputFile& file, Notes& notes) {
    const Codec* codec = CodecOfContent(file);
    if (codec == nullptr) FailUnknownContent(file);
    return codec->open(file, notes);
}

ImageShape ShapeOf(const InputFile& file, const PictureHeader& header) {
    const PixelKindRow& kind = Describe(header.kind);
    CheckImageFits(file.Path(), header.width, header.height, kind.constant, kind.channels);
    return {static_cast<int>(header.width), static_cast<int>(header.height), header.kind};
}

Raster LoadPicture(const std::string& path, Notes& notes, const RowTick& tick) {
    InputFile file(path);
    const std::unique_ptr<PictureReader> reader = OpenPicture(file, notes);
    Raster image(ShapeOf(file, reader->Header()));
    reader->ReadRows(image, tick);
    return image;
}
