#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>

#include "Errors.h"
#include "codecs/Jpeg.h"
#include "codecs/Picture.h"
#include "codecs/Png.h"
#include "files/InputFile.h"

namespace {

bool IsPng(const std::uint8_t* head, std::size_t size) {
    return size >= 8 && std::memcmp(head, "\x89PNG\r\n\x1A\n", 8) == 0;
}

bool IsJpeg(const std::uint8_t* head, std::size_t size) {
    return size >= 3 && head[0] == 0xFF && head[1] == 0xD8 && head[2] == 0xFF;
}

const char* PngRefuses(PixelKind kind) {
    return kind == PixelKind::CMYK ? "PNG cannot hold CMYK" : nullptr;
}

const char* JpegRefuses(PixelKind) {
    return nullptr;
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

const std::vector<Codec>& Codecs() {
    static const std::vector<Codec> codecs = {
        {"PNG", {".png"}, 2147483647, IsPng, OpenPng, PngRefuses, true, WritePng},
        {"JPEG", {".jpg", ".jpeg"}, 65500, IsJpeg, OpenJpeg, JpegRefuses, false, WriteJpeg},
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
    for (const Codec& codec : Codecs()) names += (names.empty() ? "" : ", ") + std::string(codec.name);
    FailFile(file.Path(), "not a picture of a known format (" + names + ")");
}

const Codec* CodecOfSuffix(const std::string& path) {
    std::string lower = path;
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (const Codec& codec : Codecs())
        for (const std::string& suffix : codec.suffixes)
            if (lower.ends_with(suffix)) return &codec;
    return nullptr;
}

std::string KnownSuffixes() {
    std::string list;
    for (const Codec& codec : Codecs())
        for (const std::string& suffix : codec.suffixes) list += (list.empty() ? "" : ", ") + suffix;
    return list;
}
