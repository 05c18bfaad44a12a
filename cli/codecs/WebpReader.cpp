#include <sys/mman.h>
#include <unistd.h>
#include <webp/decode.h>
#include <webp/demux.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "Errors.h"
#include "Notes.h"
#include "codecs/Exif.h"
#include "codecs/IccProfile.h"
#include "codecs/Webp.h"
#include "files/InputFile.h"

namespace {

constexpr std::size_t kRiffBytes = 12;      // "RIFF", the size of the rest, "WEBP"
constexpr std::size_t kReadStep = 1 << 20;  // bytes of the file that are asked for at once, whatever size it claims

// The pixels that libwebp decodes into for a file-backed image. It wants room for all of them, but does not look back
// at rows that are done: `Drop` gives their memory back.
class DecodedRows {
public:
    DecodedRows(std::size_t rowBytes, int height)
        : rowBytes_(rowBytes), size_(rowBytes * static_cast<unsigned>(height)) {
        void* memory = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory != MAP_FAILED) bytes_ = static_cast<std::uint8_t*>(memory);
    }
    ~DecodedRows() {
        if (bytes_ != nullptr) munmap(bytes_, size_);
    }
    DecodedRows(const DecodedRows&) = delete;
    DecodedRows& operator=(const DecodedRows&) = delete;

    // Null: no memory.
    [[nodiscard]] std::uint8_t* Bytes() const { return bytes_; }
    [[nodiscard]] std::size_t Size() const { return size_; }
    [[nodiscard]] const std::uint8_t* Row(int y) const { return bytes_ + static_cast<std::size_t>(y) * rowBytes_; }

    // Rows before `y` are not looked at again.
    void Drop(int y) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t end = static_cast<std::size_t>(y) * rowBytes_ / page * page;
        if (end <= dropped_) return;
        madvise(bytes_ + dropped_, end - dropped_, MADV_DONTNEED);
        dropped_ = end;
    }

private:
    std::size_t rowBytes_;
    std::size_t size_;
    std::uint8_t* bytes_ = nullptr;
    std::size_t dropped_ = 0;
};

struct FreeDemuxer {
    void operator()(WebPDemuxer* demuxer) const { WebPDemuxDelete(demuxer); }
};
struct FreeDecoder {
    void operator()(WebPIDecoder* decoder) const { WebPIDelete(decoder); }
};

class WebpReader : public PictureReader {
public:
    WebpReader(InputFile& file, Notes& notes) : file_(file), notes_(notes) {
        ReadFile();
        ReadFrame();
        ReadTags();
    }
    ~WebpReader() override { WebPDemuxReleaseIterator(&frame_); }
    WebpReader(const WebpReader&) = delete;
    WebpReader& operator=(const WebpReader&) = delete;

    void ReadRow(std::uint8_t* row) override;

private:
    [[noreturn]] void Fail(const char* what) const {
        if (file_.Error() != 0) FailSystem(file_.Path(), file_.Error());
        FailFile(file_.Path(), std::string("damaged WebP: ") + what);
    }

    void ReadFile();
    void ReadFrame();
    void ReadTags();
    [[nodiscard]] std::vector<std::uint8_t> Chunk(const char* name) const;
    void StartRows();
    void DecodeFurther();

    InputFile& file_;
    Notes& notes_;
    std::vector<std::uint8_t> bytes_;  // the file, without what may follow the picture
    std::unique_ptr<WebPDemuxer, FreeDemuxer> demuxer_;
    WebPIterator frame_{};  // the first, which is the only one where nothing moves
    std::size_t pixelBytes_ = 0;
    std::optional<DecodedRows> rows_;  // of the frame
    WebPDecoderConfig config_{};       // the decoder looks into it
    std::unique_ptr<WebPIDecoder, FreeDecoder> decoder_;
    VP8StatusCode status_ = VP8_STATUS_SUSPENDED;
    std::size_t given_ = 0;  // bytes of the frame that the decoder has
    int ready_ = 0;          // rows of the frame
    std::int64_t next_ = 0;  // row of the picture
};

void WebpReader::ReadFile() {
    std::array<std::uint8_t, kRiffBytes> head{};
    if (file_.Read(head.data(), head.size()) != head.size()) Fail("the file ends too early");
    const std::size_t rest =
        head[4] | std::size_t{head[5]} << 8 | std::size_t{head[6]} << 16 | std::size_t{head[7]} << 24;
    const std::size_t size = rest + 8;
    bytes_.assign(head.begin(), head.end());
    while (bytes_.size() < size) {
        const std::size_t before = bytes_.size(), step = std::min(size - before, kReadStep);
        bytes_.resize(before + step);
        if (file_.Read(bytes_.data() + before, step) != step) Fail("the file ends too early");
    }
}

