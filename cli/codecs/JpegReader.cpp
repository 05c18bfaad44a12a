#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "Errors.h"
#include "Notes.h"
#include "Raster.h"
#include "codecs/Exif.h"
#include "codecs/IccProfile.h"
#include "codecs/Jpeg.h"
#include "codecs/JpegCoefficients.h"
#include "codecs/JpegErrors.h"
#include "codecs/JpegMarkers.h"
#include "files/InputFile.h"
#include "files/Scratch.h"

namespace {

// A progressive file is decoded scan by scan over the whole picture. Real ones have about ten; thousands of them in a
// small file are made to keep a machine busy for hours.
constexpr int kMaxScans = 500;

// libjpeg's source of bytes, over an InputFile.
struct Source {
    jpeg_source_mgr base;  // first, see JpegErrors
    InputFile* file;
    std::array<std::uint8_t, 16384> buffer;
};

void StartSource(j_decompress_ptr) {}
void EndSource(j_decompress_ptr) {}

boolean FillSource(j_decompress_ptr jpeg) {
    auto* source = reinterpret_cast<Source*>(jpeg->src);
    const std::size_t count = source->file->Read(source->buffer.data(), source->buffer.size());
    if (count == 0) ERREXIT(jpeg, JERR_INPUT_EOF);
    source->base.next_input_byte = source->buffer.data();
    source->base.bytes_in_buffer = count;
    return TRUE;
}

void SkipSource(j_decompress_ptr jpeg, long count) {
    jpeg_source_mgr* source = jpeg->src;
    while (count > static_cast<long>(source->bytes_in_buffer)) {
        count -= static_cast<long>(source->bytes_in_buffer);
        FillSource(jpeg);
    }
    if (count <= 0) return;
    source->next_input_byte += count;
    source->bytes_in_buffer -= static_cast<std::size_t>(count);
}

// Called by libjpeg while it gathers the scans of a progressive file.
struct ScanWatch {
    jpeg_progress_mgr base;  // first, see JpegErrors
    const RowTick* tick;
};

void WatchScans(j_common_ptr common) {
    auto* jpeg = reinterpret_cast<j_decompress_ptr>(common);
    const auto* watch = reinterpret_cast<const ScanWatch*>(common->progress);
    if (jpeg->input_scan_number > kMaxScans) ERREXIT(common, JERR_BAD_PROGRESSION);
    if (watch->tick != nullptr) (*watch->tick)(0, 0);
}

// The quality at which libjpeg makes a table nearest to this one, 1 to 100; 0: there was no memory for that.
int EstimateQuality(const JQUANT_TBL& table) {
    JpegErrors errors{};
    SetUpJpegErrors(&errors);
    jpeg_compress_struct model{};
    model.err = &errors.base;
    int best = 0;
    const auto search = [&] {
        jpeg_create_compress(&model);
        int least = -1;
        for (int quality = 100; quality >= 1 && least != 0; --quality) {
            jpeg_set_quality(&model, quality, TRUE);
            int distance = 0;
            for (int i = 0; i < DCTSIZE2; ++i)
                distance += std::abs(int{model.quant_tbl_ptrs[0]->quantval[i]} - int{table.quantval[i]});
            if (least >= 0 && distance >= least) continue;
            least = distance;
            best = quality;
        }
    };
    GuardedJpeg(&errors, search, [&best] { best = 0; });
    jpeg_destroy_compress(&model);
    return best;
}

// How much less colour than brightness there is, as people write it: " 4:2:0"; empty for unusual factors.
std::string Subsampling(const jpeg_decompress_struct& jpeg) {
    struct Row {
        int across, down;
        const char* text;
    };
    static constexpr Row kRows[] = {
        {1, 1, " 4:4:4"}, {2, 1, " 4:2:2"}, {2, 2, " 4:2:0"}, {1, 2, " 4:4:0"}, {4, 1, " 4:1:1"}};
    const jpeg_component_info* parts = jpeg.comp_info;
    for (const int i : {1, 2})
        if (parts[i].h_samp_factor != 1 || parts[i].v_samp_factor != 1) return {};
    for (const Row& row : kRows)
        if (parts[0].h_samp_factor == row.across && parts[0].v_samp_factor == row.down) return row.text;
    return {};
}

class JpegReader : public PictureReader {
public:
    JpegReader(InputFile& file, Notes& notes) : file_(file), notes_(notes) {
        SetUpJpegErrors(&errors_);
        jpeg_.err = &errors_.base;
        try {
            ReadHeader();
        } catch (...) {
            jpeg_destroy_decompress(&jpeg_);
            throw;
        }
    }
    ~JpegReader() override { jpeg_destroy_decompress(&jpeg_); }
    JpegReader(const JpegReader&) = delete;
    JpegReader& operator=(const JpegReader&) = delete;

