#include <cinttypes>
#include <cstdio>

#include "Commands.h"
#include "Errors.h"
#include "codecs/IccProfile.h"
#include "codecs/Picture.h"
#include "files/InputFile.h"

namespace {

std::string ProfileText(const ColourTags& colour) {
    if (!colour.profile.empty()) {
        const std::string name = ProfileName(colour.profile);
        return (name.empty() ? std::string("without a name") : name) + " (" + ProfileSpace(colour.profile) + ", " +
               std::to_string(colour.profile.size()) + " bytes)";
    }
    if (colour.srgbIntent) return "none; marked as sRGB";
    if (!colour.gamma) return "none";
    char text[48];
    std::snprintf(text, sizeof text, "none; gamma 1/%.4g", 100000.0 / *colour.gamma);
    return text;
}

std::string ResolutionText(const Resolution& resolution) {
    const char* unit = "";
    switch (resolution.unit) {
        case Resolution::Unit::Unknown:
            return "not given";
        case Resolution::Unit::Aspect:
            unit = "(shape of a pixel)";
            break;
        case Resolution::Unit::Inch:
            unit = "pixels per inch";
            break;
        case Resolution::Unit::Centimetre:
            unit = "pixels per centimetre";
            break;
        case Resolution::Unit::Metre: {
            const Resolution inch = InUnit(resolution, Resolution::Unit::Inch);
            return std::to_string(resolution.x) + " x " + std::to_string(resolution.y) + " pixels per metre (" +
                   std::to_string(inch.x) + " x " + std::to_string(inch.y) + " per inch)";
        }
    }
    return std::to_string(resolution.x) + " x " + std::to_string(resolution.y) + " " + unit;
}

}  // namespace

void PrintInfo(const std::string& path, Notes& notes) {
    InputFile file(path);
    const Codec* codec = CodecOfContent(file);
    if (codec == nullptr) FailUnknownContent(file);
    const PictureHeader header = codec->open(file, notes)->Header();
    const PixelKindRow& kind = Describe(header.kind);
    std::string text = path + "\n";
    const auto add = [&text](const char* label, const std::string& value) {
        text += "  " + std::string(label) + std::string(12 - std::string(label).size(), ' ') + value + "\n";
    };
    add("format", codec->name);
    add("size", std::to_string(header.width) + " x " + std::to_string(header.height) + " pixels");
    add("pixels", std::string(kind.name) + ", " + std::to_string(header.bitDepth) + " bits a channel" +
                      (header.storage.empty() ? "" : " (" + header.storage + ")"));
    add("profile", ProfileText(header.colour));
    add("resolution", ResolutionText(header.resolution));
    if (header.orientation != 1) add("orientation", std::to_string(header.orientation));
    if (file.Size() >= 0) add("file size", std::to_string(file.Size()) + " bytes");
    PrintText(text);
}