void WebpReader::ReadFrame() {
    const WebPData data{bytes_.data(), bytes_.size()};
    demuxer_.reset(WebPDemux(&data));
    WebPBitstreamFeatures features{};
    if (demuxer_ == nullptr || WebPDemuxGetFrame(demuxer_.get(), 1, &frame_) == 0 ||
        WebPGetFeatures(frame_.fragment.bytes, frame_.fragment.size, &features) != VP8_STATUS_OK)
        Fail("its parts do not make a picture");
    header_.width = WebPDemuxGetI(demuxer_.get(), WEBP_FF_CANVAS_WIDTH);
    header_.height = WebPDemuxGetI(demuxer_.get(), WEBP_FF_CANVAS_HEIGHT);
    // The first frame of an animation may leave parts of the whole free.
    const bool covers = frame_.width == header_.width && frame_.height == header_.height;
    header_.kind = frame_.has_alpha != 0 || !covers ? PixelKind::RGBA : PixelKind::RGB;
    header_.storage = features.format == 2 ? "lossless" : "lossy";
    header_.frames = frame_.num_frames;
}

std::vector<std::uint8_t> WebpReader::Chunk(const char* name) const {
    std::vector<std::uint8_t> bytes;
    WebPChunkIterator chunk{};
    if (WebPDemuxGetChunk(demuxer_.get(), name, 1, &chunk) != 0)
        bytes.assign(chunk.chunk.bytes, chunk.chunk.bytes + chunk.chunk.size);
    WebPDemuxReleaseChunkIterator(&chunk);
    return bytes;
}

void WebpReader::ReadTags() {
    header_.colour.profile = Chunk("ICCP");
    if (!header_.colour.profile.empty() && !ProfileFits(header_.colour.profile, header_.kind)) {
        notes_.Say(file_.Path(), "the colour profile does not fit the pixels and is left out");
        header_.colour.profile.clear();
    }
    Metadata& metadata = header_.metadata;
    metadata.exif = Chunk("EXIF");
    metadata.xmp = Chunk("XMP ");
    const ExifTags exif = ReadExif(metadata.exif.data(), metadata.exif.size());
    header_.orientation = exif.orientation;
    header_.resolution = exif.resolution;
}

void WebpReader::StartRows() {
    if (header_.frames > 1)
        notes_.Say(file_.Path(),
                   "an animation of " + std::to_string(header_.frames) + " frames, of which the first is taken");
    pixelBytes_ = static_cast<std::size_t>(Describe(header_.kind).channels);
    const std::size_t rowBytes = static_cast<std::size_t>(frame_.width) * pixelBytes_;
    rows_.emplace(rowBytes, frame_.height);
    WebPInitDecoderConfig(&config_);
    config_.output.colorspace = header_.kind == PixelKind::RGBA ? MODE_RGBA : MODE_RGB;
    config_.output.is_external_memory = 1;
    config_.output.u.RGBA = {rows_->Bytes(), static_cast<int>(rowBytes), rows_->Size()};
    decoder_.reset(WebPIDecode(nullptr, 0, &config_));
    if (rows_->Bytes() == nullptr || decoder_ == nullptr) FailFile(file_.Path(), "not enough memory");
}

// The decoder is fed a little at a time, so that rows can be taken from it, and memory given back, as they come.
void WebpReader::DecodeFurther() {
    rows_->Drop(ready_);
    const WebPData& data = frame_.fragment;
    if (status_ == VP8_STATUS_SUSPENDED && given_ < data.size) {
        given_ = std::min(given_ + std::max<std::size_t>(data.size / 256, 4096), data.size);
        status_ = WebPIUpdate(decoder_.get(), data.bytes, given_);
        WebPIDecGetRGB(decoder_.get(), &ready_, nullptr, nullptr, nullptr);
        if (status_ == VP8_STATUS_OK || status_ == VP8_STATUS_SUSPENDED) return;
    }
    if (status_ == VP8_STATUS_OUT_OF_MEMORY) FailFile(file_.Path(), "not enough memory");
    Fail(status_ == VP8_STATUS_SUSPENDED ? "its pixels end too early" : "its pixels cannot be decoded");
}

void WebpReader::ReadRow(std::uint8_t* row) {
    if (decoder_ == nullptr) StartRows();
    const std::int64_t inFrame = next_++ - frame_.y_offset;
    // The picture is clear where the frame leaves it free.
    if (frame_.width != header_.width || inFrame < 0 || inFrame >= frame_.height)
        std::memset(row, 0, static_cast<std::size_t>(header_.width) * pixelBytes_);
    if (inFrame < 0 || inFrame >= frame_.height) return;
    while (ready_ <= inFrame) DecodeFurther();
    std::memcpy(row + static_cast<std::size_t>(frame_.x_offset) * pixelBytes_, rows_->Row(static_cast<int>(inFrame)),
                static_cast<std::size_t>(frame_.width) * pixelBytes_);
    if (inFrame + 1 < frame_.height) return;
    while (status_ != VP8_STATUS_OK) DecodeFurther();  // what follows the last row may be damaged
}

}  // namespace

std::unique_ptr<PictureReader> OpenWebp(InputFile& file, Notes& notes) {
    return std::make_unique<WebpReader>(file, notes);
}
