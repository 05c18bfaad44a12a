// Pictures in files, by the GD library.

#include <fcntl.h>
#include <gd_errors.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <system_error>

#include "GDLibrary.h"
#include "zorhost/Pictures.h"

namespace zorhost {

namespace {

using runtime::GDLibrary;
using runtime::NeedGD;
using Image = std::unique_ptr<gdImage, decltype(GDLibrary::ImageDestroy)>;
using Bytes = std::vector<unsigned char>;

std::string gComplaint;  // the last thing that the GD library had to say

void KeepComplaint(int priority, const char* format, va_list arguments) {
    if (priority > GD_WARNING) return;
    char text[300];
    std::vsnprintf(text, sizeof text, format, arguments);
    gComplaint = text;
    while (!gComplaint.empty() && (gComplaint.back() == '\n' || gComplaint.back() == '\r')) gComplaint.pop_back();
}

// The library says what is wrong to a function of its own; for as long as one of these lives that is ours.
struct Complaints {
    Complaints() {
        gComplaint.clear();
        NeedGD().SetErrorMethod(KeepComplaint);
    }
    ~Complaints() { NeedGD().ClearErrorMethod(); }
    Complaints(const Complaints&) = delete;
    Complaints& operator=(const Complaints&) = delete;

    static std::string Or(const char* otherwise) { return gComplaint.empty() ? otherwise : gComplaint; }
};

[[noreturn]] void ThrowFile(const std::filesystem::path& path, const std::string& problem) {
    throw Error(path.string() + ": " + problem);
}

std::string SystemText(int error) {
    return std::generic_category().message(error);
}

Bytes ReadFile(const std::filesystem::path& path) {
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    if (!file) ThrowFile(path, SystemText(errno));
    Bytes bytes;
    unsigned char part[65536];
    std::size_t count = 0;
    while ((count = std::fread(part, 1, sizeof part, file)) > 0) bytes.insert(bytes.end(), part, part + count);
    const int error = std::ferror(file) ? errno : 0;
    std::fclose(file);
    if (error != 0) ThrowFile(path, SystemText(error));
    if (bytes.size() > INT_MAX) ThrowFile(path, "the file is too large");
    return bytes;
}

bool StartsWith(const Bytes& bytes, std::string_view start) {
    return bytes.size() >= start.size() && std::memcmp(bytes.data(), start.data(), start.size()) == 0;
}

constexpr std::string_view kPngStart = "\x89PNG\r\n\x1A\n";

// Leaves of a PNG what the GD library makes use of. The library below it prints remarks on the other chunks, such as
// colour profiles that it knows better.
Bytes PictureChunks(const Bytes& png) {
    Bytes kept(png.begin(), png.begin() + kPngStart.size());
    std::size_t at = kPngStart.size();
    while (png.size() - at >= 12) {
        const std::size_t length = static_cast<std::size_t>(png[at]) << 24 |
                                   static_cast<std::size_t>(png[at + 1]) << 16 |
                                   static_cast<std::size_t>(png[at + 2]) << 8 | png[at + 3];
        if (length > png.size() - at - 12) break;
        const std::string_view type(reinterpret_cast<const char*>(png.data()) + at + 4, 4);
        const bool isNeeded = (type[0] & 0x20) == 0 || type == "tRNS";
        const auto chunk = png.begin() + static_cast<std::ptrdiff_t>(at);
        if (isNeeded) kept.insert(kept.end(), chunk, chunk + static_cast<std::ptrdiff_t>(length + 12));
        at += length + 12;
    }
    kept.insert(kept.end(), png.begin() + static_cast<std::ptrdiff_t>(at), png.end());  // a part of a chunk, if any
    return kept;
}

Image Decode(Bytes bytes, const std::filesystem::path& path) {
    const bool isPng = StartsWith(bytes, kPngStart);
    if (isPng) bytes = PictureChunks(bytes);
    const int size = static_cast<int>(bytes.size());
    const Complaints complaints;
    Image image(nullptr, NeedGD().ImageDestroy);
    if (isPng) {
        image.reset(NeedGD().ImageCreateFromPngPtr(size, bytes.data()));
        if (!image) ThrowFile(path, "the PNG file is damaged: " + Complaints::Or("it cannot be read"));
    } else if (StartsWith(bytes, "\xFF\xD8\xFF")) {
        // Warnings count, as for a file that ends early: the library fills up what is missing.
        image.reset(NeedGD().ImageCreateFromJpegPtrEx(size, bytes.data(), 0));
        if (!image || !gComplaint.empty())
            ThrowFile(path, "the JPEG file is damaged: " + Complaints::Or("it cannot be read"));
    } else {
        ThrowFile(path, "this is neither a PNG nor a JPEG file");
    }
    if (!gdImageTrueColor(image.get()) && !NeedGD().ImagePaletteToTrueColor(image.get()))
        ThrowFile(path, "out of memory");
    return image;
}

// Opacity of 0 to 255 from the library's transparency of 0 to 127, and back.
unsigned char FromGDAlpha(int alpha) {
    return static_cast<unsigned char>(((gdAlphaMax - alpha) * 255 + gdAlphaMax / 2) / gdAlphaMax);
}
int ToGDAlpha(int opacity) {
    return gdAlphaMax - (opacity * gdAlphaMax + 127) / 255;
}

bool HasTransparency(gdImage* image) {
    for (int y = 0; y < gdImageSY(image); ++y) {
        for (int x = 0; x < gdImageSX(image); ++x) {
            if (gdTrueColorGetAlpha(gdImageTrueColorPixel(image, x, y)) != gdAlphaOpaque) return true;
        }
    }
    return false;
}

PixelRows RowsOf(gdImage* image) {
    PixelRows rows{gdImageSX(image), gdImageSY(image), HasTransparency(image) ? 4 : 3, {}};
    for (int y = 0; y < rows.height; ++y) {
        for (int x = 0; x < rows.width; ++x) {
            const int word = gdImageTrueColorPixel(image, x, y);
            for (const int shift : {16, 8, 0}) rows.bytes.push_back(static_cast<unsigned char>(word >> shift));
            if (rows.channels == 4) rows.bytes.push_back(FromGDAlpha(gdTrueColorGetAlpha(word)));
        }
    }
    return rows;
}

Image ImageOf(const PixelRows& rows) {
    const GDLibrary& gd = NeedGD();
    Image image(gd.ImageCreateTrueColor(rows.width, rows.height), gd.ImageDestroy);
    if (!image) return image;
    gd.ImageSaveAlpha(image.get(), rows.channels == 4 ? 1 : 0);
    const unsigned char* pixel = rows.bytes.data();
    for (int y = 0; y < rows.height; ++y) {
        for (int x = 0; x < rows.width; ++x, pixel += rows.channels) {
            const int alpha = rows.channels == 4 ? ToGDAlpha(pixel[3]) : gdAlphaOpaque;
            gdImageTrueColorPixel(image.get(), x, y) = gdTrueColorAlpha(pixel[0], pixel[1], pixel[2], alpha);
        }
    }
    return image;
}

bool HasSuffix(const std::filesystem::path& path, std::initializer_list<std::string_view> suffixes) {
    std::string suffix = path.extension().string();
    for (char& c : suffix) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    for (const std::string_view known : suffixes) {
        if (suffix == known) return true;
    }
    return false;
}

bool WriteAll(int file, const void* bytes, std::size_t size) {
    const char* next = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t written = write(file, next, size);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        next += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

// Writes beside the file first, and puts that in its place when it is complete. What is no file, such as a pipe, is
// written as it is.
void WriteWhole(const std::filesystem::path& path, const void* bytes, std::size_t size) {
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    const bool direct = std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
    std::filesystem::path target = path;
    if (std::filesystem::is_symlink(path, ignored)) target = std::filesystem::weakly_canonical(path, ignored);
    std::filesystem::path written = target;
    if (!direct) written += ".part-" + std::to_string(getpid());
    const int flags = direct ? O_WRONLY | O_CLOEXEC : O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC;
    const int file = open(written.c_str(), flags, 0666);
    if (file < 0) ThrowFile(path, SystemText(errno));
    // The new file is as open to others as the one that it replaces, where the file system lets that be said.
    if (!direct && std::filesystem::exists(status)) {
        [[maybe_unused]] const int ignoredResult = fchmod(file, static_cast<mode_t>(status.permissions()) & 07777);
    }
    int error = WriteAll(file, bytes, size) ? 0 : errno;
    if (close(file) != 0 && error == 0) error = errno;
    if (!direct && error == 0 && std::rename(written.c_str(), target.c_str()) != 0) error = errno;
    if (error == 0) return;
    if (!direct) unlink(written.c_str());
    ThrowFile(path, SystemText(error));
}

}  // namespace

Object LoadPicture(Host& host, const std::filesystem::path& path, MaskSense sense, Place where) {
    const Image image = Decode(ReadFile(path), path);
    try {
        return MakePicture(host, RowsOf(image.get()), sense, where);
    } catch (const Error& error) {
        ThrowFile(path, error.what());
    }
}

void SavePicture(Host& host, const Object& picture, const std::filesystem::path& path, const SaveOptions& options) {
    const bool isPng = HasSuffix(path, {".png"});
    if (!isPng && !HasSuffix(path, {".jpg", ".jpeg"})) {
        ThrowFile(path, "pictures are saved as .png, .jpg or .jpeg, not as \"" + path.extension().string() + "\"");
    }
    if (options.quality < 1 || options.quality > 100) {
        ThrowFile(path, "a quality of " + std::to_string(options.quality) + " is outside of 1 to 100");
    }
    const bool withMask = isPng && picture && picture.IsA("Picture") && MaskOf(host, picture);
    const PixelRows rows = ReadPicture(host, picture, withMask ? 4 : 3, options.sense);
    const Complaints complaints;
    const Image image = ImageOf(rows);
    if (!image) ThrowFile(path, "out of memory");
    int size = 0;
    const GDLibrary& gd = NeedGD();
    const std::unique_ptr<void, void (*)(void*)> encoded(
        isPng ? gd.ImagePngPtr(image.get(), &size) : gd.ImageJpegPtr(image.get(), &size, options.quality), gd.Free);
    if (!encoded || size <= 0) ThrowFile(path, "cannot be encoded: " + Complaints::Or("out of memory"));
    WriteWhole(path, encoded.get(), static_cast<std::size_t>(size));
}

}  // namespace zorhost