    // Of a file with several scans libjpeg gathers the whole before the first row.
    [[nodiscard]] bool InOrder() const override { return !severalScans_; }
    void Reduce(std::int64_t leastWidth, std::int64_t leastHeight) override;
    void ReadRow(std::uint8_t* row) override;
    void SkipRows(std::int64_t count) override;
    void NeedColumns(std::int64_t first, std::int64_t count) override {
        firstColumn_ = first;
        columns_ = count;
    }
    void ReadRows(Raster& image, const RowTick& tick) override;

private:
    template <typename Work>
    void Guarded(const Work& work) {
        GuardedJpeg(&errors_, work, [this] {
            if (file_.Error() != 0) FailSystem(file_.Path(), file_.Error());
            if (coefficients_.Error() != 0) FailScratch(coefficients_.Error());
            if (errors_.base.msg_code == JERR_OUT_OF_MEMORY)
                FailFile(file_.Path(), jpeg_.progressive_mode ? "not enough memory for a progressive JPEG of this size"
                                                              : "not enough memory");
            FailFile(file_.Path(), std::string("damaged JPEG: ") + errors_.message);
        });
        if (errors_.note[0] == '\0') return;
        notes_.Say(file_.Path(), errors_.note);
        errors_.note[0] = '\0';
    }

    void ReadHeader();
    void StartRows();
    void ChooseKind();
    void ReadProfile();
    void ReadResolution();

