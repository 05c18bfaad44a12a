#include "Info.h"

#include <cstdio>
#include <limits>
#include <new>
#include <utility>

#include "Commands.h"
#include "Errors.h"
#include "Load.h"
#include "Notes.h"
#include "Storage.h"
#include "codecs/IccProfile.h"
#include "codecs/Iptc.h"
#include "codecs/TextBytes.h"

namespace {

constexpr double kMillimetresOfInch = 25.4;

std::string Formatted(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string SizeText(const PictureHeader& header) {
    std::string text = std::to_string(header.width) + " x " + std::to_string(header.height) + " pixels";
    const double mega = static_cast<double>(header.width) * static_cast<double>(header.height) / 1e6;
    if (mega >= 0.1) text += Formatted(mega >= 100 ? " (%.0f megapixels)" : " (%.1f megapixels)", mega);
    return text;
}

std::string BytesText(std::int64_t bytes) {
    static constexpr const char* kUnits[] = {" (%.1f KiB)", " (%.1f MiB)", " (%.1f GiB)", " (%.1f TiB)"};
    std::string text = std::to_string(bytes) + " bytes";
    if (bytes < 1024) return text;
    double value = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    for (; value >= 1024 && unit < 3; ++unit) value /= 1024;
    return text + Formatted(kUnits[unit], value);
}

std::string ProfileText(const ColourTags& colour) {
    if (!colour.profile.empty()) {
        const std::string name = ProfileName(colour.profile);
        return (name.empty() ? std::string("without a name") : name) + " (" + ProfileSpace(colour.profile) + ", " +
               std::to_string(colour.profile.size()) + " bytes)";
    }
    if (colour.srgbIntent) return "none; marked as sRGB";
    if (!colour.gamma) return "none";
    return Formatted("none; gamma 1/%.4g", 100000.0 / *colour.gamma);
}

std::string ResolutionText(const Resolution& resolution) {
    const std::string numbers = std::to_string(resolution.x) + " x " + std::to_string(resolution.y) + " ";
    switch (resolution.unit) {
        case Resolution::Unit::Unknown:
            break;
        case Resolution::Unit::Aspect:
            return numbers + "(shape of a pixel)";
        case Resolution::Unit::Inch:
            return numbers + "pixels per inch";
        case Resolution::Unit::Centimetre:
            return numbers + "pixels per centimetre";
        case Resolution::Unit::Metre: {
            const Resolution inch = InUnit(resolution, Resolution::Unit::Inch);
            return numbers + "pixels per metre (" + std::to_string(inch.x) + " x " + std::to_string(inch.y) +
                   " per inch)";
        }
    }
    return "not given";
}

std::string PrintedText(const PrintedSize& size) {
    return Formatted("%.1f x ", size.width) + Formatted("%.1f mm", size.height) +
           Formatted(" (%.2f x ", size.width / kMillimetresOfInch) +
           Formatted("%.2f inches)", size.height / kMillimetresOfInch);
}

const char* OrientationText(int orientation) {
    static constexpr const char* kTexts[] = {"as stored",
                                             "mirrored left to right",
                                             "turned by 180 degrees",
                                             "mirrored top to bottom",
                                             "turned right by 90 degrees and mirrored left to right",
                                             "turned right by 90 degrees",
                                             "turned left by 90 degrees and mirrored left to right",
                                             "turned left by 90 degrees"};
    return kTexts[orientation - 1];
}

std::string CameraText(const ExifFacts& facts) {
    // Many makers begin the name of the camera with their own.
    if (facts.make.empty() || facts.model.starts_with(facts.make)) return facts.model;
    return facts.model.empty() ? facts.make : facts.make + " " + facts.model;
}

std::string ExposureText(const ExifFacts& facts) {
    std::string text;
    const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
    if (facts.exposureTime) {
        const double time = *facts.exposureTime;
        add(time < 0.3 ? Formatted("1/%.0f s", 1 / time) : Formatted("%.3g s", time));
    }
    if (facts.aperture) add(Formatted("f/%.3g", *facts.aperture));
    if (facts.sensitivity) add(Formatted("ISO %.0f", *facts.sensitivity));
    if (facts.focalLength) add(Formatted("%.4g mm", *facts.focalLength));
    if (facts.focalLength35) add(Formatted("as %.4g mm on 35 mm film", *facts.focalLength35));
    return text;
}

std::string PlaceText(const ExifFacts& facts) {
    if (!facts.latitude) return {};
    std::string text = Formatted("%.6f, ", *facts.latitude) + Formatted("%.6f", *facts.longitude);
    if (facts.altitude) text += Formatted(", %.0f m above the sea", *facts.altitude);
    return text;
}

std::string BlocksText(const Metadata& metadata) {
    std::string text;
    const auto add = [&text](const char* name, const std::vector<std::uint8_t>& block) {
        if (!block.empty())
            text += (text.empty() ? "" : ", ") + std::string(name) + " (" + std::to_string(block.size()) + " bytes)";
    };
    add("EXIF", metadata.exif);
    add("XMP", metadata.xmp);
    add("IPTC", metadata.iptc);
    return text;
}

// Label and value of all that is told of it.
std::vector<std::pair<std::string, std::string>> MetadataLines(const Metadata& metadata) {
    constexpr std::size_t kLongestLabel = 11, kLongestText = 300;
    const MetadataInfo info = MetadataInfoOf(metadata);
    std::vector<std::pair<std::string, std::string>> lines;
    const auto add = [&lines](const std::string& label, const std::string& value) {
        if (!value.empty()) lines.emplace_back(label, OneLine(value, kLongestText));
    };
    add("camera", CameraText(info.camera));
    add("lens", info.camera.lens);
    add("taken", info.camera.taken);
    add("exposure", ExposureText(info.camera));
    add("place", PlaceText(info.camera));
    for (const auto& [name, text] : info.texts)
        name.size() <= kLongestLabel ? add(OneLine(name, kLongestLabel), text) : add("text", name + ": " + text);
    add("metadata", BlocksText(metadata));
    return lines;
}

std::string InfoAsText(const PictureInfo& info) {
    const PictureHeader& header = info.header;
    std::string text = (info.path == "-" ? "standard input" : info.path) + "\n";
    const auto add = [&text](const std::string& label, const std::string& value) {
        text += "  " + label + std::string(13 - label.size(), ' ') + value + "\n";
    };
    add("format", info.format);
    add("size", SizeText(header));
    add("pixels", std::string(Describe(header.kind).name) + ", " + std::to_string(header.bitDepth) +
                      (header.bitDepth == 1 ? " bit" : " bits") + " a channel" +
                      (header.storage.empty() ? "" : " (" + header.storage + ")"));
    if (header.quality != 0) add("quality", "about " + std::to_string(header.quality));
    if (header.frames > 1) add("pictures", std::to_string(header.frames) + ", of which the first is read");
    add("profile", ProfileText(header.colour));
    add("resolution", ResolutionText(header.resolution));
    if (const PrintedSize printed = PrintedSizeOf(header); printed.width > 0) add("printed", PrintedText(printed));
    if (header.orientation != 1)
        add("orientation", std::to_string(header.orientation) + ", shown " + OrientationText(header.orientation));
    for (const auto& [label, value] : MetadataLines(header.metadata)) add(label, value);
    if (info.fileBytes >= 0) add("file size", BytesText(info.fileBytes));
    add("in memory", BytesText(info.memoryBytes));
    return text;
}

// Sizes beyond every number, which a file can claim, are the largest.
std::int64_t MemoryOf(const PictureHeader& header) {
    const std::int64_t rowBytes = MemoryRowBytes(header.width, Describe(header.kind).channels);
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    return header.height > kMax / rowBytes ? kMax : rowBytes * header.height;
}

PictureInfo Inspect(const std::string& path, Notes& notes) {
    PictureInfo info;
    info.path = path;
    try {
        InputFile file(path);
        const Codec* codec = CodecOfContent(file);
        if (codec == nullptr) FailUnknownContent(file);
        info.header = codec->open(file, notes)->Header();
        info.format = codec->name;
        info.fileBytes = file.Size();
        info.memoryBytes = MemoryOf(info.header);
    } catch (const RunError& error) {
        info.error = error.what();
    } catch (const std::bad_alloc&) {
        info.error = path + ": not enough memory";
    }
    return info;
}

}  // namespace

MetadataInfo MetadataInfoOf(const Metadata& metadata) {
    MetadataInfo info;
    info.camera = FactsOfExif(metadata.exif);
    std::swap(info.texts, info.camera.texts);
    for (auto& text : TextsOfIptc(metadata.iptc)) info.texts.push_back(std::move(text));
    for (const PictureText& text : metadata.texts)
        info.texts.emplace_back(text.keyword == kCommentKeyword ? "comment" : text.keyword, text.text);
    return info;
}

PrintedSize PrintedSizeOf(const PictureHeader& header) {
    double unit = 0;
    switch (header.resolution.unit) {
        case Resolution::Unit::Inch:
            unit = kMillimetresOfInch;
            break;
        case Resolution::Unit::Centimetre:
            unit = 10;
            break;
        case Resolution::Unit::Metre:
            unit = 1000;
            break;
        default:
            return {};
    }
    if (header.resolution.x == 0 || header.resolution.y == 0) return {};
    return {static_cast<double>(header.width) / header.resolution.x * unit,
            static_cast<double>(header.height) / header.resolution.y * unit};
}

bool PrintInfo(const std::vector<std::string>& paths, bool json, Notes& notes) {
    bool good = true;
    bool printed = false;
    std::vector<PictureInfo> infos;
    for (const std::string& path : paths) {
        PictureInfo info = Inspect(path, notes);
        if (!info.error.empty()) {
            PrintLine(info.error);
            good = false;
        } else if (!json) {
            PrintText((printed ? "\n" : "") + InfoAsText(info));
            printed = true;
        }
        if (json) infos.push_back(std::move(info));
    }
    if (json) PrintText(InfoAsJson(infos));
    return good;
}
