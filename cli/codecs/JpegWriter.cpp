#include <array>
#include <vector>

#include "Errors.h"
#include "Rows.h"
#include "codecs/IccProfile.h"
#include "codecs/Jpeg.h"
#include "codecs/JpegErrors.h"
#include "codecs/JpegMarkers.h"
#include "files/OutputFile.h"

namespace {

constexpr int kFullColourQuality = 90;  // from here on colour keeps its full resolution

// libjpeg's destination of bytes, over an OutputFile.
struct Destination {
    jpeg_destination_mgr base;  // first, see JpegErrors
    OutputFile* file;
    std::array<std::uint8_t, 16384> buffer;
};

void StartDestination(j_compress_ptr jpeg) {
    auto* destination = reinterpret_cast<Destination*>(jpeg->dest);
    destination->base.next_output_byte = destination->buffer.data();
    destination->base.free_in_buffer = destination->buffer.size();
}

boolean FlushDestination(j_compress_ptr jpeg) {
    auto* destination = reinterpret_cast<Destination*>(jpeg->dest);
    // libjpeg means the whole buffer here, whatever free_in_buffer says.
    if (!destination->file->Write(destination->buffer.data(), destination->buffer.size()))
        ERREXIT(jpeg, JERR_FILE_WRITE);
    StartDestination(jpeg);
    return TRUE;
}

void EndDestination(j_compress_ptr jpeg) {
    auto* destination = reinterpret_cast<Destination*>(jpeg->dest);
    const std::size_t count = destination->buffer.size() - destination->base.free_in_buffer;
    if (!destination->file->Write(destination->buffer.data(), count)) ERREXIT(jpeg, JERR_FILE_WRITE);
}

J_COLOR_SPACE ColourSpace(PixelKind kind) {
    switch (kind) {
        case PixelKind::Gray:
        case PixelKind::GrayAlpha:
            return JCS_GRAYSCALE;
        case PixelKind::CMYK:
            return JCS_CMYK;
        default:
            return JCS_RGB;
    }
}

// Pixels of kChannels bytes without the last of them where kKept is less, each byte exclusive-or'ed with the mask.
template <int kChannels, int kKept>
void PackPixels(const std::uint8_t* row, int width, std::uint8_t mask, std::uint8_t* out) {
    for (int x = 0; x < width; ++x, row += kChannels, out += kKept)
        for (int c = 0; c < kKept; ++c) out[c] = static_cast<std::uint8_t>(row[c] ^ mask);
}

// One row as JPEG holds it: without alpha, and ink the way that Adobe's programs expect. It is the row itself where
// that is so already, else it is made in the buffer.
const std::uint8_t* PreparedRow(const std::uint8_t* row, const ImageShape& shape, std::vector<std::uint8_t>& buffer) {
    switch (shape.kind) {
        case PixelKind::GrayAlpha:
            PackPixels<2, 1>(row, shape.width, 0, buffer.data());
            return buffer.data();
        case PixelKind::RGBA:
            PackPixels<4, 3>(row, shape.width, 0, buffer.data());
            return buffer.data();
        case PixelKind::CMYK:
            PackPixels<4, 4>(row, shape.width, 255, buffer.data());
            return buffer.data();
        default:
            return row;
    }
}

class JpegWriter {
public:
    explicit JpegWriter(OutputFile& file) : file_(file) {
        SetUpJpegErrors(&errors_);
        jpeg_.err = &errors_.base;
    }
    ~JpegWriter() { jpeg_destroy_compress(&jpeg_); }
    JpegWriter(const JpegWriter&) = delete;
    JpegWriter& operator=(const JpegWriter&) = delete;

    void WriteHeader(const ImageShape& shape, const PictureHeader& tags, int quality);
    void WriteRow(const std::uint8_t* row) {
        auto* unchanged = const_cast<std::uint8_t*>(row);  // the library has no const, and only reads
        Guarded([this, &unchanged] { jpeg_write_scanlines(&jpeg_, &unchanged, 1); });
    }
    void WriteEnd() {
        Guarded([this] { jpeg_finish_compress(&jpeg_); });
    }

private:
    template <typename Work>
    void Guarded(const Work& work) {
        GuardedJpeg(&errors_, work, [this] {
            if (file_.Error() != 0) FailSystem(file_.Path(), file_.Error());
            FailFile(file_.Path(), errors_.message);
        });
    }

    void SetResolution(const Resolution& resolution);

    OutputFile& file_;
    jpeg_compress_struct jpeg_{};
    JpegErrors errors_{};
    Destination destination_{};
};

void JpegWriter::SetResolution(const Resolution& resolution) {
    const Resolution::Unit unit =
        resolution.unit == Resolution::Unit::Centimetre ? Resolution::Unit::Centimetre : Resolution::Unit::Inch;
    const Resolution fit = InUnit(resolution, unit);
    // The fields have 16 bits, and 0 is no density.
    if (fit.unit == Resolution::Unit::Unknown || fit.x < 1 || fit.y < 1 || fit.x > 65535 || fit.y > 65535) return;
    jpeg_.write_JFIF_header = TRUE;  // for CMYK too, where libjpeg leaves it out otherwise
    jpeg_.density_unit = fit.unit == Resolution::Unit::Aspect ? 0 : fit.unit == Resolution::Unit::Inch ? 1 : 2;
    jpeg_.X_density = static_cast<UINT16>(fit.x);
    jpeg_.Y_density = static_cast<UINT16>(fit.y);
}

void JpegWriter::WriteHeader(const ImageShape& shape, const PictureHeader& tags, int quality) {
    const std::vector<JpegMarker> markers = JpegMarkersOf(tags.metadata);
    Guarded([&] {
        jpeg_create_compress(&jpeg_);
        destination_.base = {nullptr, 0, StartDestination, FlushDestination, EndDestination};
        destination_.file = &file_;
        jpeg_.dest = &destination_.base;
        jpeg_.image_width = static_cast<JDIMENSION>(shape.width);
        jpeg_.image_height = static_cast<JDIMENSION>(shape.height);
        jpeg_.in_color_space = ColourSpace(shape.kind);
        jpeg_.input_components = Describe(shape.kind).channels - (Describe(shape.kind).hasAlpha ? 1 : 0);
        jpeg_set_defaults(&jpeg_);
        jpeg_set_quality(&jpeg_, quality, TRUE);
        if (quality >= kFullColourQuality) jpeg_.comp_info[0].h_samp_factor = jpeg_.comp_info[0].v_samp_factor = 1;
        SetResolution(tags.resolution);
        jpeg_start_compress(&jpeg_, TRUE);
        // Readers of EXIF look for it at the start.
        for (const JpegMarker& marker : markers)
            jpeg_write_marker(&jpeg_, marker.number, marker.bytes.data(), static_cast<unsigned>(marker.bytes.size()));
        const auto& profile = tags.colour.profile;
        if (ProfileFits(profile, shape.kind))
            jpeg_write_icc_profile(&jpeg_, profile.data(), static_cast<unsigned>(profile.size()));
    });
}

}  // namespace

void WriteJpeg(OutputFile& file, RowSource& rows, const PictureHeader& tags, const WriteOptions& options,
               const RowTick& tick) {
    JpegWriter writer(file);
    const ImageShape& shape = rows.Shape();
    writer.WriteHeader(shape, tags, options.quality);
    std::vector<std::uint8_t> buffer(static_cast<std::size_t>(shape.width) * 4);
    for (int y = 0; y < shape.height; ++y) {
        writer.WriteRow(PreparedRow(rows.Next(), shape, buffer));
        tick(y + 1, shape.height);
    }
    writer.WriteEnd();
}
