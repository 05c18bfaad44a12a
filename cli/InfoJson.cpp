#include <nlohmann/json.hpp>

#include "Info.h"
#include "codecs/IccProfile.h"

namespace {

using Json = nlohmann::ordered_json;

const char* UnitName(Resolution::Unit unit) {
    switch (unit) {
        case Resolution::Unit::Inch:
            return "inch";
        case Resolution::Unit::Centimetre:
            return "centimetre";
        case Resolution::Unit::Metre:
            return "metre";
        default:
            return "aspect";
    }
}

Json Profile(const ColourTags& colour) {
    if (colour.profile.empty()) return nullptr;
    return {{"name", ProfileName(colour.profile)},
            {"space", ProfileSpace(colour.profile)},
            {"bytes", colour.profile.size()}};
}

Json ResolutionOf(const Resolution& resolution) {
    if (resolution.unit == Resolution::Unit::Unknown) return nullptr;
    return {{"x", resolution.x}, {"y", resolution.y}, {"unit", UnitName(resolution.unit)}};
}

Json Printed(const PictureHeader& header) {
    const PrintedSize size = PrintedSizeOf(header);
    if (size.width <= 0) return nullptr;
    return {{"width", size.width}, {"height", size.height}, {"unit", "millimetre"}};
}

Json TextOrNull(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

Json NumberOrNull(const std::optional<double>& number) {
    return number ? Json(*number) : Json();
}

// Null where the file holds none, so that programs can tell at one place.
Json MetadataOf(const Metadata& metadata) {
    if (metadata.Empty()) return nullptr;
    const MetadataInfo info = MetadataInfoOf(metadata);
    const ExifFacts& camera = info.camera;
    Json object;
    object["make"] = TextOrNull(camera.make);
    object["model"] = TextOrNull(camera.model);
    object["lens"] = TextOrNull(camera.lens);
    object["taken"] = TextOrNull(camera.taken);
    object["exposureTime"] = NumberOrNull(camera.exposureTime);
    object["aperture"] = NumberOrNull(camera.aperture);
    object["sensitivity"] = NumberOrNull(camera.sensitivity);
    object["focalLength"] = NumberOrNull(camera.focalLength);
    object["focalLength35"] = NumberOrNull(camera.focalLength35);
    object["latitude"] = NumberOrNull(camera.latitude);
    object["longitude"] = NumberOrNull(camera.longitude);
    object["altitude"] = NumberOrNull(camera.altitude);
    object["texts"] = Json::array();
    for (const auto& [name, text] : info.texts) object["texts"].push_back({{"name", name}, {"text", text}});
    object["exifBytes"] = metadata.exif.size();
    object["xmpBytes"] = metadata.xmp.size();
    object["iptcBytes"] = metadata.iptc.size();
    return object;
}

Json Storage(const std::string& text) {
    Json parts = Json::array();
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(", ", at), text.size());
        parts.push_back(text.substr(at, end - at));
        at = end + 2;
    }
    return parts;
}

Json ObjectOf(const PictureInfo& info) {
    if (!info.error.empty()) return {{"file", info.path}, {"error", info.error}};
    const PictureHeader& header = info.header;
    const PixelKindRow& kind = Describe(header.kind);
    Json object;
    object["file"] = info.path;
    object["format"] = info.format;
    object["width"] = header.width;
    object["height"] = header.height;
    object["kind"] = kind.name;
    object["channels"] = kind.channels;
    object["alpha"] = kind.hasAlpha;
    object["bitDepth"] = header.bitDepth;
    object["storage"] = Storage(header.storage);
    object["quality"] = header.quality != 0 ? Json(header.quality) : Json();
    object["pictures"] = header.frames;
    object["profile"] = Profile(header.colour);
    object["sRGB"] = header.colour.srgbIntent.has_value();
    object["gamma"] = header.colour.gamma ? Json(*header.colour.gamma / 100000.0) : Json();
    object["resolution"] = ResolutionOf(header.resolution);
    object["printed"] = Printed(header);
    object["orientation"] = header.orientation;
    object["metadata"] = MetadataOf(header.metadata);
    object["fileBytes"] = info.fileBytes >= 0 ? Json(info.fileBytes) : Json();
    object["memoryBytes"] = info.memoryBytes;
    return object;
}

}  // namespace

std::string InfoAsJson(const std::vector<PictureInfo>& infos) {
    Json array = Json::array();
    for (const PictureInfo& info : infos) array.push_back(ObjectOf(info));
    return array.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}
