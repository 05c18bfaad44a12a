#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#include <jpeglib.h>

#include "TestPictures.h"

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

[[noreturn]] void Throw(j_common_ptr jpeg) {
    char text[JMSG_LENGTH_MAX];
    jpeg->err->format_message(jpeg, text);
    throw std::runtime_error(text);
}

void ThrowAtWarnings(j_common_ptr jpeg, int level) {
    if (level < 0) Throw(jpeg);
}

jpeg_error_mgr MakeErrors() {
    jpeg_error_mgr errors{};
    jpeg_std_error(&errors);
    errors.error_exit = Throw;
    errors.emit_message = ThrowAtWarnings;
    return errors;
}

J_COLOR_SPACE MemorySpace(int channels) {
    return channels == 1 ? JCS_GRAYSCALE : channels == 4 ? JCS_CMYK : JCS_RGB;
}

}  // namespace

void SaveJpeg(const std::string& path, const JpegFile& file) {
    const File stream(std::fopen(path.c_str(), "wb"), std::fclose);
    jpeg_error_mgr errors = MakeErrors();
    jpeg_compress_struct jpeg{};
    jpeg.err = &errors;
    jpeg_create_compress(&jpeg);
    jpeg_stdio_dest(&jpeg, stream.get());
    jpeg.image_width = static_cast<JDIMENSION>(file.pixels.width);
    jpeg.image_height = static_cast<JDIMENSION>(file.pixels.height);
    jpeg.input_components = file.pixels.channels;
    jpeg.in_color_space = MemorySpace(file.pixels.channels);
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, file.quality, TRUE);
    if (file.colourSpace != 0) jpeg_set_colorspace(&jpeg, static_cast<J_COLOR_SPACE>(file.colourSpace));
    if (!file.adobe) jpeg.write_Adobe_marker = FALSE;
    jpeg.write_JFIF_header = file.jfif ? TRUE : FALSE;
    jpeg.density_unit = static_cast<UINT8>(file.density[0]);
    jpeg.X_density = static_cast<UINT16>(file.density[1]);
    jpeg.Y_density = static_cast<UINT16>(file.density[2]);
    jpeg.arith_code = file.arithmetic ? TRUE : FALSE;
    if (file.progressive) jpeg_simple_progression(&jpeg);
    jpeg_start_compress(&jpeg, TRUE);
    if (!file.exif.empty())
        jpeg_write_marker(&jpeg, JPEG_APP0 + 1, file.exif.data(), static_cast<unsigned>(file.exif.size()));
    if (!file.profile.empty())
        jpeg_write_icc_profile(&jpeg, file.profile.data(), static_cast<unsigned>(file.profile.size()));
    std::vector<std::uint8_t> bytes = file.pixels.bytes;
    for (int y = 0; y < file.pixels.height; ++y) {
        JSAMPROW row = bytes.data() + static_cast<std::ptrdiff_t>(y) * file.pixels.width * file.pixels.channels;
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
}

JpegFile LoadJpeg(const std::string& path) {
    const File stream(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!stream) throw std::runtime_error(path + " does not open");
    jpeg_error_mgr errors = MakeErrors();
    jpeg_decompress_struct jpeg{};
    jpeg.err = &errors;
    jpeg_create_decompress(&jpeg);
    jpeg_stdio_src(&jpeg, stream.get());
    jpeg_save_markers(&jpeg, JPEG_APP0 + 2, 0xFFFF);
    jpeg_read_header(&jpeg, TRUE);

    JpegFile file;
    file.colourSpace = jpeg.jpeg_color_space;
    file.progressive = jpeg.progressive_mode != FALSE;
    file.jfif = jpeg.saw_JFIF_marker != FALSE;
    file.density = {jpeg.density_unit, jpeg.X_density, jpeg.Y_density};
    file.sawAdobe = jpeg.saw_Adobe_marker != FALSE;
    file.sampling = {jpeg.comp_info[0].h_samp_factor, jpeg.comp_info[0].v_samp_factor};
    JOCTET* profile = nullptr;
    unsigned size = 0;
    if (jpeg_read_icc_profile(&jpeg, &profile, &size) != FALSE) file.profile.assign(profile, profile + size);
    std::free(profile);

    jpeg.out_color_space = MemorySpace(jpeg.num_components);
    jpeg_start_decompress(&jpeg);
    file.pixels = {static_cast<int>(jpeg.output_width),
                   static_cast<int>(jpeg.output_height),
                   static_cast<int>(jpeg.output_components),
                   {}};
    const std::size_t rowBytes = std::size_t{jpeg.output_width} * static_cast<unsigned>(jpeg.output_components);
    file.pixels.bytes.resize(rowBytes * jpeg.output_height);
    while (jpeg.output_scanline < jpeg.output_height) {
        JSAMPROW row = file.pixels.bytes.data() + rowBytes * jpeg.output_scanline;
        jpeg_read_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_decompress(&jpeg);
    jpeg_destroy_decompress(&jpeg);
    return file;
}
