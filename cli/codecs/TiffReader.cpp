#include <algorithm>
#include <cmath>
#include <new>

#include "Errors.h"
#include "Notes.h"
#include "Raster.h"
#include "codecs/IccProfile.h"
#include "codecs/Tiff.h"
#include "codecs/TiffLayout.h"
#include "codecs/TiffStream.h"
#include "files/InputFile.h"

namespace {

// A strip up to this size is taken at once, which is faster; of a larger one only a row at a time.
constexpr std::uint64_t kWholeStripBytes = std::uint64_t{1} << 24;

// A row of pixels, or of tiles, has to be in memory. Files with larger ones are made to fill it.
constexpr std::uint64_t kMaxTileBytes = std::uint64_t{1} << 30;

class TiffReader : public PictureReader {
public:
    TiffReader(InputFile& file, Notes& notes);
    void ReadRows(Raster& image, const RowTick& tick) override;

private:
    // The RunError that the stream, or the file itself, stands for.
    [[noreturn]] void Fail() const;
    void TellWarning();
    // Throws where the file has no bytes for a strip or tile, which libtiff may make up.
    void CheckPlace(std::uint32_t strile);
    void ReadProfile();
    void ReadResolution();
    void TellOfOtherPages();

    // One plane, or all samples when there are no planes.
    void ReadStrips(Raster& image, int plane, const std::function<void()>& done);
    void ReadTiles(Raster& image, int plane, const std::function<void()>& done);
    // The unpacked bytes of one row, which stay good until the next call.
    const std::uint8_t* StripRow(std::uint32_t row, int plane);

    InputFile& file_;
    Notes& notes_;
    TiffStream stream_;
    TiffHandle tiff_;
    TiffLayout layout_;
    std::unique_ptr<TiffRowConverter> converter_;
    std::vector<std::uint8_t> buffer_;
    std::uint64_t stripBytes_ = 0;  // of a whole one
    std::uint64_t lineBytes_ = 0;
    std::int64_t stripRows_ = 0;
    std::int64_t stripAt_ = -1;  // the strip that the buffer holds
};

TiffReader::TiffReader(InputFile& file, Notes& notes) : file_(file), notes_(notes) {
    file_.MakeSeekable();
    stream_.input = &file_;
    // Without a mapping of the file, which may be larger than the address space.
    tiff_ = OpenTiffStream(&stream_, "rm");
    if (tiff_ == nullptr) Fail();
    const std::string problem = ReadTiffLayout(tiff_.get(), &layout_);
    if (!problem.empty()) FailFile(file_.Path(), "unsupported TIFF: " + problem);
    header_.width = layout_.width;
    header_.height = layout_.height;
    header_.kind = layout_.samples.kind;
    header_.bitDepth = layout_.samples.bits;
    header_.storage = layout_.storage;
    std::uint16_t orientation = 1;
    TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_ORIENTATION, &orientation);
    if (orientation >= 1 && orientation <= 8) header_.orientation = orientation;
    ReadProfile();
    ReadResolution();
    if (!layout_.remark.empty()) notes_.Say(file_.Path(), layout_.remark);
    TellOfOtherPages();
    TellWarning();
}

void TiffReader::Fail() const {
    if (file_.Error() != 0) FailSystem(file_.Path(), file_.Error());
    FailFile(file_.Path(),
             std::string("damaged TIFF: ") + (stream_.error[0] != '\0' ? stream_.error : "the pixels cannot be read"));
}

void TiffReader::TellWarning() {
    if (stream_.warning[0] == '\0') return;
    notes_.Say(file_.Path(), stream_.warning);
}

void TiffReader::CheckPlace(std::uint32_t strile) {
    if (TIFFGetStrileOffset(tiff_.get(), strile) == 0 || TIFFGetStrileByteCount(tiff_.get(), strile) == 0)
        FailFile(file_.Path(), "damaged TIFF: pixels are missing");
}

void TiffReader::ReadProfile() {
    std::uint32_t size = 0;
    const std::uint8_t* bytes = nullptr;
    if (TIFFGetField(tiff_.get(), TIFFTAG_ICCPROFILE, &size, &bytes) != 1) return;
    header_.colour.profile.assign(bytes, bytes + size);
    if (ProfileFits(header_.colour.profile, header_.kind)) return;
    notes_.Say(file_.Path(), "the colour profile does not fit the pixels and is left out");
    header_.colour.profile.clear();
}

