#include "FuzzPicture.h"

#include "Errors.h"
#include "Expect.h"
#include "FuzzFile.h"
#include "FuzzRaster.h"
#include "Info.h"
#include "Notes.h"
#include "Raster.h"
#include "files/InputFile.h"

namespace {

constexpr std::int64_t kMaxPixels = 1 << 20;

void ExpectSoundHeader(const PictureHeader& header) {
    Expect(header.width >= 1 && header.height >= 1, "a picture has pixels");
    Expect(header.bitDepth >= 1 && header.bitDepth <= 16, "samples have 1 to 16 bits");
    Expect(header.orientation >= 1 && header.orientation <= 8, "the orientation is one of eight");
    Expect(header.quality >= 0 && header.quality <= 100, "the quality is at most 100");
    Expect(header.frames >= 1, "a file holds a picture");
}

}  // namespace

int FuzzPicture(OpenPictureFile open, const std::uint8_t* bytes, std::size_t size) {
    Notes notes(true);
    try {
        InputFile file(FileOf(bytes, size));
        const Codec* codec = CodecOfContent(file);
        if (codec == nullptr || codec->open != open) return 0;
        const std::unique_ptr<PictureReader> reader = open(file, notes);
        const PictureHeader& header = reader->Header();
        ExpectSoundHeader(header);
        static_cast<void>(InfoAsJson({{file.Path(), "", "", header, file.Size(), 0}}));
        if (header.width > kMaxPixels / header.height) return 0;
        Raster image({static_cast<int>(header.width), static_cast<int>(header.height), header.kind});
        std::int64_t before = 0;
        reader->ReadRows(image, [&before](std::int64_t done, std::int64_t total) {
            Expect(done >= before && done <= total, "progress never goes back, or beyond the end");
            before = done;
        });
    } catch (const RunError& error) {
        Expect(*error.what() != '\0', "a failure is told");
    }
    ForgetRasters();
    return 0;
}
