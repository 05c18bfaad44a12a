#include <png.h>

#include <array>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <new>

#include "Errors.h"
#include "Notes.h"
#include "Raster.h"
#include "codecs/Exif.h"
#include "codecs/IccProfile.h"
#include "codecs/Png.h"
#include "codecs/PngTexts.h"
#include "files/InputFile.h"

namespace {

constexpr png_alloc_size_t kMaxChunkBytes = png_alloc_size_t{64} << 20;  // far beyond any colour profile
constexpr png_byte kTexts[] = "tEXt\0zTXt\0iTXt\0eXIf";                  // five bytes each
constexpr std::int64_t kMaxParts = 300000;  // that are looked at behind the pixels, which may stand in many

class PngReader : public PictureReader {
public:
    PngReader(InputFile& file, Notes& notes) : file_(file), notes_(notes) {
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, Fail, Warn);
        // Profiles are carried along as they are; libpng knows some widespread ones by sight and warns at each.
        if (png_ != nullptr) png_set_option(png_, PNG_SKIP_sRGB_CHECK_PROFILE, PNG_OPTION_ON);
        if (png_ != nullptr) info_ = png_create_info_struct(png_);
        if (info_ == nullptr) {
            png_destroy_read_struct(&png_, nullptr, nullptr);
            FailFile(file_.Path(), "not enough memory");
        }
        try {
            ReadHeader();
        } catch (...) {
            png_destroy_read_struct(&png_, &info_, nullptr);
            throw;
        }
    }
    ~PngReader() override { png_destroy_read_struct(&png_, &info_, nullptr); }
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;

    // Interlaced rows are completed in place, pass by pass.
    [[nodiscard]] bool InOrder() const override { return png_get_interlace_type(png_, info_) == PNG_INTERLACE_NONE; }
    void ReadRow(std::uint8_t* row) override;
    void ReadRows(Raster& image, const RowTick& tick) override;

private:
    // Runs calls into libpng. Its errors come back by longjmp and leave here as a RunError, so `work` must not hold
    // anything with a destructor across those calls.
    template <typename Work>
    void Guarded(const Work& work) {
        if (setjmp(png_jmpbuf(png_)) != 0) {
            if (file_.Error() != 0) FailSystem(file_.Path(), file_.Error());
            FailFile(file_.Path(), std::string("damaged PNG: ") + message_);
        }
        work();
        if (warning_[0] != '\0') {
            notes_.Say(file_.Path(), warning_);
            warning_[0] = '\0';
        }
    }

    static void Fail(png_structp png, png_const_charp text) {
        auto* self = static_cast<PngReader*>(png_get_error_ptr(png));
        std::snprintf(self->message_, sizeof self->message_, "%s", text);
        png_longjmp(png, 1);
    }

    static void Warn(png_structp png, png_const_charp text) {
        auto* self = static_cast<PngReader*>(png_get_error_ptr(png));
        if (self->warning_[0] == '\0') std::snprintf(self->warning_, sizeof self->warning_, "%s", text);
    }

    static void Read(png_structp png, png_bytep bytes, std::size_t count) {
        auto* self = static_cast<PngReader*>(png_get_io_ptr(png));
        if (self->file_.Read(bytes, count) != count) png_error(png, "the file ends too early");
    }

    // Parts of the file that libpng does not look into.
    static int Take(png_structp png, png_unknown_chunkp chunk) {
        auto* self = static_cast<PngReader*>(png_get_user_chunk_ptr(png));
        return self->TakePart(reinterpret_cast<const char*>(chunk->name), chunk->data, chunk->size) ? 1 : 0;
    }
    bool TakePart(const char* name, const std::uint8_t* bytes, std::size_t size);
    void TakePartsBehindPixels();

    void ReadHeader();
    void ReadColourTags();
    void ReadResolution();
    void StartRows();

    InputFile& file_;
    Notes& notes_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    int passes_ = 0;  // over all rows; 0: none of them was read yet
    std::int64_t next_ = 0;
    bool headerRead_ = false;
    std::string partsProblem_;  // the first text that is left out, and why; empty: none is
    char message_[128] = "";
    char warning_[128] = "";
};

void PngReader::ReadHeader() {
    Guarded([this] {
        png_set_read_fn(png_, this, Read);
        // Sizes are limited by what the image can hold, which the caller checks before any pixel is read.
        png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        // A few bytes may claim to be, or unpack to, any amount of memory. Texts are not even unpacked here.
        png_set_chunk_malloc_max(png_, kMaxChunkBytes);
        png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, kTexts, sizeof kTexts / 5);
        png_set_read_user_chunk_fn(png_, this, Take);
        png_set_crc_action(png_, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);
        png_read_info(png_, info_);
    });
    const int type = png_get_color_type(png_, info_);
    const bool alpha = (type & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(png_, info_, PNG_INFO_tRNS) != 0;
    header_.width = png_get_image_width(png_, info_);
    header_.height = png_get_image_height(png_, info_);
    header_.bitDepth = png_get_bit_depth(png_, info_);
    if ((type & PNG_COLOR_MASK_COLOR) != 0) {
        header_.kind = alpha ? PixelKind::RGBA : PixelKind::RGB;
    } else {
        header_.kind = alpha ? PixelKind::GrayAlpha : PixelKind::Gray;
    }
    if (type == PNG_COLOR_TYPE_PALETTE) {
        png_colorp colours = nullptr;
        int count = 0;
        png_get_PLTE(png_, info_, &colours, &count);
        header_.storage = "palette of " + std::to_string(count);
    }
    if (png_get_interlace_type(png_, info_) != PNG_INTERLACE_NONE)
        header_.storage += header_.storage.empty() ? "interlaced" : ", interlaced";
    ReadColourTags();
    ReadResolution();
    TakePartsBehindPixels();
    headerRead_ = true;
    if (!partsProblem_.empty()) notes_.Say(file_.Path(), partsProblem_);
    const Metadata& metadata = header_.metadata;
    const ExifTags exif = ReadExif(metadata.exif.data(), metadata.exif.size());
    header_.orientation = exif.orientation;
    if (header_.resolution.unit == Resolution::Unit::Unknown) header_.resolution = exif.resolution;
}