void TiffReader::ReadResolution() {
    float x = 0;
    float y = 0;
    std::uint16_t unit = RESUNIT_INCH;
    if (TIFFGetField(tiff_.get(), TIFFTAG_XRESOLUTION, &x) != 1 ||
        TIFFGetField(tiff_.get(), TIFFTAG_YRESOLUTION, &y) != 1)
        return;
    TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_RESOLUTIONUNIT, &unit);
    constexpr float kMax = 1e7F;
    if (!(x > 0 && y > 0 && x < kMax && y < kMax)) return;
    Resolution resolution{Resolution::Unit::Aspect, 0, 0};
    double factor = 1;
    if (unit == RESUNIT_INCH) resolution.unit = Resolution::Unit::Inch;
    if (unit == RESUNIT_CENTIMETER) {
        // Whole numbers where they are; else to the metre, so that no digit is lost.
        const auto whole = [](float value) { return std::fabs(value - std::round(value)) < 0.001F; };
        resolution.unit = whole(x) && whole(y) ? Resolution::Unit::Centimetre : Resolution::Unit::Metre;
        if (resolution.unit == Resolution::Unit::Metre) factor = 100;
    }
    resolution.x = static_cast<std::uint32_t>(std::lround(x * factor));
    resolution.y = static_cast<std::uint32_t>(std::lround(y * factor));
    if (resolution.x == 0 || resolution.y == 0) return;
    if (resolution.unit == Resolution::Unit::Aspect && resolution.x == resolution.y) return;
    header_.resolution = resolution;
}

void TiffReader::TellOfOtherPages() {
    if (TIFFLastDirectory(tiff_.get()) == 0)
        notes_.Say(file_.Path(), "the file holds more than one picture; the first is read");
    std::uint32_t type = 0;
    if (TIFFGetField(tiff_.get(), TIFFTAG_SUBFILETYPE, &type) == 1 && (type & FILETYPE_REDUCEDIMAGE) != 0)
        notes_.Say(file_.Path(), "the picture is a reduced copy of another one in the file");
}

void TiffReader::ReadRows(Raster& image, const RowTick& tick) {
    const TiffSamples& samples = layout_.samples;
    if (samples.bits > 8) notes_.Say(file_.Path(), std::to_string(samples.bits) + " bits a channel are reduced to 8");
    converter_ = std::make_unique<TiffRowConverter>(samples);
    std::vector<int> planes = {0};
    if (samples.planes) {
        for (int i = 1; i < samples.colours; ++i) planes.push_back(i);
        if (samples.alphaAt >= 0) planes.push_back(samples.alphaAt);
    }
    const std::int64_t total = layout_.height * static_cast<std::int64_t>(planes.size());
    std::int64_t rows = 0;
    const auto done = [&] { tick(++rows, total); };
    stream_.decoding = true;
    stream_.error[0] = '\0';  // what libtiff did without until now
    for (const int plane : planes) {
        if (layout_.tileWidth > 0)
            ReadTiles(image, plane, done);
        else
            ReadStrips(image, plane, done);
    }
    TellWarning();
}

const std::uint8_t* TiffReader::StripRow(std::uint32_t row, int plane) {
    TIFF* tiff = tiff_.get();
    const auto sample = static_cast<std::uint16_t>(plane);
    if (stripBytes_ > kWholeStripBytes) {
        if (row % stripRows_ == 0) CheckPlace(TIFFComputeStrip(tiff, row, sample));
        if (TIFFReadScanline(tiff, buffer_.data(), row, sample) != 1 || stream_.error[0] != '\0') Fail();
        return buffer_.data();
    }
    const std::uint32_t strip = TIFFComputeStrip(tiff, row, sample);
    if (strip != stripAt_) {
        const std::int64_t rows = std::min(stripRows_, layout_.height - row / stripRows_ * stripRows_);
        const auto expected = static_cast<tmsize_t>(lineBytes_) * rows;
        CheckPlace(strip);
        if (TIFFReadEncodedStrip(tiff, strip, buffer_.data(), expected) != expected || stream_.error[0] != '\0') Fail();
        stripAt_ = strip;
    }
    return buffer_.data() + lineBytes_ * static_cast<std::uint64_t>(row % stripRows_);
}

