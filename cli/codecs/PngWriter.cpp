#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <vector>

#include "Errors.h"
#include "Rows.h"
#include "codecs/IccProfile.h"
#include "codecs/Png.h"
#include "codecs/PngPixels.h"
#include "codecs/PngTexts.h"
#include "files/OutputFile.h"

namespace {

int ColourType(PixelKind kind) {
    switch (kind) {
        case PixelKind::Gray:
            return PNG_COLOR_TYPE_GRAY;
        case PixelKind::GrayAlpha:
            return PNG_COLOR_TYPE_GRAY_ALPHA;
        case PixelKind::RGBA:
            return PNG_COLOR_TYPE_RGB_ALPHA;
        default:
            return PNG_COLOR_TYPE_RGB;
    }
}

class PngWriter {
public:
    explicit PngWriter(OutputFile& file) : file_(file) {
        png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, Fail, Warn);
        // Profiles are carried along as they are; libpng knows some widespread ones by sight and warns at each.
        if (png_ != nullptr) png_set_option(png_, PNG_SKIP_sRGB_CHECK_PROFILE, PNG_OPTION_ON);
        if (png_ != nullptr) info_ = png_create_info_struct(png_);
        if (info_ == nullptr) {
            png_destroy_write_struct(&png_, nullptr);
            FailFile(file_.Path(), "not enough memory");
        }
    }
    ~PngWriter() { png_destroy_write_struct(&png_, &info_); }
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    void WriteHeader(const ImageShape& shape, const PictureHeader& tags);
    void WritePixels(const std::vector<std::uint8_t>& bytes);
    void WriteEnd() {
        Guarded([this] { png_write_chunk(png_, Name("IEND"), nullptr, 0); });
    }

private:
    // As in the reader: errors of libpng leave as a RunError, and nothing in `work` may need a destructor.
    template <typename Work>
    void Guarded(const Work& work) {
        if (setjmp(png_jmpbuf(png_)) != 0) {
            if (file_.Error() != 0) FailSystem(file_.Path(), file_.Error());
            FailFile(file_.Path(), message_);
        }
        work();
    }

    static void Fail(png_structp png, png_const_charp text) {
        auto* self = static_cast<PngWriter*>(png_get_error_ptr(png));
        std::snprintf(self->message_, sizeof self->message_, "%s", text);
        png_longjmp(png, 1);
    }

    // What libpng warns of when writing is about tags that came out of a file it has read, and warned of, before.
    static void Warn(png_structp, png_const_charp) {}

    static void Write(png_structp png, png_bytep bytes, std::size_t count) {
        auto* self = static_cast<PngWriter*>(png_get_io_ptr(png));
        if (!self->file_.Write(bytes, count)) png_error(png, "write error");
    }

    static void Flush(png_structp) {}

    static png_const_bytep Name(const char* name) { return reinterpret_cast<png_const_bytep>(name); }

    void SetTags(PixelKind kind, const PictureHeader& tags);

    OutputFile& file_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    char message_[128] = "";
};

void PngWriter::SetTags(PixelKind kind, const PictureHeader& tags) {
    const ColourTags& colour = tags.colour;
    if (colour.srgbIntent) {
        png_set_sRGB(png_, info_, *colour.srgbIntent);
    } else if (ProfileFits(colour.profile, kind)) {
        png_set_iCCP(png_, info_, "ICC profile", PNG_COMPRESSION_TYPE_BASE, colour.profile.data(),
                     static_cast<png_uint_32>(colour.profile.size()));
    } else {
        if (colour.gamma) png_set_gAMA_fixed(png_, info_, *colour.gamma);
        if (colour.primaries) {
            const auto& p = *colour.primaries;
            png_set_cHRM_fixed(png_, info_, p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7]);
        }
    }
    const Resolution resolution = InUnit(tags.resolution, Resolution::Unit::Metre);
    if (resolution.unit != Resolution::Unit::Unknown) {
        const bool metre = resolution.unit == Resolution::Unit::Metre;
        png_set_pHYs(png_, info_, resolution.x, resolution.y, metre ? PNG_RESOLUTION_METER : PNG_RESOLUTION_UNKNOWN);
    }
}

void PngWriter::WriteHeader(const ImageShape& shape, const PictureHeader& tags) {
    const std::vector<PngPart> parts = PngTextsOf(tags.metadata);
    Guarded([&] {
        png_set_write_fn(png_, this, Write, Flush);
        png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_IHDR(png_, info_, static_cast<png_uint_32>(shape.width), static_cast<png_uint_32>(shape.height), 8,
                     ColourType(shape.kind), PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        // A tag that libpng finds fault with is left out; the picture itself is worth writing.
        png_set_benign_errors(png_, 1);
        SetTags(shape.kind, tags);
        png_write_info(png_, info_);
        for (const PngPart& part : parts)
            png_write_chunk(png_, Name(part.name.c_str()), part.bytes.data(), part.bytes.size());
    });
}

void PngWriter::WritePixels(const std::vector<std::uint8_t>& bytes) {
    constexpr std::size_t kMost = 1 << 30;  // a part of a file has its size in 31 bits
    Guarded([&] {
        for (std::size_t at = 0; at < bytes.size(); at += kMost)
            png_write_chunk(png_, Name("IDAT"), bytes.data() + at, std::min(bytes.size() - at, kMost));
    });
}

}  // namespace

void WritePng(OutputFile& file, RowSource& rows, const PictureHeader& tags, const WriteOptions& options,
              const RowTick& tick) {
    PngWriter writer(file);
    const ImageShape& shape = rows.Shape();
    writer.WriteHeader(shape, tags);
    PngPixels pixels(shape, options.compression, [&](const auto& bytes) { writer.WritePixels(bytes); });
    for (int y = 0; y < shape.height; ++y) {
        pixels.AddRow(rows.Next());
        tick(y + 1, shape.height);
    }
    writer.WriteEnd();
}