// Whether the part is one of those that are looked into here. Never throws: libpng calls it.
bool PngReader::TakePart(const char* name, const std::uint8_t* bytes, std::size_t size) {
    if (std::memcmp(name, "acTL", 4) == 0 && size >= 4) {
        const std::uint32_t frames = png_get_uint_32(bytes);
        if (!headerRead_ && frames >= 1 && frames <= PNG_UINT_31_MAX) header_.frames = static_cast<int>(frames);
        return true;
    }
    if (!IsPngText(name)) return false;
    if (headerRead_) return true;
    try {
        const std::string problem = TakePngText({std::string(name, 4), {bytes, bytes + size}}, &header_.metadata);
        if (partsProblem_.empty()) partsProblem_ = problem;
    } catch (const std::bad_alloc&) {
        // Texts are not worth the picture.
    }
    return true;
}

// Some programs put texts behind the pixels. A pipe does not show them before these are read, when it is too late.
void PngReader::TakePartsBehindPixels() {
    if (file_.Size() < 0) return;
    constexpr std::int64_t kAround = 12;  // size and name before a part, its sum behind it
    bool behind = false;
    std::int64_t at = 8;
    for (std::int64_t i = 0; i < kMaxParts; ++i) {
        std::array<std::uint8_t, 8> head{};
        if (file_.ReadAt(at, head.data(), head.size()) != head.size()) return;
        const std::int64_t size = png_get_uint_32(head.data());
        const char* name = reinterpret_cast<const char*>(head.data()) + 4;
        behind = behind || std::memcmp(name, "IDAT", 4) == 0;
        if (size > file_.Size() - at - kAround) return;
        if (behind && IsPngText(name) && size <= static_cast<std::int64_t>(kMaxMetadataBytes)) {
            std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
            if (file_.ReadAt(at + 8, bytes.data(), bytes.size()) != bytes.size()) return;
            TakePart(name, bytes.data(), bytes.size());
        }
        at += size + kAround;
    }
}

void PngReader::ReadColourTags() {
    ColourTags& colour = header_.colour;
    png_charp name = nullptr;
    png_bytep profile = nullptr;
    png_uint_32 size = 0;
    int method = 0;
    int intent = 0;
    if (png_get_iCCP(png_, info_, &name, &method, &profile, &size) != 0) {
        colour.profile.assign(profile, profile + size);
        if (!ProfileFits(colour.profile, header_.kind)) {
            notes_.Say(file_.Path(), "the colour profile does not fit the pixels and is left out");
            colour.profile.clear();
        }
    }
    // libpng offers these three also where the profile implies them; a profile says it all.
    if (!colour.profile.empty()) return;
    if (png_get_sRGB(png_, info_, &intent) != 0) {
        colour.srgbIntent = intent;
        return;
    }
    png_fixed_point gamma = 0;
    if (png_get_gAMA_fixed(png_, info_, &gamma) != 0) colour.gamma = gamma;
    std::array<std::int32_t, 8> p{};
    if (png_get_cHRM_fixed(png_, info_, &p[0], &p[1], &p[2], &p[3], &p[4], &p[5], &p[6], &p[7]) != 0)
        colour.primaries = p;
}

void PngReader::ReadResolution() {
    png_uint_32 x = 0;
    png_uint_32 y = 0;
    int unit = 0;
    if (png_get_pHYs(png_, info_, &x, &y, &unit) == 0 || x == 0 || y == 0) return;
    header_.resolution = {unit == PNG_RESOLUTION_METER ? Resolution::Unit::Metre : Resolution::Unit::Aspect, x, y};
}

void PngReader::StartRows() {
    if (header_.frames > 1)
        notes_.Say(file_.Path(),
                   "an animation of " + std::to_string(header_.frames) + " frames, of which the first is taken");
    if (header_.bitDepth == 16) notes_.Say(file_.Path(), "16 bits a channel are reduced to 8");
    Guarded([this] {
        png_set_palette_to_rgb(png_);
        png_set_expand_gray_1_2_4_to_8(png_);
        if (png_get_valid(png_, info_, PNG_INFO_tRNS) != 0) png_set_tRNS_to_alpha(png_);
        png_set_scale_16(png_);
        passes_ = png_set_interlace_handling(png_);
        png_read_update_info(png_, info_);
    });
    const auto rowBytes =
        static_cast<std::size_t>(header_.width) * static_cast<unsigned>(Describe(header_.kind).channels);
    if (png_get_rowbytes(png_, info_) != rowBytes) FailFile(file_.Path(), "unsupported kind of PNG");
}

void PngReader::ReadRow(std::uint8_t* row) {
    if (passes_ == 0) StartRows();
    Guarded([this, row] { png_read_row(png_, row, nullptr); });
    if (++next_ == header_.height * passes_) Guarded([this] { png_read_end(png_, nullptr); });
}

void PngReader::ReadRows(Raster& image, const RowTick& tick) {
    StartRows();
    const int height = image.Shape().height;
    for (int pass = 0; pass < passes_; ++pass) {
        for (int y = 0; y < height; ++y) {
            ReadRow(image.Row(y));
            tick(next_, std::int64_t{passes_} * height);
        }
    }
}

}  // namespace

std::unique_ptr<PictureReader> OpenPng(InputFile& file, Notes& notes) {
    return std::make_unique<PngReader>(file, notes);
}