void TiffReader::ReadStrips(Raster& image, int plane, const std::function<void()>& done) {
    std::uint32_t rowsPerStrip = 0;
    TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
    if (rowsPerStrip == 0) FailFile(file_.Path(), "damaged TIFF: strips without rows");
    stripRows_ = std::min<std::int64_t>(rowsPerStrip, layout_.height);
    lineBytes_ = TIFFScanlineSize64(tiff_.get());
    stripBytes_ = TIFFVStripSize64(tiff_.get(), static_cast<std::uint32_t>(stripRows_));
    const TiffSamples& samples = layout_.samples;
    const auto bits = static_cast<std::uint64_t>(layout_.width) * static_cast<unsigned>(samples.bits) *
                      static_cast<unsigned>(samples.planes ? 1 : samples.samples);
    // Whatever a codec in libtiff makes of the tags, rows have what the pixels take.
    if (lineBytes_ != (bits + 7) / 8 || stripBytes_ != lineBytes_ * static_cast<std::uint64_t>(stripRows_)) Fail();
    if (lineBytes_ > kMaxTileBytes)
        FailFile(file_.Path(), "a row of " + std::to_string(layout_.width) + " pixels of " +
                                   std::to_string(samples.samples) + " samples takes more than 1 GiB");
    stripAt_ = -1;
    buffer_.resize(stripBytes_ > kWholeStripBytes ? lineBytes_ : stripBytes_);
    const int width = image.Shape().width;
    for (int y = 0; y < image.Shape().height; ++y) {
        const std::uint8_t* packed = StripRow(static_cast<std::uint32_t>(y), plane);
        converter_->Convert(plane, packed, width, image.Row(y));
        done();
    }
}

void TiffReader::ReadTiles(Raster& image, int plane, const std::function<void()>& done) {
    const std::int64_t across = (layout_.width + layout_.tileWidth - 1) / layout_.tileWidth;
    const std::uint64_t tileBytes = TIFFTileSize64(tiff_.get());
    const std::uint64_t lineBytes = TIFFTileRowSize64(tiff_.get());
    const TiffSamples& samples = layout_.samples;
    const auto bits = static_cast<std::uint64_t>(layout_.tileWidth) * static_cast<unsigned>(samples.bits) *
                      static_cast<unsigned>(samples.planes ? 1 : samples.samples);
    if (tileBytes == 0 || lineBytes != (bits + 7) / 8 ||
        tileBytes / lineBytes != static_cast<std::uint64_t>(layout_.tileHeight))
        Fail();
    if (tileBytes > kMaxTileBytes / static_cast<std::uint64_t>(across))
        FailFile(file_.Path(), "a row of " + std::to_string(across) + " tiles of " + std::to_string(layout_.tileWidth) +
                                   " x " + std::to_string(layout_.tileHeight) + " pixels takes more than 1 GiB");
    buffer_.resize(tileBytes * static_cast<std::uint64_t>(across));
    const int channels = Describe(header_.kind).channels;
    for (std::int64_t y = 0; y < layout_.height; ++y) {
        const std::int64_t inTile = y % layout_.tileHeight;
        std::uint8_t* out = image.Row(static_cast<int>(y));
        for (std::int64_t i = 0; i < across; ++i) {
            std::uint8_t* tile = buffer_.data() + tileBytes * static_cast<std::uint64_t>(i);
            const std::int64_t x = i * layout_.tileWidth;
            if (inTile == 0) {
                const std::uint32_t number =
                    TIFFComputeTile(tiff_.get(), static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), 0,
                                    static_cast<std::uint16_t>(plane));
                CheckPlace(number);
                const auto expected = static_cast<tmsize_t>(tileBytes);
                if (TIFFReadEncodedTile(tiff_.get(), number, tile, expected) != expected || stream_.error[0] != '\0')
                    Fail();
            }
            const std::int64_t width = std::min(layout_.tileWidth, layout_.width - x);
            converter_->Convert(plane, tile + lineBytes * static_cast<std::uint64_t>(inTile), static_cast<int>(width),
                                out + x * channels);
        }
        done();
    }
}

}  // namespace

std::unique_ptr<PictureReader> OpenTiff(InputFile& file, Notes& notes) {
    return std::make_unique<TiffReader>(file, notes);
}
