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
#include "Raster.h"
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

    void ReadRows(Raster& image, const RowTick& tick) override;

private:
    [[noreturn]] void Fail(const char* what) const {
        if (file_.Error() != 0) FailSystem(file_.Path(), file_.Error());
        FailFile(file_.Path(), std::string("damaged WebP: ") + what);
    }

    void ReadFile();
    void ReadFrame();
    void ReadTags();
    [[nodiscard]] std::vector<std::uint8_t> Chunk(const char* name) const;
    void CopyRows(Raster& image, const DecodedRows& rows, int first, int end) const;

    InputFile& file_;
    Notes& notes_;
    std::vector<std::uint8_t> bytes_;  // the file, without what may follow the picture
    std::unique_ptr<WebPDemuxer, FreeDemuxer> demuxer_;
    WebPIterator frame_{};  // the first, which is the only one where nothing moves
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
    const std::vector<std::uint8_t> block = Chunk("EXIF");
    const ExifTags exif = ReadExif(block.data(), block.size());
    header_.orientation = exif.orientation;
    header_.resolution = exif.resolution;
}

// Hands the rows `first` to `end` of the frame on to their place in the image, which is clear elsewhere.
void WebpReader::CopyRows(Raster& image, const DecodedRows& rows, int first, int end) const {
    const auto channels = static_cast<std::size_t>(Describe(header_.kind).channels);
    const std::size_t count = static_cast<std::size_t>(frame_.width) * channels;
    const std::size_t left = static_cast<std::size_t>(frame_.x_offset) * channels;
    for (int y = first; y < end; ++y) std::memcpy(image.Row(frame_.y_offset + y) + left, rows.Row(y), count);
}

void WebpReader::ReadRows(Raster& image, const RowTick& tick) {
    if (header_.frames > 1)
        notes_.Say(file_.Path(),
                   "an animation of " + std::to_string(header_.frames) + " frames, of which the first is taken");
    WebPDecoderConfig config{};
    WebPInitDecoderConfig(&config);
    const auto channels = static_cast<std::size_t>(Describe(header_.kind).channels);
    const std::size_t used = static_cast<std::size_t>(frame_.width) * channels;
    // An image in memory takes the pixels as they come.
    std::optional<DecodedRows> rows;
    std::uint8_t* bytes = nullptr;
    std::size_t distance = static_cast<std::size_t>(image.RowDistance());
    if (distance > 0) {
        bytes = image.Row(frame_.y_offset) + static_cast<std::size_t>(frame_.x_offset) * channels;
    } else {
        distance = used;
        bytes = rows.emplace(used, frame_.height).Bytes();
    }
    config.output.colorspace = header_.kind == PixelKind::RGBA ? MODE_RGBA : MODE_RGB;
    config.output.is_external_memory = 1;
    config.output.u.RGBA = {bytes, static_cast<int>(distance),
                            distance * static_cast<unsigned>(frame_.height - 1) + used};
    const std::unique_ptr<WebPIDecoder, FreeDecoder> decoder(WebPIDecode(nullptr, 0, &config));
    if (bytes == nullptr || decoder == nullptr) FailFile(file_.Path(), "not enough memory");

    // The decoder is fed a little at a time, so that rows can be taken from it, and memory given back, as they come.
    const WebPData& data = frame_.fragment;
    const std::size_t step = std::max<std::size_t>(data.size / 256, 4096);
    VP8StatusCode status = VP8_STATUS_SUSPENDED;
    int done = 0;
    for (std::size_t given = 0; status == VP8_STATUS_SUSPENDED && given < data.size;) {
        given = std::min(given + step, data.size);
        status = WebPIUpdate(decoder.get(), data.bytes, given);
        int ready = 0;
        if (WebPIDecGetRGB(decoder.get(), &ready, nullptr, nullptr, nullptr) == nullptr) continue;
        if (rows) {
            CopyRows(image, *rows, done, ready);
            rows->Drop(ready);
        }
        for (; done < ready; ++done) tick(done + 1, frame_.height);
    }
    if (status == VP8_STATUS_OUT_OF_MEMORY) FailFile(file_.Path(), "not enough memory");
    if (status != VP8_STATUS_OK || done != frame_.height)
        Fail(status == VP8_STATUS_SUSPENDED ? "its pixels end too early" : "its pixels cannot be decoded");
}

}  // namespace

std::unique_ptr<PictureReader> OpenWebp(InputFile& file, Notes& notes) {
    return std::make_unique<WebpReader>(file, notes);
}
