#include <webp/encode.h>
#include <webp/mux.h>

#include <algorithm>
#include <vector>

#include "Errors.h"
#include "Rows.h"
#include "codecs/Exif.h"
#include "codecs/IccProfile.h"
#include "codecs/Webp.h"
#include "files/OutputFile.h"

namespace {

const char* ErrorText(WebPEncodingError error) {
    switch (error) {
        case VP8_ENC_ERROR_OUT_OF_MEMORY:
        case VP8_ENC_ERROR_BITSTREAM_OUT_OF_MEMORY:
            return "not enough memory";
        case VP8_ENC_ERROR_PARTITION0_OVERFLOW:
        case VP8_ENC_ERROR_PARTITION_OVERFLOW:
        case VP8_ENC_ERROR_FILE_TOO_BIG:
            return "the picture is too large for WebP at this quality";
        default:
            return "WebP cannot be written";
    }
}

// What libwebp needs for one picture, and its result; all freed at the end.
class WebpWriter {
public:
    explicit WebpWriter(OutputFile& file) : file_(file) {
        WebPPictureInit(&picture_);
        WebPMemoryWriterInit(&encoded_);
        WebPDataInit(&assembled_);
    }
    ~WebpWriter() {
        WebPMuxDelete(mux_);  // looks into what was encoded
        WebPPictureFree(&picture_);
        WebPMemoryWriterClear(&encoded_);
        WebPDataClear(&assembled_);
    }
    WebpWriter(const WebpWriter&) = delete;
    WebpWriter& operator=(const WebpWriter&) = delete;

    void TakeRows(RowSource& rows);
    void Encode(const WriteOptions& options, const RowTick& tick);
    void Write(const PictureHeader& tags);

private:
    void AddChunk(const char* name, const std::vector<std::uint8_t>& bytes);
    void Put(const std::uint8_t* bytes, std::size_t count) {
        if (!file_.Write(bytes, count)) FailSystem(file_.Path(), file_.Error());
    }

    OutputFile& file_;
    WebPPicture picture_{};
    WebPMemoryWriter encoded_{};
    WebPMux* mux_ = nullptr;
    WebPData assembled_{};
};

// One row as libwebp takes it: alpha, red, green and blue in the bytes of a number, from the highest.
void PrepareRow(const std::uint8_t* row, int width, PixelKind kind, std::uint32_t* out) {
    const int channels = Describe(kind).channels;
    const int green = channels < 3 ? 0 : 1, blue = channels < 3 ? 0 : 2;
    const int alpha = Describe(kind).hasAlpha ? channels - 1 : -1;
    for (int x = 0; x < width; ++x, row += channels)
        out[x] = (alpha < 0 ? 255U : std::uint32_t{row[alpha]}) << 24 | std::uint32_t{row[0]} << 16 |
                 std::uint32_t{row[green]} << 8 | row[blue];
}

void WebpWriter::TakeRows(RowSource& rows) {
    const ImageShape& shape = rows.Shape();
    picture_.width = shape.width;
    picture_.height = shape.height;
    picture_.use_argb = 1;
    if (WebPPictureAlloc(&picture_) == 0) FailFile(file_.Path(), "not enough memory");
    for (int y = 0; y < shape.height; ++y)
        PrepareRow(rows.Next(), shape.width, shape.kind,
                   picture_.argb + static_cast<std::ptrdiff_t>(y) * picture_.argb_stride);
}

int Watch(int percent, const WebPPicture* picture) {
    const auto& tick = *static_cast<const RowTick*>(picture->user_data);
    tick(percent, 100);
    return 1;
}

void WebpWriter::Encode(const WriteOptions& options, const RowTick& tick) {
    WebPConfig config{};
    WebPConfigInit(&config);
    config.quality = static_cast<float>(options.quality);
    if (options.lossless) {
        WebPConfigLosslessPreset(&config, options.compression);
        config.exact = 1;  // colour stays also where nothing of it is seen
    }
    picture_.writer = WebPMemoryWrite;
    picture_.custom_ptr = &encoded_;
    picture_.progress_hook = Watch;
    picture_.user_data = const_cast<RowTick*>(&tick);
    // A large picture rich in detail may say more about its blocks than WebP has room for; then it has to say less.
    for (const int limit : {0, 50, 100}) {
        config.partition_limit = limit;
        WebPMemoryWriterClear(&encoded_);
        if (WebPEncode(&config, &picture_) != 0) return;
        if (picture_.error_code != VP8_ENC_ERROR_PARTITION0_OVERFLOW) break;
    }
    FailFile(file_.Path(), ErrorText(picture_.error_code));
}

void WebpWriter::AddChunk(const char* name, const std::vector<std::uint8_t>& bytes) {
    if (bytes.empty()) return;
    const WebPData data{bytes.data(), bytes.size()};
    if (WebPMuxSetChunk(mux_, name, &data, 1) != WEBP_MUX_OK) FailFile(file_.Path(), "not enough memory");
}

void WebpWriter::Write(const PictureHeader& tags) {
    const bool hasProfile = ProfileFits(tags.colour.profile, PixelKind::RGB);
    const Metadata& metadata = tags.metadata;
    // Which has no other place for the resolution.
    const std::vector<std::uint8_t> exif = metadata.exif.empty() ? MakeExif(tags.resolution) : metadata.exif;
    if (!hasProfile && exif.empty() && metadata.xmp.empty()) return Put(encoded_.mem, encoded_.size);
    const WebPData encoded{encoded_.mem, encoded_.size};
    mux_ = WebPMuxCreate(&encoded, 0);
    if (mux_ == nullptr) FailFile(file_.Path(), "not enough memory");
    if (hasProfile) AddChunk("ICCP", tags.colour.profile);
    AddChunk("EXIF", exif);
    AddChunk("XMP ", metadata.xmp);
    if (WebPMuxAssemble(mux_, &assembled_) != WEBP_MUX_OK) FailFile(file_.Path(), "not enough memory");
    Put(assembled_.bytes, assembled_.size);
}

}  // namespace

void WriteWebp(OutputFile& file, RowSource& rows, const PictureHeader& tags, const WriteOptions& options,
               const RowTick& tick) {
    WebpWriter writer(file);
    writer.TakeRows(rows);
    writer.Encode(options, tick);
    writer.Write(tags);
}
