#include "codecs/Exif.h"

#include <libexif/exif-data.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "codecs/TextBytes.h"

namespace {

constexpr std::array<std::uint8_t, 6> kPrefix = {'E', 'x', 'i', 'f', 0, 0};

// How the pixels of a TIFF file are stored, which says nothing true in any other file; blocks that have their own
// place.
constexpr int kStorageTags[] = {0x102, 0x103, 0x106, 0x10A, 0x111, 0x115, 0x116, 0x117,  0x11C,  0x13D,  0x140, 0x142,
                                0x143, 0x144, 0x145, 0x14A, 0x152, 0x153, 0x2BC, 0x83BB, 0x8649, 0x8773, 0xFE,  0xFF};

struct FreeExif {
    void operator()(ExifData* data) const { exif_data_unref(data); }
};
using Exif = std::unique_ptr<ExifData, FreeExif>;

// Keeps what it does not know as it is.
Exif NewExif() {
    Exif exif(exif_data_new());
    if (exif == nullptr) throw std::bad_alloc();
    exif_data_unset_option(exif.get(), EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
    exif_data_unset_option(exif.get(), EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
    exif_data_set_byte_order(exif.get(), EXIF_BYTE_ORDER_INTEL);
    return exif;
}

Exif Parsed(const std::uint8_t* bytes, std::size_t size) {
    Exif exif = NewExif();
    if (size >= kPrefix.size() && std::equal(kPrefix.begin(), kPrefix.end(), bytes)) {
        bytes += kPrefix.size();
        size -= kPrefix.size();
    }
    if (size < 8 || size > kMaxExifBytes) return exif;
    std::vector<std::uint8_t> whole(kPrefix.begin(), kPrefix.end());
    whole.insert(whole.end(), bytes, bytes + size);
    exif_data_load_data(exif.get(), whole.data(), static_cast<unsigned>(whole.size()));
    return exif;
}

Exif Parsed(const std::vector<std::uint8_t>& block) {
    return Parsed(block.data(), block.size());
}

bool HasEntries(const ExifData& exif) {
    return std::any_of(std::begin(exif.ifd), std::end(exif.ifd),
                       [](const ExifContent* content) { return content != nullptr && content->count > 0; });
}

std::vector<std::uint8_t> Saved(ExifData* exif) {
    if (!HasEntries(*exif)) return {};
    unsigned char* bytes = nullptr;
    unsigned size = 0;
    exif_data_save_data(exif, &bytes, &size);
    const std::unique_ptr<unsigned char, decltype(&std::free)> owner(bytes, std::free);
    if (bytes == nullptr || size <= kPrefix.size()) return {};
    return {bytes + kPrefix.size(), bytes + size};
}

// Entries are one of a directory by a tag; null: there is none.
ExifEntry* Find(const ExifData& exif, ExifIfd directory, int tag) {
    return exif_content_get_entry(exif.ifd[directory], static_cast<ExifTag>(tag));
}

void Remove(const ExifData& exif, ExifIfd directory, int tag) {
    if (ExifEntry* entry = Find(exif, directory, tag)) exif_content_remove_entry(exif.ifd[directory], entry);
}

void RemoveAll(ExifContent* content) {
    while (content->count > 0) {
        const unsigned before = content->count;
        exif_content_remove_entry(content, content->entries[before - 1]);
        if (content->count == before) return;
    }
}

// A new entry in place of the one that is there. Its bytes are yet to be filled.
ExifEntry* Replace(const ExifData& exif, ExifIfd directory, int tag, ExifFormat format, unsigned long count) {
    Remove(exif, directory, tag);
    const std::unique_ptr<ExifMem, decltype(&exif_mem_unref)> memory(exif_mem_new_default(), exif_mem_unref);
    ExifEntry* entry = memory == nullptr ? nullptr : exif_entry_new_mem(memory.get());
    if (entry == nullptr) throw std::bad_alloc();
    entry->tag = static_cast<ExifTag>(tag);
    entry->format = format;
    entry->components = count;
    const unsigned long size = count * exif_format_get_size(format);
    entry->data = static_cast<unsigned char*>(exif_mem_alloc(memory.get(), static_cast<ExifLong>(std::max(size, 1UL))));
    if (entry->data == nullptr) {
        exif_entry_unref(entry);
        throw std::bad_alloc();
    }
    entry->size = static_cast<unsigned>(size);
    exif_content_add_entry(exif.ifd[directory], entry);
    exif_entry_unref(entry);  // the directory holds it
    return entry;
}

void SetShort(ExifData* exif, ExifIfd directory, int tag, int value) {
    ExifEntry* entry = Replace(*exif, directory, tag, EXIF_FORMAT_SHORT, 1);
    exif_set_short(entry->data, exif_data_get_byte_order(exif), static_cast<ExifShort>(value));
}

void SetLong(ExifData* exif, ExifIfd directory, int tag, std::int64_t value) {
    ExifEntry* entry = Replace(*exif, directory, tag, EXIF_FORMAT_LONG, 1);
    exif_set_long(entry->data, exif_data_get_byte_order(exif), static_cast<ExifLong>(value));
}

void SetFraction(ExifData* exif, ExifIfd directory, int tag, std::uint32_t value) {
    ExifEntry* entry = Replace(*exif, directory, tag, EXIF_FORMAT_RATIONAL, 1);
    exif_set_rational(entry->data, exif_data_get_byte_order(exif), {value, 1});
}

void SetResolution(ExifData* exif, const Resolution& resolution) {
    const Resolution::Unit unit =
        resolution.unit == Resolution::Unit::Centimetre ? Resolution::Unit::Centimetre : Resolution::Unit::Inch;
    const Resolution fit = InUnit(resolution, unit);
    if (fit.unit == Resolution::Unit::Unknown || fit.x < 1 || fit.y < 1) return;
    SetFraction(exif, EXIF_IFD_0, EXIF_TAG_X_RESOLUTION, fit.x);
    SetFraction(exif, EXIF_IFD_0, EXIF_TAG_Y_RESOLUTION, fit.y);
    SetShort(exif, EXIF_IFD_0, EXIF_TAG_RESOLUTION_UNIT,
             fit.unit == Resolution::Unit::Aspect ? 1
             : fit.unit == Resolution::Unit::Inch ? 2
                                                  : 3);
}

// One number of an entry; nothing where it has none there, or a fraction without value.
std::optional<double> Number(const ExifData& exif, ExifIfd directory, int tag, unsigned index = 0) {
    const ExifEntry* entry = Find(exif, directory, tag);
    if (entry == nullptr || entry->data == nullptr) return {};
    const unsigned bytes = exif_format_get_size(entry->format);
    if (bytes == 0 || index >= entry->components || entry->size < (index + 1) * bytes) return {};
    const unsigned char* at = entry->data + std::size_t{index} * bytes;
    const ExifByteOrder order = exif_data_get_byte_order(const_cast<ExifData*>(&exif));
    switch (entry->format) {
        case EXIF_FORMAT_BYTE:
            return *at;
        case EXIF_FORMAT_SHORT:
            return exif_get_short(at, order);
        case EXIF_FORMAT_LONG:
            return exif_get_long(at, order);
        case EXIF_FORMAT_RATIONAL: {
            const ExifRational value = exif_get_rational(at, order);
            if (value.denominator == 0) return {};
            return static_cast<double>(value.numerator) / value.denominator;
        }
        case EXIF_FORMAT_SRATIONAL: {
            const ExifSRational value = exif_get_srational(at, order);
            if (value.denominator == 0) return {};
            return static_cast<double>(value.numerator) / value.denominator;
        }
        default:
            return {};
    }
}

std::optional<double> Positive(const ExifData& exif, ExifIfd directory, int tag) {
    const std::optional<double> value = Number(exif, directory, tag);
    return value && *value > 0 ? value : std::nullopt;
}

std::string Text(const ExifData& exif, ExifIfd directory, int tag) {
    const ExifEntry* entry = Find(exif, directory, tag);
    if (entry == nullptr || entry->data == nullptr || entry->format != EXIF_FORMAT_ASCII) return {};
    return TextOfBytes(entry->data, entry->size);
}

// Eight bytes that name the letters, then the text.
std::string UserComment(const ExifData& exif) {
    const ExifEntry* entry = Find(exif, EXIF_IFD_EXIF, EXIF_TAG_USER_COMMENT);
    if (entry == nullptr || entry->data == nullptr || entry->size <= 8) return {};
    if (std::memcmp(entry->data, "ASCII\0\0\0", 8) != 0 && std::memcmp(entry->data, "\0\0\0\0\0\0\0\0", 8) != 0)
        return {};
    return TextOfBytes(entry->data + 8, entry->size - 8);
}

// Degrees, minutes and seconds with a letter for the side; `most` degrees are the last that can be.
std::optional<double> Angle(const ExifData& exif, int tag, int sideTag, char other, double most) {
    std::optional<double> angle;
    for (unsigned i = 0; i < 3; ++i) {
        const std::optional<double> part = Number(exif, EXIF_IFD_GPS, tag, i);
        if (!part) break;
        static constexpr double kParts[] = {1, 60, 3600};
        angle = angle.value_or(0) + *part / kParts[i];
    }
    if (!angle || *angle < 0 || *angle > most) return {};
    return Text(exif, EXIF_IFD_GPS, sideTag).starts_with(other) ? -*angle : *angle;
}

// "2024:05:17 09:30:00" as people write it; other texts as they are.
std::string Taken(const ExifData& exif) {
    std::string text = Text(exif, EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_ORIGINAL);
    if (text.empty()) text = Text(exif, EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_DIGITIZED);
    if (text.size() == 19 && text[4] == ':' && text[7] == ':') text[4] = text[7] = '-';
    // Cameras without a clock leave the places of the digits empty.
    if (std::none_of(text.begin(), text.end(), [](char c) { return c >= '1' && c <= '9'; })) return {};
    const std::string zone = Text(exif, EXIF_IFD_EXIF, EXIF_TAG_OFFSET_TIME_ORIGINAL);
    return zone.empty() ? text : text + " " + zone;
}

std::vector<ExifValue> Values(const ExifContent& content) {
    std::vector<ExifValue> values;
    for (unsigned i = 0; i < content.count; ++i) {
        const ExifEntry& entry = *content.entries[i];
        const std::size_t size = entry.components * exif_format_get_size(entry.format);
        if (entry.data == nullptr || size == 0 || size > entry.size) continue;
        values.push_back({static_cast<std::uint16_t>(entry.tag),
                          static_cast<std::uint16_t>(entry.format),
                          static_cast<std::uint32_t>(entry.components),
                          {entry.data, entry.data + size}});
    }
    return values;
}

void AddValues(const ExifData& exif, ExifIfd directory, const std::vector<ExifValue>& values) {
    for (const ExifValue& value : values) {
        const auto format = static_cast<ExifFormat>(value.type);
        if (value.bytes.empty() || value.count * std::size_t{exif_format_get_size(format)} != value.bytes.size())
            continue;
        std::memcpy(Replace(exif, directory, value.tag, format, value.count)->data, value.bytes.data(),
                    value.bytes.size());
    }
}

ExifTags TagsOf(const ExifData& exif) {
    ExifTags tags;
    const double orientation = Number(exif, EXIF_IFD_0, EXIF_TAG_ORIENTATION).value_or(1);
    if (orientation >= 1 && orientation <= 8) tags.orientation = static_cast<int>(orientation);
    const auto pixels = [&exif](int tag) -> std::uint32_t {
        const double value = std::round(Number(exif, EXIF_IFD_0, tag).value_or(0));
        return value >= 1 && value <= 1000000 ? static_cast<std::uint32_t>(value) : 0;
    };
    Resolution& resolution = tags.resolution;
    resolution.x = pixels(EXIF_TAG_X_RESOLUTION);
    resolution.y = pixels(EXIF_TAG_Y_RESOLUTION);
    if (resolution.x == 0 || resolution.y == 0) return tags;
    const double unit = Number(exif, EXIF_IFD_0, EXIF_TAG_RESOLUTION_UNIT).value_or(2);
    if (unit == 1 && resolution.x != resolution.y) resolution.unit = Resolution::Unit::Aspect;
    if (unit == 2) resolution.unit = Resolution::Unit::Inch;
    if (unit == 3) resolution.unit = Resolution::Unit::Centimetre;
    return tags;
}

}  // namespace

ExifTags ReadExif(const std::uint8_t* bytes, std::size_t size) {
    return TagsOf(*Parsed(bytes, size));
}

bool HoldsExif(const std::vector<std::uint8_t>& block) {
    const Exif exif = Parsed(block);
    return HasEntries(*exif) || exif->data != nullptr;
}

ExifFacts FactsOfExif(const std::vector<std::uint8_t>& block) {
    const Exif owner = Parsed(block);
    const ExifData& exif = *owner;
    ExifFacts facts;
    facts.make = Text(exif, EXIF_IFD_0, EXIF_TAG_MAKE);
    facts.model = Text(exif, EXIF_IFD_0, EXIF_TAG_MODEL);
    facts.lens = Text(exif, EXIF_IFD_EXIF, EXIF_TAG_LENS_MODEL);
    facts.taken = Taken(exif);
    facts.exposureTime = Positive(exif, EXIF_IFD_EXIF, EXIF_TAG_EXPOSURE_TIME);
    facts.aperture = Positive(exif, EXIF_IFD_EXIF, EXIF_TAG_FNUMBER);
    facts.sensitivity = Positive(exif, EXIF_IFD_EXIF, EXIF_TAG_ISO_SPEED_RATINGS);
    facts.focalLength = Positive(exif, EXIF_IFD_EXIF, EXIF_TAG_FOCAL_LENGTH);
    facts.focalLength35 = Positive(exif, EXIF_IFD_EXIF, EXIF_TAG_FOCAL_LENGTH_IN_35MM_FILM);
    facts.latitude = Angle(exif, EXIF_TAG_GPS_LATITUDE, EXIF_TAG_GPS_LATITUDE_REF, 'S', 90);
    facts.longitude = Angle(exif, EXIF_TAG_GPS_LONGITUDE, EXIF_TAG_GPS_LONGITUDE_REF, 'W', 180);
    if (!facts.latitude || !facts.longitude) facts.latitude = facts.longitude = std::nullopt;
    facts.altitude = Number(exif, EXIF_IFD_GPS, EXIF_TAG_GPS_ALTITUDE);
    if (facts.altitude && Number(exif, EXIF_IFD_GPS, EXIF_TAG_GPS_ALTITUDE_REF) == 1.0)
        facts.altitude = -*facts.altitude;
    for (const auto& [name, tag] : {std::pair{"description", EXIF_TAG_IMAGE_DESCRIPTION},
                                    {"artist", EXIF_TAG_ARTIST},
                                    {"copyright", EXIF_TAG_COPYRIGHT},
                                    {"software", EXIF_TAG_SOFTWARE}})
        if (std::string text = Text(exif, EXIF_IFD_0, tag); !text.empty())
            facts.texts.emplace_back(name, std::move(text));
    if (std::string text = UserComment(exif); !text.empty()) facts.texts.emplace_back("comment", std::move(text));
    return facts;
}

std::vector<std::uint8_t> TrueExif(const std::vector<std::uint8_t>& block, const ExifTruth& truth) {
    const Exif owner = Parsed(block);
    ExifData* exif = owner.get();
    if (!HasEntries(*exif)) return {};
    RemoveAll(exif->ifd[EXIF_IFD_1]);
    std::free(exif->data);  // of the small copy, which libexif leaves to who reads it
    exif->data = nullptr;
    exif->size = 0;
    for (const int tag : kStorageTags) Remove(*exif, EXIF_IFD_0, tag);
    if (truth.withoutPlace) RemoveAll(exif->ifd[EXIF_IFD_GPS]);
    if (!HasEntries(*exif)) return {};
    if (Find(*exif, EXIF_IFD_0, EXIF_TAG_ORIENTATION) != nullptr) SetShort(exif, EXIF_IFD_0, EXIF_TAG_ORIENTATION, 1);
    for (const auto& [directory, tag, value] : {std::tuple{EXIF_IFD_0, int{EXIF_TAG_IMAGE_WIDTH}, truth.width},
                                                {EXIF_IFD_0, int{EXIF_TAG_IMAGE_LENGTH}, truth.height},
                                                {EXIF_IFD_EXIF, int{EXIF_TAG_PIXEL_X_DIMENSION}, truth.width},
                                                {EXIF_IFD_EXIF, int{EXIF_TAG_PIXEL_Y_DIMENSION}, truth.height}})
        if (Find(*exif, directory, tag) != nullptr) SetLong(exif, directory, tag, value);
    if (truth.colours != ColourFate::Kept) {
        constexpr int kSrgb = 1, kToldElsewhere = 65535;
        if (Find(*exif, EXIF_IFD_EXIF, EXIF_TAG_COLOR_SPACE) != nullptr)
            SetShort(exif, EXIF_IFD_EXIF, EXIF_TAG_COLOR_SPACE,
                     truth.colours == ColourFate::Srgb ? kSrgb : kToldElsewhere);
        RemoveAll(exif->ifd[EXIF_IFD_INTEROPERABILITY]);  // a second word for the same
    }
    // Fractions stay where they mean the same.
    const Resolution told = TagsOf(*exif).resolution;
    const bool measured = told.unit == Resolution::Unit::Inch || told.unit == Resolution::Unit::Centimetre;
    const Resolution wanted = measured ? InUnit(truth.resolution, told.unit) : truth.resolution;
    if (told.unit != wanted.unit || told.x != wanted.x || told.y != wanted.y) SetResolution(exif, wanted);
    return Saved(exif);
}

std::vector<std::uint8_t> MakeExif(const Resolution& resolution) {
    const Exif exif = NewExif();
    SetResolution(exif.get(), resolution);
    return Saved(exif.get());
}

ExifDirectories TakeExifApart(const std::vector<std::uint8_t>& block) {
    const Exif exif = Parsed(block);
    exif_data_set_byte_order(exif.get(), EXIF_BYTE_ORDER_INTEL);
    return {Values(*exif->ifd[EXIF_IFD_0]), Values(*exif->ifd[EXIF_IFD_EXIF]), Values(*exif->ifd[EXIF_IFD_GPS]),
            Values(*exif->ifd[EXIF_IFD_INTEROPERABILITY])};
}

std::vector<std::uint8_t> PutExifTogether(const ExifDirectories& directories) {
    const Exif exif = NewExif();
    AddValues(*exif, EXIF_IFD_0, directories.picture);
    AddValues(*exif, EXIF_IFD_EXIF, directories.camera);
    AddValues(*exif, EXIF_IFD_GPS, directories.place);
    AddValues(*exif, EXIF_IFD_INTEROPERABILITY, directories.exchange);
    return Saved(exif.get());
}