    InputFile& file_;
    Notes& notes_;
    jpeg_decompress_struct jpeg_{};
    JpegErrors errors_{};
    Source source_{};
    ScanWatch watch_{};
    JpegCoefficients coefficients_;
    // Adobe's programs store CMYK with 255 as no ink, and say so by a marker of their own; the others follow the
    // letter.
    bool inverted_ = false;
    bool severalScans_ = false;
    bool started_ = false;
    std::int64_t firstColumn_ = 0, columns_ = 0;  // those that are needed; 0: all
    std::size_t left_ = 0;                        // bytes of a row before those that libjpeg fills
};

void JpegReader::ReadHeader() {
    Guarded([this] {
        jpeg_create_decompress(&jpeg_);
        source_.base = {nullptr, 0, StartSource, FillSource, SkipSource, jpeg_resync_to_restart, EndSource};
        source_.file = &file_;
        jpeg_.src = &source_.base;
        watch_.base.progress_monitor = WatchScans;
        jpeg_.progress = &watch_.base;
        for (const int marker : {JPEG_APP0 + 1, JPEG_APP0 + 2, JPEG_APP0 + 13, JPEG_COM})
            jpeg_save_markers(&jpeg_, marker, 0xFFFF);
        jpeg_read_header(&jpeg_, TRUE);
    });
    header_.width = jpeg_.image_width;
    header_.height = jpeg_.image_height;
    header_.bitDepth = jpeg_.data_precision;
    ChooseKind();
    severalScans_ = jpeg_has_multiple_scans(&jpeg_) != FALSE;
    // libjpeg looks at the number of the table, which is any byte of the file, when it decodes the first scan.
    if (const int number = jpeg_.comp_info[0].quant_tbl_no; number < NUM_QUANT_TBLS)
        if (const JQUANT_TBL* table = jpeg_.quant_tbl_ptrs[number]; table != nullptr)
            header_.quality = EstimateQuality(*table);
    if (jpeg_.progressive_mode) header_.storage += ", progressive";
    ReadProfile();
    if (TakeJpegMarkers(jpeg_.marker_list, &header_.metadata))
        notes_.Say(file_.Path(), "the second part of XMP is left out");
    ReadResolution();
}

void JpegReader::ChooseKind() {
    switch (jpeg_.jpeg_color_space) {
        case JCS_GRAYSCALE:
            header_.kind = PixelKind::Gray;
            jpeg_.out_color_space = JCS_GRAYSCALE;
            header_.storage = "gray";
            break;
        case JCS_YCbCr:
        case JCS_RGB:
            header_.kind = PixelKind::RGB;
            header_.storage = jpeg_.jpeg_color_space == JCS_RGB ? "RGB" : "YCbCr" + Subsampling(jpeg_);
            jpeg_.out_color_space = JCS_RGB;
            break;
        case JCS_CMYK:
        case JCS_YCCK:
            header_.kind = PixelKind::CMYK;
            header_.storage = jpeg_.jpeg_color_space == JCS_CMYK ? "CMYK" : "YCCK";
            jpeg_.out_color_space = JCS_CMYK;
            inverted_ = jpeg_.saw_Adobe_marker != FALSE;
            break;
        default:
            FailFile(file_.Path(),
                     "unsupported JPEG: " + std::to_string(jpeg_.num_components) + " channels of unknown meaning");
    }
}

void JpegReader::ReadProfile() {
    JOCTET* bytes = nullptr;
    unsigned size = 0;
    Guarded([&] { jpeg_read_icc_profile(&jpeg_, &bytes, &size); });
    if (bytes == nullptr) return;
    header_.colour.profile.assign(bytes, bytes + size);
    std::free(bytes);
    if (ProfileFits(header_.colour.profile, header_.kind)) return;
    notes_.Say(file_.Path(), "the colour profile does not fit the pixels and is left out");
    header_.colour.profile.clear();
}

void JpegReader::ReadResolution() {
    const ExifTags exif = ReadExif(header_.metadata.exif.data(), header_.metadata.exif.size());
    header_.orientation = exif.orientation;
    header_.resolution = exif.resolution;
    if (!jpeg_.saw_JFIF_marker || jpeg_.X_density == 0 || jpeg_.Y_density == 0) return;
    // Cameras that write both leave a 1 to 1 shape here, which says less than EXIF does.
    Resolution::Unit unit = Resolution::Unit::Aspect;
    if (jpeg_.density_unit == 1) unit = Resolution::Unit::Inch;
    if (jpeg_.density_unit == 2) unit = Resolution::Unit::Centimetre;
    if (unit == Resolution::Unit::Aspect && jpeg_.X_density == jpeg_.Y_density) return;
    header_.resolution = {unit, jpeg_.X_density, jpeg_.Y_density};
}

// By an eighth, a quarter or a half libjpeg has fast ways.
void JpegReader::Reduce(std::int64_t leastWidth, std::int64_t leastHeight) {
    Guarded([&] {
        for (jpeg_.scale_num = 1, jpeg_.scale_denom = 8; jpeg_.scale_denom > 1; jpeg_.scale_denom /= 2) {
            jpeg_calc_output_dimensions(&jpeg_);
            if (jpeg_.output_width >= leastWidth && jpeg_.output_height >= leastHeight) break;
        }
        jpeg_calc_output_dimensions(&jpeg_);
    });
    header_.width = jpeg_.output_width;
    header_.height = jpeg_.output_height;
}

void JpegReader::StartRows() {
    started_ = true;
    if (severalScans_) coefficients_.Watch(&jpeg_);
    Guarded([this] { jpeg_start_decompress(&jpeg_); });
    watch_.tick = nullptr;  // rows are counted from here on
    if (columns_ == 0 || columns_ == header_.width) return;
    // Whole blocks, and one more to each side, which colour is blended with where there is less of it.
    constexpr std::int64_t kMargin = 4LL * DCTSIZE;
    const std::int64_t first = std::max<std::int64_t>(firstColumn_ - kMargin, 0);
    auto left = static_cast<JDIMENSION>(first);
    auto width = static_cast<JDIMENSION>(std::min(firstColumn_ + columns_ + kMargin, header_.width) - first);
    Guarded([this, &left, &width] { jpeg_crop_scanline(&jpeg_, &left, &width); });
    left_ = std::size_t{left} * static_cast<unsigned>(jpeg_.output_components);
}

void JpegReader::SkipRows(std::int64_t count) {
    if (!started_) StartRows();
    Guarded([this, count] { jpeg_skip_scanlines(&jpeg_, static_cast<JDIMENSION>(count)); });
}

void JpegReader::ReadRow(std::uint8_t* row) {
    if (!started_) StartRows();
    row += left_;
    Guarded([this, &row] { jpeg_read_scanlines(&jpeg_, &row, 1); });
    if (inverted_) {
        const std::size_t bytes = std::size_t{jpeg_.output_width} * static_cast<unsigned>(jpeg_.output_components);
        for (std::size_t i = 0; i < bytes; ++i) row[i] = static_cast<std::uint8_t>(255 - row[i]);
    }
    if (jpeg_.output_scanline == jpeg_.output_height) Guarded([this] { jpeg_finish_decompress(&jpeg_); });
}

void JpegReader::ReadRows(Raster& image, const RowTick& tick) {
    watch_.tick = &tick;
    PictureReader::ReadRows(image, tick);
    watch_.tick = nullptr;
}

}  // namespace

std::unique_ptr<PictureReader> OpenJpeg(InputFile& file, Notes& notes) {
    return std::make_unique<JpegReader>(file, notes);
}
