#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>

#include "Errors.h"
#include "Raster.h"
#include "codecs/Jpeg.h"
#include "codecs/Picture.h"
#include "codecs/Png.h"
#include "codecs/Pnm.h"
#include "codecs/Tiff.h"
#include "codecs/Webp.h"
#include "files/InputFile.h"

namespace {

bool IsPng(const std::uint8_t* head, std::size_t size) {
    return size >= 8 && std::memcmp(head, "\x89PNG\r\n\x1A\n", 8) == 0;
}

bool IsJpeg(const std::uint8_t* head, std::size_t size) {
    return size >= 3 && head[0] == 0xFF && head[1] == 0xD8 && head[2] == 0xFF;
}

bool IsWebp(const std::uint8_t* head, std::size_t size) {
    return size >= 12 && std::memcmp(head, "RIFF", 4) == 0 && std::memcmp(head + 8, "WEBP", 4) == 0;
}

// Both byte orders, each with places of 32 and of 64 bits.
bool IsTiff(const std::uint8_t* head, std::size_t size) {
    for (const char* mark : {"II*\0", "MM\0*", "II+\0", "MM\0+"})
        if (size >= 4 && std::memcmp(head, mark, 4) == 0) return true;
    return false;
}

bool IsPnm(char digit, const std::uint8_t* head, std::size_t size) {
    return size >= 3 && head[0] == 'P' && head[1] == static_cast<std::uint8_t>(digit) &&
           (std::isspace(head[2]) != 0 || head[2] == '#');
}

// Each of the three has a form in plain text and one in bytes.
bool IsPbm(const std::uint8_t* head, std::size_t size) {
    return IsPnm('1', head, size) || IsPnm('4', head, size);
}

bool IsPgm(const std::uint8_t* head, std::size_t size) {
    return IsPnm('2', head, size) || IsPnm('5', head, size);
}

bool IsPpm(const std::uint8_t* head, std::size_t size) {
    return IsPnm('3', head, size) || IsPnm('6', head, size);
}

bool IsPam(const std::uint8_t* head, std::size_t size) {
    return IsPnm('7', head, size);
}

bool IsNothing(const std::uint8_t*, std::size_t) {
    return false;
}

const char* PngRefuses(PixelKind kind) {
    return kind == PixelKind::CMYK ? "PNG cannot hold CMYK; --srgb makes RGB of CMYK pictures" : nullptr;
}

const char* WebpRefuses(PixelKind kind) {
    return kind == PixelKind::CMYK ? "WebP cannot hold CMYK; --srgb makes RGB of CMYK pictures" : nullptr;
}

const char* PgmRefuses(PixelKind kind) {
    return Describe(kind).channels > 2 ? "PGM holds gray pictures only; 'convert G' makes one" : nullptr;
}

const char* PpmRefuses(PixelKind kind) {
    return kind == PixelKind::CMYK ? "PPM cannot hold CMYK; --srgb makes RGB of CMYK pictures" : nullptr;
}

const char* TakesAll(PixelKind) {
    return nullptr;
}

PixelKind AsItIs(PixelKind kind) {
    return kind;
}

PixelKind WithoutAlpha(PixelKind kind) {
    switch (kind) {
        case PixelKind::GrayAlpha:
            return PixelKind::Gray;
        case PixelKind::RGBA:
            return PixelKind::RGB;
        default:
            return kind;
    }
}

PixelKind WithoutGray(PixelKind kind) {
    return Describe(kind).hasAlpha ? PixelKind::RGBA : PixelKind::RGB;
}

PixelKind AlwaysRgb(PixelKind) {
    return PixelKind::RGB;
}

std::string Lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

double UnitsPerMetre(Resolution::Unit unit) {
    switch (unit) {
        case Resolution::Unit::Inch:
            return 1 / 0.0254;
        case Resolution::Unit::Centimetre:
            return 100;
        default:
            return 1;
    }
}

}  // namespace

Resolution InUnit(const Resolution& resolution, Resolution::Unit unit) {
    if (resolution.unit == Resolution::Unit::Unknown || resolution.unit == Resolution::Unit::Aspect) return resolution;
    const double factor = UnitsPerMetre(resolution.unit) / UnitsPerMetre(unit);
    const auto convert = [factor](std::uint32_t count) {
        return static_cast<std::uint32_t>(std::min(std::round(count * factor), 4294967295.0));
    };
    return unit == resolution.unit ? resolution : Resolution{unit, convert(resolution.x), convert(resolution.y)};
}

void PictureReader::SkipRows(std::int64_t count) {
    std::vector<std::uint8_t> row(static_cast<std::size_t>(header_.width) *
                                  static_cast<unsigned>(Describe(header_.kind).channels));
    for (; count > 0; --count) ReadRow(row.data());
}

