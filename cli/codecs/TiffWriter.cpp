#include <algorithm>
#include <cstring>
#include <vector>

#include "Errors.h"
#include "Rows.h"
#include "codecs/IccProfile.h"
#include "codecs/Tiff.h"
#include "codecs/TiffStream.h"
#include "codecs/TiffTags.h"
#include "files/OutputFile.h"

namespace {

// Large enough for compression to find what repeats, small enough to be read piece by piece.
constexpr std::int64_t kStripBytes = 1 << 18;

std::int64_t RowBytes(const ImageShape& shape) {
    return std::int64_t{shape.width} * Describe(shape.kind).channels;
}

// Places in a classic file have 32 bits. What cannot be compressed grows by far less than a hundredth.
bool NeedsBigTiff(const ImageShape& shape, const PictureHeader& tags) {
    constexpr std::int64_t kClassicBytes = 4294967295;
    const std::int64_t pixels = RowBytes(shape) * shape.height;
    const Metadata& metadata = tags.metadata;
    const std::size_t blocks =
        tags.colour.profile.size() + 2 * metadata.exif.size() + metadata.xmp.size() + metadata.iptc.size();
    const std::int64_t around = static_cast<std::int64_t>(blocks) + 16LL * shape.height + 65536;
    return pixels + pixels / 100 + around > kClassicBytes;
}

class TiffWriter {
public:
    TiffWriter(OutputFile& file, bool big) : file_(file) {
        file_.MakeSeekable();
        stream_.output = &file_;
        // The lower byte first on every machine: the same picture gives the same file.
        tiff_ = OpenTiffStream(&stream_, big ? "wl8" : "wl");
        if (tiff_ == nullptr) Fail();
    }

    void SetTags(const ImageShape& shape, const PictureHeader& tags, int compression);
    void WriteRows(RowSource& rows, const RowTick& tick);

private:
    [[noreturn]] void Fail() const {
        if (file_.Error() != 0) file_.Fail();
        FailFile(file_.Path(), stream_.error[0] != '\0' ? stream_.error : "the TIFF file cannot be written");
    }
    template <typename... Values>
    void Set(std::uint32_t tag, Values... values) {
        if (TIFFSetField(tiff_.get(), tag, values...) != 1) Fail();
    }
    void SetResolution(const Resolution& resolution);

    OutputFile& file_;
    TiffStream stream_;
    TiffHandle tiff_;
    std::int64_t stripRows_ = 1;
};

void TiffWriter::SetResolution(const Resolution& resolution) {
    double x = resolution.x;
    double y = resolution.y;
    int unit = RESUNIT_NONE;
    switch (resolution.unit) {
        case Resolution::Unit::Unknown:
            return;
        case Resolution::Unit::Aspect:
            break;
        case Resolution::Unit::Inch:
            unit = RESUNIT_INCH;
            break;
        case Resolution::Unit::Metre:
            x /= 100;
            y /= 100;
            [[fallthrough]];
        case Resolution::Unit::Centimetre:
            unit = RESUNIT_CENTIMETER;
            break;
    }
    Set(TIFFTAG_RESOLUTIONUNIT, unit);
    Set(TIFFTAG_XRESOLUTION, x);
    Set(TIFFTAG_YRESOLUTION, y);
}

void TiffWriter::SetTags(const ImageShape& shape, const PictureHeader& tags, int compression) {
    const PixelKindRow& kind = Describe(shape.kind);
    const int colours = kind.channels - (kind.hasAlpha ? 1 : 0);
    stripRows_ = std::clamp<std::int64_t>(kStripBytes / RowBytes(shape), 1, shape.height);
    Set(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(shape.width));
    Set(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(shape.height));
    Set(TIFFTAG_BITSPERSAMPLE, 8);
    Set(TIFFTAG_SAMPLESPERPIXEL, kind.channels);
    Set(TIFFTAG_PHOTOMETRIC, colours == 1   ? PHOTOMETRIC_MINISBLACK
                             : colours == 4 ? PHOTOMETRIC_SEPARATED
                                            : PHOTOMETRIC_RGB);
    Set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    Set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    Set(TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(stripRows_));
    if (shape.kind == PixelKind::CMYK) Set(TIFFTAG_INKSET, INKSET_CMYK);
    if (kind.hasAlpha) {
        const std::uint16_t type = EXTRASAMPLE_UNASSALPHA;
        Set(TIFFTAG_EXTRASAMPLES, 1, &type);
    }
    if (compression == 0) {
        Set(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    } else {
        Set(TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
        Set(TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
        Set(TIFFTAG_ZIPQUALITY, compression);
    }
    const auto& profile = tags.colour.profile;
    if (ProfileFits(profile, shape.kind))
        Set(TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(profile.size()), profile.data());
    SetResolution(tags.resolution);
    if (!WriteTiffMetadata(file_, tiff_.get(), tags.metadata)) Fail();
}

void TiffWriter::WriteRows(RowSource& rows, const RowTick& tick) {
    const ImageShape& shape = rows.Shape();
    const auto rowBytes = static_cast<std::size_t>(RowBytes(shape));
    std::vector<std::uint8_t> strip(rowBytes * static_cast<std::size_t>(stripRows_));
    std::size_t used = 0;
    std::uint32_t number = 0;
    for (int y = 0; y < shape.height; ++y) {
        std::memcpy(strip.data() + used, rows.Next(), rowBytes);
        used += rowBytes;
        if (used == strip.size() || y + 1 == shape.height) {
            const auto count = static_cast<tmsize_t>(used);
            if (TIFFWriteEncodedStrip(tiff_.get(), number++, strip.data(), count) != count) Fail();
            used = 0;
        }
        tick(y + 1, shape.height);
    }
    if (TIFFWriteDirectory(tiff_.get()) != 1 || file_.Error() != 0) Fail();
}

}  // namespace

void WriteTiff(OutputFile& file, RowSource& rows, const PictureHeader& tags, const WriteOptions& options,
               const RowTick& tick) {
    TiffWriter writer(file, NeedsBigTiff(rows.Shape(), tags));
    writer.SetTags(rows.Shape(), tags, options.compression);
    writer.WriteRows(rows, tick);
}
