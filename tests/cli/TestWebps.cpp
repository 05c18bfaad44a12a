#include "TestWebps.h"

#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <stdexcept>

#include "ZorTest.h"

namespace {

void Check(bool good, const char* what) {
    if (!good) throw std::runtime_error(what);
}

std::string Encoded(const WebpFile& file) {
    WebPConfig config;
    Check(WebPConfigInit(&config) != 0, "WebPConfigInit");
    config.quality = file.quality;
    config.lossless = file.lossless ? 1 : 0;
    config.exact = file.lossless ? 1 : 0;
    WebPPicture picture;
    WebPMemoryWriter writer;
    Check(WebPPictureInit(&picture) != 0, "WebPPictureInit");
    WebPMemoryWriterInit(&writer);
    picture.width = file.pixels.width;
    picture.height = file.pixels.height;
    picture.use_argb = 1;
    picture.writer = WebPMemoryWrite;
    picture.custom_ptr = &writer;
    const int step = file.pixels.width * file.pixels.channels;
    Check((file.pixels.channels == 4 ? WebPPictureImportRGBA(&picture, file.pixels.bytes.data(), step)
                                     : WebPPictureImportRGB(&picture, file.pixels.bytes.data(), step)) != 0,
          "WebPPictureImport");
    const bool good = WebPEncode(&config, &picture) != 0;
    std::string bytes(reinterpret_cast<const char*>(writer.mem), writer.size);
    WebPPictureFree(&picture);
    WebPMemoryWriterClear(&writer);
    Check(good, "WebPEncode");
    return bytes;
}

WebPData DataOf(const void* bytes, std::size_t size) {
    return {static_cast<const std::uint8_t*>(bytes), size};
}

void SaveMux(const std::string& path, WebPMux* mux) {
    WebPData whole{};
    const bool good = WebPMuxAssemble(mux, &whole) == WEBP_MUX_OK;
    WriteFile(path, std::string(reinterpret_cast<const char*>(whole.bytes), whole.size));
    WebPDataClear(&whole);
    WebPMuxDelete(mux);
    Check(good, "WebPMuxAssemble");
}

std::vector<std::uint8_t> Chunk(const WebPDemuxer* demuxer, const char* name) {
    WebPChunkIterator chunk{};
    std::vector<std::uint8_t> bytes;
    if (WebPDemuxGetChunk(demuxer, name, 1, &chunk) != 0)
        bytes.assign(chunk.chunk.bytes, chunk.chunk.bytes + chunk.chunk.size);
    WebPDemuxReleaseChunkIterator(&chunk);
    return bytes;
}

}  // namespace

void SaveWebp(const std::string& path, const WebpFile& file) {
    const std::string bytes = Encoded(file);
    if (file.profile.empty() && file.exif.empty()) return WriteFile(path, bytes);
    const WebPData picture = DataOf(bytes.data(), bytes.size());
    WebPMux* mux = WebPMuxCreate(&picture, 1);
    const WebPData profile = DataOf(file.profile.data(), file.profile.size());
    const WebPData exif = DataOf(file.exif.data(), file.exif.size());
    if (profile.size != 0) WebPMuxSetChunk(mux, "ICCP", &profile, 1);
    if (exif.size != 0) WebPMuxSetChunk(mux, "EXIF", &exif, 1);
    SaveMux(path, mux);
}

WebpFile LoadWebp(const std::string& path) {
    const std::string bytes = ReadFile(path);
    const WebPData data = DataOf(bytes.data(), bytes.size());
    WebPBitstreamFeatures features;
    Check(WebPGetFeatures(data.bytes, data.size, &features) == VP8_STATUS_OK, "WebPGetFeatures");
    WebpFile file;
    file.lossless = features.format == 2;
    int width = 0;
    int height = 0;
    std::uint8_t* pixels = features.has_alpha != 0 ? WebPDecodeRGBA(data.bytes, data.size, &width, &height)
                                                   : WebPDecodeRGB(data.bytes, data.size, &width, &height);
    Check(pixels != nullptr, "WebPDecode");
    file.pixels = {width, height, features.has_alpha != 0 ? 4 : 3, {}};
    file.pixels.bytes.assign(pixels, pixels + static_cast<std::ptrdiff_t>(width) * height * file.pixels.channels);
    WebPFree(pixels);
    WebPDemuxer* demuxer = WebPDemux(&data);
    Check(demuxer != nullptr, "WebPDemux");
    file.profile = Chunk(demuxer, "ICCP");
    file.exif = Chunk(demuxer, "EXIF");
    WebPDemuxDelete(demuxer);
    return file;
}

void SaveWebpAnimation(const std::string& path, int width, int height, const std::vector<WebpFrame>& frames) {
    WebPMux* mux = WebPMuxNew();
    for (const WebpFrame& frame : frames) {
        WebpFile file;
        file.pixels = frame.pixels;
        const std::string bytes = Encoded(file);
        WebPMuxFrameInfo info{};
        info.bitstream = DataOf(bytes.data(), bytes.size());
        info.x_offset = frame.x;
        info.y_offset = frame.y;
        info.duration = 100;
        info.id = WEBP_CHUNK_ANMF;
        Check(WebPMuxPushFrame(mux, &info, 1) == WEBP_MUX_OK, "WebPMuxPushFrame");
    }
    const WebPMuxAnimParams params{0xFFFFFFFF, 0};
    Check(WebPMuxSetAnimationParams(mux, &params) == WEBP_MUX_OK, "WebPMuxSetAnimationParams");
    Check(WebPMuxSetCanvasSize(mux, width, height) == WEBP_MUX_OK, "WebPMuxSetCanvasSize");
    SaveMux(path, mux);
}

std::vector<std::uint8_t> MakeExifBlock(int orientation, int x, int y, int unit) {
    std::vector<std::uint8_t> bytes = {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 4};
    const auto number = [&bytes](int value, int count) {
        for (int i = count - 1; i >= 0; --i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i) & 255));
    };
    const auto entry = [&number](int tag, int type, int value) {
        number(tag, 2);
        number(type, 2);
        number(1, 4);
        number(type == 3 ? value * 65536 : value, 4);  // short ones stand at the left
    };
    entry(274, 3, orientation);
    entry(282, 5, 62);
    entry(283, 5, 70);
    entry(296, 3, unit);
    for (const int value : {0, x, 1, y, 1}) number(value, 4);
    return bytes;
}