void PictureReader::ReadRows(Raster& image, const RowTick& tick) {
    const int height = image.Shape().height;
    for (int y = 0; y < height; ++y) {
        ReadRow(image.Row(y));
        tick(y + 1, height);
    }
}

const std::vector<Codec>& Codecs() {
    constexpr std::int64_t kMaxSide = 2147483647;  // of an image
    // What JPEG keeps beside the pixels stands in parts of at most 65533 bytes, each with a name before it.
    constexpr MetadataRoom kInJpeg{65533 - 6, 65533 - 29, 65533 - 14 - 13, 65533, 0};
    constexpr std::size_t kAny = kMaxMetadataBytes;
    constexpr MetadataRoom kInPng{kAny, kAny, kAny, kAny, kAny};
    constexpr MetadataRoom kInWebp{kAny, kAny, 0, 0, 0}, kInTiff{kAny, kAny, kAny, 0, 0};
    static const std::vector<Codec> codecs = {
        {"PNG", {".png"}, kMaxSide, IsPng, OpenPng, PngRefuses, AsItIs, true, true, WritePng, 10, 6, kInPng},
        {"JPEG",
         {".jpg", ".jpeg"},
         65500,
         IsJpeg,
         OpenJpeg,
         TakesAll,
         WithoutAlpha,
         true,
         false,
         WriteJpeg,
         2,
         2,
         kInJpeg},
        {"WebP", {".webp"}, 16383, IsWebp, OpenWebp, WebpRefuses, WithoutGray, true, true, WriteWebp, 6, 45, kInWebp},
        {"TIFF",
         {".tif", ".tiff"},
         kMaxSide,
         IsTiff,
         OpenTiff,
         TakesAll,
         AsItIs,
         true,
         true,
         WriteTiff,
         3,
         40,
         kInTiff},
        {"PBM", {}, kMaxSide, IsPbm, OpenPnm, TakesAll, AsItIs, false, true, nullptr},
        {"PGM", {".pgm"}, kMaxSide, IsPgm, OpenPnm, PgmRefuses, WithoutAlpha, false, true, WritePgm},
        {"PPM", {".ppm"}, kMaxSide, IsPpm, OpenPnm, PpmRefuses, AlwaysRgb, false, true, WritePpm},
        {"PAM", {".pam"}, kMaxSide, IsPam, OpenPnm, TakesAll, AsItIs, false, true, WritePam},
        // The one of the three that fits the picture; as such no file tells itself.
        {"PNM", {".pnm"}, kMaxSide, IsNothing, OpenPnm, TakesAll, AsItIs, false, true, WritePnm},
    };
    return codecs;
}

const Codec* CodecOfContent(InputFile& file) {
    std::array<std::uint8_t, 16> head{};
    const std::size_t size = file.Peek(head.data(), head.size());
    for (const Codec& codec : Codecs())
        if (codec.recognises(head.data(), size)) return &codec;
    return nullptr;
}

void FailUnknownContent(InputFile& file) {
    std::uint8_t first = 0;
    if (file.Error() != 0) FailSystem(file.Path(), file.Error());
    if (file.Peek(&first, 1) == 0) FailFile(file.Path(), "the file is empty");
    std::string names;
    for (const Codec& codec : Codecs())
        if (codec.recognises != IsNothing) names += (names.empty() ? "" : ", ") + std::string(codec.name);
    FailFile(file.Path(), "not a picture of a known format (" + names + ")");
}

const Codec* CodecOfSuffix(const std::string& path) {
    const std::string lower = Lower(path);
    for (const Codec& codec : Codecs())
        for (const std::string& suffix : codec.suffixes)
            if (codec.write != nullptr && lower.ends_with(suffix)) return &codec;
    return nullptr;
}

std::string KnownSuffixes() {
    std::string list;
    for (const Codec& codec : Codecs())
        for (const std::string& suffix : codec.suffixes)
            if (codec.write != nullptr) list += (list.empty() ? "" : ", ") + suffix;
    return list;
}

const Codec* CodecOfName(const std::string& name) {
    const std::string lower = Lower(name);
    for (const Codec& codec : Codecs()) {
        if (codec.write == nullptr) continue;
        if (Lower(codec.name) == lower) return &codec;
        for (const std::string& suffix : codec.suffixes)
            if (suffix == "." + lower) return &codec;
    }
    return nullptr;
}

std::vector<std::string> WritableNames() {
    std::vector<std::string> names;
    for (const Codec& codec : Codecs())
        if (codec.write != nullptr) names.push_back(Lower(codec.name));
    return names;
}
