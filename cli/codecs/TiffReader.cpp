#include <algorithm>
#include <cmath>
#include <utility>

#include "Errors.h"
#include "Notes.h"
#include "codecs/IccProfile.h"
#include "codecs/Tiff.h"
#include "codecs/TiffLayout.h"
#include "codecs/TiffRows.h"
#include "codecs/TiffStream.h"
#include "codecs/TiffTags.h"
#include "files/InputFile.h"

namespace {

// Strips up to this size, of all planes together, are taken whole.
constexpr std::uint64_t kWholeStripBytes = std::uint64_t{1} << 24;

class TiffReader : public PictureReader {
public:
    TiffReader(InputFile& file, Notes& notes);
    void ReadRow(std::uint8_t* row) override;
    void SkipRows(std::int64_t count) override { next_ += count; }
    void NeedColumns(std::int64_t first, std::int64_t count) override {
        firstColumn_ = first;
        endColumn_ = first + count;
    }

private:
    // libtiff at work on the file. Each plane has its own: it stands at another place.
    struct Handle {
        explicit Handle(InputFile& file);
        TiffStream stream;
        TiffHandle tiff;
    };
    struct Plane {
        int number;
        std::unique_ptr<Handle> handle;  // null: that of the file
        std::unique_ptr<TiffRows> rows;
    };

    void TellWarning();
    void ReadProfile();
    void ReadResolution();
    void TellOfOtherPages();
    void StartRows();

    InputFile& file_;
    Notes& notes_;
    Handle handle_;
    TIFF* tiff_;
    TiffLayout layout_;
    std::unique_ptr<TiffRowConverter> converter_;
    std::vector<Plane> planes_;  // one where the file has none; empty: no row was read yet
    std::int64_t next_ = 0;
    std::int64_t firstColumn_ = 0, endColumn_ = 0;  // those that are needed
};

TiffReader::Handle::Handle(InputFile& file) {
    file.MakeSeekable();
    stream.input = &file;
    // Without a mapping of the file, which may be larger than the address space.
    tiff = OpenTiffStream(&stream, "rm");
    if (tiff == nullptr) FailTiff(stream);
}

TiffReader::TiffReader(InputFile& file, Notes& notes)
    : file_(file), notes_(notes), handle_(file), tiff_(handle_.tiff.get()) {
    const std::string problem = ReadTiffLayout(tiff_, &layout_);
    if (!problem.empty()) FailFile(file_.Path(), "unsupported TIFF: " + problem);
    header_.width = layout_.width;
    header_.height = layout_.height;
    endColumn_ = layout_.width;
    header_.kind = layout_.samples.kind;
    header_.bitDepth = layout_.samples.bits;
    header_.storage = layout_.storage;
    std::uint16_t orientation = 1;
    TIFFGetFieldDefaulted(tiff_, TIFFTAG_ORIENTATION, &orientation);
    if (orientation >= 1 && orientation <= 8) header_.orientation = orientation;
    ReadProfile();
    ReadResolution();
    header_.metadata = ReadTiffMetadata(file_, tiff_, notes_);
    if (!layout_.remark.empty()) notes_.Say(file_.Path(), layout_.remark);
    TellOfOtherPages();
    TellWarning();
}

void TiffReader::TellWarning() {
    if (handle_.stream.warning[0] == '\0') return;
    notes_.Say(file_.Path(), handle_.stream.warning);
}

void TiffReader::ReadProfile() {
    std::uint32_t size = 0;
    const std::uint8_t* bytes = nullptr;
    if (TIFFGetField(tiff_, TIFFTAG_ICCPROFILE, &size, &bytes) != 1) return;
    header_.colour.profile.assign(bytes, bytes + size);
    if (ProfileFits(header_.colour.profile, header_.kind)) return;
    notes_.Say(file_.Path(), "the colour profile does not fit the pixels and is left out");
    header_.colour.profile.clear();
}

void TiffReader::ReadResolution() {
    float x = 0;
    float y = 0;
    std::uint16_t unit = RESUNIT_INCH;
    if (TIFFGetField(tiff_, TIFFTAG_XRESOLUTION, &x) != 1 || TIFFGetField(tiff_, TIFFTAG_YRESOLUTION, &y) != 1) return;
    TIFFGetFieldDefaulted(tiff_, TIFFTAG_RESOLUTIONUNIT, &unit);
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
    if (TIFFLastDirectory(tiff_) == 0)
        notes_.Say(file_.Path(), "the file holds more than one picture; the first is read");
    std::uint32_t type = 0;
    if (TIFFGetField(tiff_, TIFFTAG_SUBFILETYPE, &type) == 1 && (type & FILETYPE_REDUCEDIMAGE) != 0)
        notes_.Say(file_.Path(), "the picture is a reduced copy of another one in the file");
}

void TiffReader::StartRows() {
    const TiffSamples& samples = layout_.samples;
    if (samples.bits > 8) notes_.Say(file_.Path(), std::to_string(samples.bits) + " bits a channel are reduced to 8");
    converter_ = std::make_unique<TiffRowConverter>(samples);
    std::vector<int> numbers = {0};
    if (samples.planes) {
        for (int i = 1; i < samples.colours; ++i) numbers.push_back(i);
        if (samples.alphaAt >= 0) numbers.push_back(samples.alphaAt);
    }
    for (const int number : numbers) {
        Plane plane{number, number == 0 ? nullptr : std::make_unique<Handle>(file_), nullptr};
        Handle& handle = plane.handle == nullptr ? handle_ : *plane.handle;
        handle.stream.decoding = true;
        handle.stream.error[0] = '\0';  // what libtiff did without until now
        plane.rows = RowsOfTiff(handle.stream, handle.tiff.get(), layout_, number, kWholeStripBytes / numbers.size());
        planes_.push_back(std::move(plane));
    }
}

void TiffReader::ReadRow(std::uint8_t* row) {
    if (planes_.empty()) StartRows();
    const int channels = Describe(header_.kind).channels;
    for (const Plane& plane : planes_)
        plane.rows->Read(next_, firstColumn_, endColumn_, [&](std::int64_t x, int width, const std::uint8_t* packed) {
            converter_->Convert(plane.number, packed, width, row + x * channels);
        });
    if (++next_ == layout_.height) TellWarning();
}

}  // namespace

std::unique_ptr<PictureReader> OpenTiff(InputFile& file, Notes& notes) {
    return std::make_unique<TiffReader>(file, notes);
}
