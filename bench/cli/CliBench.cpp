// What the program costs beyond the work itself: its start, and its reading and writing of files beside that of the
// codec libraries alone on the same pixels. Prints the best of several runs; asserts nothing.
//
//     bench_cli [WIDTH HEIGHT]

#include <fcntl.h>
#include <png.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <tiffio.h>
#include <unistd.h>
#include <webp/decode.h>
#include <webp/encode.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <cstdio>  // before jpeglib.h, which needs it and does not include it

#include <jpeglib.h>

namespace {

using Words = std::vector<std::string>;

struct Pixels {
    int width;
    int height;
    std::vector<unsigned char> bytes;  // RGB

    unsigned char* Row(int y) {
        return bytes.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width) * 3;
    }
};

double Clock() {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Of the processor, by this process and by those that it has started and that have ended: other work on the machine
// does not count.
double ProcessorClock() {
    double milliseconds = 0;
    for (const int whose : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        getrusage(whose, &usage);
        for (const timeval& time : {usage.ru_utime, usage.ru_stime})
            milliseconds += static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    }
    return milliseconds;
}

// Milliseconds of the fastest run.
double Best(int runs, double (*clock)(), const std::function<void()>& work) {
    double best = 0;
    for (int i = 0; i < runs; ++i) {
        const double start = clock();
        work();
        const double taken = clock() - start;
        if (i == 0 || taken < best) best = taken;
    }
    return best;
}

void RunZor(Words words) {
    const pid_t process = fork();
    if (process == 0) {
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        words.insert(words.begin(), ZOR_PROGRAM);
        std::vector<char*> argv;
        for (std::string& word : words) argv.push_back(word.data());
        argv.push_back(nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(process, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) throw std::runtime_error("zor failed on " + words.back());
}

std::FILE* Open(const std::string& path, const char* mode) {
    std::FILE* file = std::fopen(path.c_str(), mode);
    if (file == nullptr) throw std::runtime_error(path + " does not open");
    return file;
}

void DecodePng(const std::string& path) {
    std::FILE* file = Open(path, "rb");
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_read_info(png, info);
    std::vector<unsigned char> row(png_get_rowbytes(png, info));
    for (png_uint_32 y = 0; y < png_get_image_height(png, info); ++y) png_read_row(png, row.data(), nullptr);
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
}

void EncodePng(const std::string& path, Pixels& pixels) {
    std::FILE* file = Open(path, "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_compression_level(png, 6);
    png_set_IHDR(png, info, static_cast<png_uint_32>(pixels.width), static_cast<png_uint_32>(pixels.height), 8,
                 PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int y = 0; y < pixels.height; ++y) png_write_row(png, pixels.Row(y));
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

void DecodeJpeg(const std::string& path) {
    std::FILE* file = Open(path, "rb");
    jpeg_decompress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&jpeg);
    jpeg_stdio_src(&jpeg, file);
    jpeg_read_header(&jpeg, TRUE);
    jpeg_start_decompress(&jpeg);
    std::vector<unsigned char> row(jpeg.output_width * 3);
    JSAMPROW rows[1] = {row.data()};
    while (jpeg.output_scanline < jpeg.output_height) jpeg_read_scanlines(&jpeg, rows, 1);
    jpeg_finish_decompress(&jpeg);
    jpeg_destroy_decompress(&jpeg);
    std::fclose(file);
}

void EncodeJpeg(const std::string& path, Pixels& pixels) {
    std::FILE* file = Open(path, "wb");
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    jpeg_stdio_dest(&jpeg, file);
    jpeg.image_width = static_cast<JDIMENSION>(pixels.width);
    jpeg.image_height = static_cast<JDIMENSION>(pixels.height);
    jpeg.input_components = 3;
    jpeg.in_color_space = JCS_RGB;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 90, TRUE);
    jpeg.comp_info[0].h_samp_factor = jpeg.comp_info[0].v_samp_factor = 1;
    jpeg_start_compress(&jpeg, TRUE);
    while (jpeg.next_scanline < jpeg.image_height) {
        JSAMPROW rows[1] = {pixels.Row(static_cast<int>(jpeg.next_scanline))};
        jpeg_write_scanlines(&jpeg, rows, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    std::fclose(file);
}

// Strips, compression and prediction as the program writes them.
void DecodeTiff(const std::string& path) {
    TIFF* tiff = TIFFOpen(path.c_str(), "r");
    if (tiff == nullptr) throw std::runtime_error(path + " does not open");
    std::uint32_t height = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    std::vector<unsigned char> row(static_cast<std::size_t>(TIFFScanlineSize(tiff)));
    for (std::uint32_t y = 0; y < height; ++y) TIFFReadScanline(tiff, row.data(), y, 0);
    TIFFClose(tiff);
}

void EncodeTiff(const std::string& path, Pixels& pixels) {
    TIFF* tiff = TIFFOpen(path.c_str(), "w");
    if (tiff == nullptr) throw std::runtime_error(path + " does not open");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, pixels.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, pixels.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, 6);
    TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, std::max((1 << 18) / (pixels.width * 3), 1));
    for (int y = 0; y < pixels.height; ++y) TIFFWriteScanline(tiff, pixels.Row(y), static_cast<std::uint32_t>(y), 0);
    TIFFClose(tiff);
}

void DecodeWebp(const std::string& path) {
    std::vector<unsigned char> bytes(std::filesystem::file_size(path));
    std::FILE* file = Open(path, "rb");
    if (std::fread(bytes.data(), 1, bytes.size(), file) != bytes.size()) throw std::runtime_error(path + " is cut");
    std::fclose(file);
    int width = 0, height = 0;
    WebPFree(WebPDecodeRGB(bytes.data(), bytes.size(), &width, &height));
}

void EncodeWebp(const std::string& path, Pixels& pixels) {
    unsigned char* bytes = nullptr;
    const std::size_t size =
        WebPEncodeRGB(pixels.bytes.data(), pixels.width, pixels.height, pixels.width * 3, 90, &bytes);
    std::FILE* file = Open(path, "wb");
    std::fwrite(bytes, 1, size, file);
    std::fclose(file);
    WebPFree(bytes);
}

struct Format {
    const char* name;
    const char* suffix;
    const char* option;  // of --format
    void (*decode)(const std::string& path);
    void (*encode)(const std::string& path, Pixels& pixels);
};

constexpr Format kFormats[] = {{"PNG", "png", "png", DecodePng, EncodePng},
                               {"JPEG", "jpg", "jpeg", DecodeJpeg, EncodeJpeg},
                               {"TIFF", "tif", "tiff", DecodeTiff, EncodeTiff},
                               {"WebP", "webp", "webp", DecodeWebp, EncodeWebp}};

Pixels LoadPpm(const std::string& path) {
    std::FILE* file = Open(path, "rb");
    Pixels pixels{0, 0, {}};
    if (std::fscanf(file, "P6 %d %d 255", &pixels.width, &pixels.height) != 2)
        throw std::runtime_error(path + " is no PPM");
    std::fgetc(file);
    pixels.bytes.resize(static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height) * 3);
    if (std::fread(pixels.bytes.data(), 1, pixels.bytes.size(), file) != pixels.bytes.size())
        throw std::runtime_error(path + " is cut");
    std::fclose(file);
    return pixels;
}

// `plain` is what the program takes to pass the same pixels on as they are.
void PrintBeside(const char* what, double zor, double plain, double library) {
    std::printf("%-12s zor %8.1f ms   without its plain copy %8.1f ms   library %8.1f ms   ratio %.3f\n", what, zor,
                zor - plain, library, (zor - plain) / library);
}

void Measure(const std::string& directory, const std::string& size) {
    const auto at = [&](const char* name) { return directory + "/" + name; };
    RunZor({ZOR_PHOTO, at("tiny.png"), "scale", "8x8"});
    RunZor({ZOR_PHOTO, at("large.ppm"), "scale", size});
    Pixels pixels = LoadPpm(at("large.ppm"));

    constexpr int kStarts = 30, kRuns = 3;
    std::printf("start        zor --version %.1f ms   a picture of 8 x 8 pixels %.1f ms\n",
                Best(kStarts, Clock, [] { RunZor({"--version"}); }), Best(kStarts, Clock, [&] {
                    RunZor({at("tiny.png"), at("out.png"), "flip", "h"});
                }));
    std::printf("pictures of %d x %d RGB pixels, milliseconds of the processor\n", pixels.width, pixels.height);
    const double copy = Best(kRuns, ProcessorClock, [&] { RunZor({"--format", "ppm", at("large.ppm"), "/dev/null"}); });
    for (const Format& format : kFormats) {
        const std::string file = at("large.") + format.suffix;
        RunZor({at("large.ppm"), file});
        PrintBeside((format.name + std::string(" read")).c_str(),
                    Best(kRuns, ProcessorClock,
                         [&] {
                             RunZor({"--format", "ppm", file, "/dev/null"});
                         }),
                    copy, Best(kRuns, ProcessorClock, [&] { format.decode(file); }));
        // Into a file, since TIFF goes back to its beginning.
        PrintBeside((format.name + std::string(" write")).c_str(),
                    Best(kRuns, ProcessorClock,
                         [&] {
                             RunZor({at("large.ppm"), file});
                         }),
                    copy, Best(kRuns, ProcessorClock, [&] { format.encode(file, pixels); }));
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::string directory = (std::filesystem::temp_directory_path() / "bench-cli-XXXXXX").string();
    if (mkdtemp(directory.data()) == nullptr) return 1;
    int code = 0;
    try {
        Measure(directory, argc > 2 ? std::string(argv[1]) + "x" + argv[2] : "6000x4000");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_cli: %s\n", error.what());
        code = 1;
    }
    std::filesystem::remove_all(directory);
    return code;
}
